// The library's effect: values for its parameters, and an instance of it.
#pragma once

#include <effectKit/parameterTexts.h>

#include <map>
#include <string>

#include "picture/effectTable.h"
#include "picture/renderer.h"

namespace qvgtool {

/** A value for one parameter; text is what value.text means. */
struct ParamSetting {
  QVGParamValue value;
  std::string text;

  static ParamSetting Integer(int64_t number);
  static ParamSetting Switch(bool on);
  static ParamSetting File(std::string path);
  /** #rrggbb, 0xrrggbb or a name. Throws Error. */
  static ParamSetting Color(const std::string& text);
};
using EffectSettings = std::map<std::string, ParamSetting>;  // By the parameter's name.

/** "#rrggbb" */
std::string ColorText(const double (&rgb)[3]);

using qvg::effectkit::HelpOf;
using qvg::effectkit::StageOf;

/** Switches on the stages whose parameters are set, where the settings don't say anything about the switch. */
void ImplySwitches(EffectSettings& settings);

bool IsOn(const EffectSettings& settings, const std::string& name);

/** True when a stage is switched on: without one the effect gives no picture. */
bool AnyStage(const EffectSettings& settings);

/** True when the result has holes where the frame has none. */
bool KeysOut(const EffectSettings& settings);

/** An instance; to be used on the renderer's thread and to be gone before the renderer is. */
class Effect {
 public:
  /** Parameters that the settings leave out get the table's defaults. Throws Error. */
  explicit Effect(const EffectSettings& settings);

  /** Throws Error, and leaves everything as it was, for what the library does not take. */
  void Set(const std::string& name, const ParamSetting& setting);

  /** All parameters, by the table. */
  const EffectTable& Table() const { return table_; }
  const EffectSettings& Settings() const { return settings_; }

  /** False for a background without an image. */
  bool CanSwitchOn(const std::string& stage) const;

  /** Without a stage that is switched on there is nothing to apply. */
  bool On() const { return AnyStage(settings_); }

  /** The result lies the other way up: the picture's top is in its last row. Throws Error. */
  Texture Apply(const Texture& frame) const;

  /** True when the result is transparent in places, its colours multiplied by alpha. */
  bool Transparent(bool frameHasAlpha) const;

 private:
  qvg::Effect effect_;
  EffectTable table_;
  EffectSettings settings_;
};

}  // namespace qvgtool
