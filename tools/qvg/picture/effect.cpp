#include "picture/effect.h"

#include <fmt/format.h>

#include <algorithm>

#include "media/imageFiles.h"
#include "media/parsing.h"

namespace qvgtool {
namespace {

constexpr char kEffectName[] = "general_eff";

}  // namespace

ParamSetting ParamSetting::Integer(int64_t number) {
  ParamSetting setting = {{QVG_PARAM_INTEGER, {}}, {}};
  setting.value.value.integer = number;
  return setting;
}

ParamSetting ParamSetting::Switch(bool on) {
  ParamSetting setting = {{QVG_PARAM_BOOLEAN, {}}, {}};
  setting.value.value.boolean = on;
  return setting;
}

ParamSetting ParamSetting::File(std::string path) { return {{QVG_PARAM_TEXT, {}}, std::move(path)}; }

ParamSetting ParamSetting::Color(const std::string& text) {
  const auto rgba = ParseColor(text);
  if (!rgba) throw Error(text + " is no colour (#rrggbb or a name)");
  ParamSetting setting = {{QVG_PARAM_COLOR, {}}, text};
  for (size_t i = 0; i < 3; ++i) setting.value.value.color[i] = (*rgba)[i] / 255.0;
  return setting;
}

std::string ColorText(const double (&rgb)[3]) {
  const auto byte = [](double part) { return static_cast<int>(part * 255 + 0.5); };
  return fmt::format("#{:02x}{:02x}{:02x}", byte(rgb[0]), byte(rgb[1]), byte(rgb[2]));
}

EffectTable AskEffectTable() {
  const qvg::EffectParameters rows = qvg::Effect::Parameters(kEffectName);
  if (rows.count == 0) throw Error(fmt::format("the library has no effect named {}", kEffectName));
  const char* displayName = qvg::Table().QueryEffect(kEffectName, "zh_CN");
  return {kEffectName, displayName ? displayName : kEffectName, {rows.begin(), rows.end()}};
}

void ImplySwitches(EffectSettings& settings) {
  const EffectSettings given = settings;
  for (const auto& [name, setting] : given) {
    if (const char* stage = StageOf(name)) settings.try_emplace(stage, ParamSetting::Switch(true));
  }
}

bool IsOn(const EffectSettings& settings, const std::string& name) {
  const auto found = settings.find(name);
  return found != settings.end() && found->second.value.type == QVG_PARAM_BOOLEAN && found->second.value.value.boolean;
}

bool AnyStage(const EffectSettings& settings) {
  return std::any_of(settings.begin(), settings.end(),
                     [&](const auto& setting) { return IsOn(settings, setting.first); });
}

bool KeysOut(const EffectSettings& settings) { return IsOn(settings, "enable_key") && !IsOn(settings, "enable_bg"); }

Effect::Effect(const EffectSettings& settings) : effect_(qvg::Effect::New(kEffectName)), table_(AskEffectTable()) {
  if (!effect_) throw Error(fmt::format("the library gives no instance of {}", kEffectName));
  for (const QVGParamDescriptor& row : table_.rows) {
    const auto wanted = settings.find(row.name);
    Set(row.name, wanted != settings.end() ? wanted->second : ParamSetting{row.defaultValue, {}});
  }
}

void Effect::Set(const std::string& name, const ParamSetting& setting) {
  QVGParamValue value = setting.value;
  if (value.type == QVG_PARAM_TEXT) value.value.text = setting.text.c_str();
  const bool taken = effect_.Set(name.c_str(), value);
  // The library doesn't report a file that can't be decoded as a failure.
  if (const std::string error = TakeImageError(); !error.empty()) throw Error(error);
  if (!taken) throw Error(fmt::format("the library does not take this value for {}", name));
  settings_[name] = setting;
}

bool Effect::CanSwitchOn(const std::string& stage) const {
  return stage != "enable_bg" || !settings_.at("bgfile").text.empty();
}

Texture Effect::Apply(const Texture& frame) const {
  Texture result = effect_.Apply(frame);
  if (!result) throw Error("the effect failed");
  return result;
}

bool Effect::Transparent(bool frameHasAlpha) const {
  return (frameHasAlpha && !IsOn(settings_, "enable_bg")) || KeysOut(settings_);
}

}  // namespace qvgtool
