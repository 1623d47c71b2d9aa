#include "window/parameterKeys.h"

#include <fmt/format.h>

#include <algorithm>

namespace qvgtool {
namespace {

constexpr struct {
  const char *name, *parameter;
} kStages[] = {
    {"key", "enable_key"}, {"beauty", "enable_beauty"}, {"colour", "enable_color"}, {"background", "enable_bg"}};

}  // namespace

// The parameters that keys can change; those of stages that are on come first.
std::vector<const QVGParamDescriptor*> ParameterKeys::_Order() const {
  std::vector<const QVGParamDescriptor*> order;
  for (const QVGParamDescriptor& row : effect_.Table().rows) {
    if (row.valueType == QVG_PARAM_INTEGER || row.valueType == QVG_PARAM_COLOR) order.push_back(&row);
  }
  std::stable_partition(order.begin(), order.end(), [&](const QVGParamDescriptor* row) {
    const char* stage = StageOf(row->name);
    return !stage || IsOn(effect_.Settings(), stage);
  });
  return order;
}

std::string ParameterKeys::_Describe() const {
  const QVGParamValue& value = _Value(chosen_->name).value;
  const char* stage = StageOf(chosen_->name);
  const std::string off = stage && !IsOn(effect_.Settings(), stage) ? " (off)" : "";
  if (value.type == QVG_PARAM_COLOR) {
    return fmt::format("{}: {}{}\n{}; click on it in the picture", chosen_->name, ColorText(value.value.color), off,
                       HelpOf(*chosen_));
  }
  return fmt::format("{}: {}   ({} to {}){}\n{}", chosen_->name, value.value.integer, chosen_->minimum.value.integer,
                     chosen_->maximum.value.integer, off, HelpOf(*chosen_));
}

std::string ParameterKeys::Choose(int steps) {
  const auto order = _Order();
  if (order.empty()) return "this effect has no parameters";
  const auto count = static_cast<int>(order.size());
  const auto at = static_cast<int>(std::find(order.begin(), order.end(), chosen_) - order.begin());
  const int next = at < count ? at + steps : steps > 0 ? 0 : count - 1;
  chosen_ = order[static_cast<size_t>((next % count + count) % count)];
  return _Describe();
}

void ParameterKeys::_Set(const ParamSetting& setting) {
  effect_.Set(chosen_->name, setting);
  if (const char* stage = StageOf(chosen_->name)) effect_.Set(stage, ParamSetting::Switch(true));
}

std::string ParameterKeys::Change(int steps) {
  if (!chosen_) return Choose(1);
  if (chosen_->valueType == QVG_PARAM_INTEGER) {
    const int64_t value =
        _Value(chosen_->name).value.value.integer + steps * std::max<int64_t>(1, chosen_->step.value.integer);
    _Set(ParamSetting::Integer(std::clamp(value, chosen_->minimum.value.integer, chosen_->maximum.value.integer)));
  }
  return _Describe();
}

std::string ParameterKeys::SetDefault() {
  if (!chosen_) return Choose(1);
  effect_.Set(chosen_->name, ParamSetting{chosen_->defaultValue, {}});
  return _Describe();
}

std::string ParameterKeys::SwitchStage(size_t index) {
  const auto& stage = kStages[index];
  const bool on = !IsOn(effect_.Settings(), stage.parameter);
  if (on && !effect_.CanSwitchOn(stage.parameter)) return "no background image: start with --bgfile FILE";
  effect_.Set(stage.parameter, ParamSetting::Switch(on));
  return fmt::format("{} {}", stage.name, on ? "on" : "off");
}

bool ParameterKeys::WantsColor() const {
  return (chosen_ && chosen_->valueType == QVG_PARAM_COLOR) || !IsOn(effect_.Settings(), "enable_key");
}

std::string ParameterKeys::StagesOn() const {
  std::string on;
  for (const auto& stage : kStages) {
    if (IsOn(effect_.Settings(), stage.parameter)) on += (on.empty() ? "" : " ") + std::string(stage.name);
  }
  return on;
}

}  // namespace qvgtool
