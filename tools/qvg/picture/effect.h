// The library's effect: values for its parameters, and an instance of it.
#pragma once

#include <effectKit/parameterTexts.h>

#include <map>
#include <string>

#include "picture/effectTable.h"
#include "picture/renderer.h"

namespace qvgtool {

/** A value for one parameter; text holds the characters of value.text. */
struct ParamSetting {
  QVGParamValue value;
  std::string text;

  static ParamSetting Integer(int64_t number);
  static ParamSetting Switch(bool on);
  static ParamSetting File(std::string path);
  /** #rrggbb, 0xrrggbb or a name. Throws Error. */
  static ParamSetting Color(const std::string& text);
};
using EffectSettings = std::map<std::string, ParamSetting>;  // By parameter name.

/** "#rrggbb" */
std::string ColorText(const double (&rgb)[3]);

using qvg::effectkit::HelpOf;
using qvg::effectkit::StageOf;

/** Switches on the stages whose parameters are set, unless the settings contain the switch. */
void ImplySwitches(EffectSettings& settings);

bool IsOn(const EffectSettings& settings, const std::string& name);

/** Whether any stage is switched on: without one the effect returns no picture. */
bool AnyStage(const EffectSettings& settings);

/** Whether the result is transparent where the frame isn't. */
bool KeysOut(const EffectSettings& settings);

/** An instance; to be used on the renderer's thread, and destroyed before the renderer. */
class Effect {
 public:
  /** Parameters that the settings leave out get the table's defaults. Throws Error. */
  explicit Effect(const EffectSettings& settings);

  /** Throws Error, with nothing changed, for what the library doesn't take. */
  void Set(const std::string& name, const ParamSetting& setting);

  /** All parameters, by the table. */
  const EffectTable& Table() const { return table_; }
  const EffectSettings& Settings() const { return settings_; }

  /** False for a background without an image. */
  bool CanSwitchOn(const std::string& stage) const;

  /** False when no stage is switched on: then there is nothing to apply. */
  bool On() const { return AnyStage(settings_); }

  /** The result is upside down: the picture's top is in its last row. Throws Error. */
  Texture Apply(const Texture& frame) const;

  /** Whether the result may be transparent in places; its colours then are premultiplied. */
  bool Transparent(bool frameHasAlpha) const;

 private:
  qvg::Effect effect_;
  EffectTable table_;
  EffectSettings settings_;
};

}  // namespace qvgtool
