#include "qvgeffect/effectSettings.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/images.h"
#include "effectKit/parameterTexts.h"
#include "qvgeffect/effectTable.h"

namespace qvgst {
namespace {

guint PackedColor(const double (&rgb)[3]) {
  guint packed = 0;
  for (const double part : rgb) packed = packed << 8 | static_cast<guint>(std::lround(part * 255));
  return packed;
}

}  // namespace

EffectSettings::EffectSettings() {
  for (const QVGParamDescriptor& row : EffectTable()) {
    Setting& setting = settings_.emplace_back();
    setting.value = row.defaultValue;
    setting.value.type = row.valueType;
    if (row.valueType == QVG_PARAM_TEXT) setting.value.value.text = nullptr;
  }
}

GParamSpec* EffectSettings::NewProperty(const QVGParamDescriptor& row) {
  constexpr auto kFlags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_CONTROLLABLE |
                                                   GST_PARAM_MUTABLE_PLAYING);
  const char* const help = qvg::effectkit::HelpOf(row);
  // Properties have hyphens where the table has underscores.
  std::string hyphened = row.name;
  std::replace(hyphened.begin(), hyphened.end(), '_', '-');
  const char* const name = g_intern_string(hyphened.c_str());
  const auto& standard = row.defaultValue.value;
  switch (row.valueType) {
    case QVG_PARAM_INTEGER:
      return g_param_spec_int(name, name, help, static_cast<int>(row.minimum.value.integer),
                              static_cast<int>(row.maximum.value.integer), static_cast<int>(standard.integer), kFlags);
    case QVG_PARAM_BOOLEAN:
      return g_param_spec_boolean(name, name, help, static_cast<gboolean>(standard.boolean), kFlags);
    case QVG_PARAM_COLOR:
      return g_param_spec_uint(name, name, help, 0, 0xffffff, PackedColor(standard.color), kFlags);
    default:
      return g_param_spec_string(name, name, help, nullptr, kFlags);
  }
}

std::optional<size_t> EffectSettings::IndexOf(std::string_view name) {
  const auto rows = EffectTable();
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const auto& row) { return row.name == name; });
  return found == rows.end() ? std::nullopt : std::optional(static_cast<size_t>(found - rows.begin()));
}

void EffectSettings::SetProperty(size_t row, const GValue* value) {
  QVGParamValue typed = {};
  typed.type = EffectTable()[row].valueType;
  std::string text;
  switch (typed.type) {
    case QVG_PARAM_INTEGER:
      typed.value.integer = g_value_get_int(value);
      break;
    case QVG_PARAM_BOOLEAN:
      typed.value.boolean = g_value_get_boolean(value) != FALSE;
      break;
    case QVG_PARAM_COLOR:
      for (int i = 0; i < 3; ++i) typed.value.color[i] = (g_value_get_uint(value) >> (16 - 8 * i) & 255) / 255.0;
      break;
    default:
      if (const char* path = g_value_get_string(value)) text = path;
      break;
  }
  const std::lock_guard lock(mutex_);
  Put(row, typed, std::move(text));
  settings_[row].isGiven = true;
}

void EffectSettings::GetProperty(size_t row, GValue* value) const {
  const std::lock_guard lock(mutex_);
  const Setting& setting = settings_[row];
  switch (setting.value.type) {
    case QVG_PARAM_INTEGER:
      g_value_set_int(value, static_cast<gint>(setting.value.value.integer));
      break;
    case QVG_PARAM_BOOLEAN:
      g_value_set_boolean(value, static_cast<gboolean>(IsOnLocked(row)));
      break;
    case QVG_PARAM_COLOR:
      g_value_set_uint(value, PackedColor(setting.value.value.color));
      break;
    default:
      g_value_set_string(value, setting.text.empty() ? nullptr : setting.text.c_str());
      break;
  }
}

void EffectSettings::Put(size_t row, const QVGParamValue& value, std::string text) {
  Setting& setting = settings_[row];
  if (value.type == QVG_PARAM_TEXT) imageFailed_ = false;
  setting.value = value;
  setting.text = std::move(text);
  setting.isSet = true;
  SendAgain(row);
}

void EffectSettings::SendAgain(size_t row) {
  settings_[row].isSent = false;
  // Its switch may follow.
  if (const char* stage = qvg::effectkit::StageOf(EffectTable()[row].name)) {
    if (const auto index = IndexOf(stage)) settings_[*index].isSent = false;
  }
}

void EffectSettings::Find(std::string_view name, const QVGParamValue& value) {
  const std::lock_guard lock(mutex_);
  const auto row = IndexOf(name);
  if (row && !settings_[*row].isGiven) Put(*row, value, {});
}

void EffectSettings::ForgetFound() {
  const std::lock_guard lock(mutex_);
  for (size_t row = 0; row < settings_.size(); ++row) {
    if (!settings_[row].isSet || settings_[row].isGiven) continue;
    settings_[row].value = EffectTable()[row].defaultValue;
    settings_[row].isSet = false;
    SendAgain(row);
  }
}

bool EffectSettings::IsGiven(std::string_view name) const {
  const std::lock_guard lock(mutex_);
  const auto row = IndexOf(name);
  return row && settings_[*row].isGiven;
}

bool EffectSettings::IsOnLocked(size_t row) const {
  const Setting& setting = settings_[row];
  if (setting.isSet) return setting.value.value.boolean;
  const auto rows = EffectTable();
  const std::string_view name = rows[row].name;
  for (size_t i = 0; i < settings_.size(); ++i) {
    const char* stage = qvg::effectkit::StageOf(rows[i].name);
    if (stage != nullptr && stage == name && settings_[i].isSet) return true;
  }
  return false;
}

bool EffectSettings::IsOn(std::string_view name) const {
  const std::lock_guard lock(mutex_);
  const auto row = IndexOf(name);
  return row && IsOnLocked(*row);
}

bool EffectSettings::AnyStageOn() const {
  const std::lock_guard lock(mutex_);
  return AnyStageOnLocked();
}

bool EffectSettings::AnyStageOnLocked() const {
  const auto background = IndexOf("enable_bg"), image = IndexOf("bgfile");
  for (size_t row = 0; row < settings_.size(); ++row) {
    if (settings_[row].value.type != QVG_PARAM_BOOLEAN || !IsOnLocked(row)) continue;
    if (row != background || (image && !settings_[*image].text.empty() && !imageFailed_)) return true;
  }
  return false;
}

EffectSettings::Sent EffectSettings::Send(const qvg::Effect& effect, const std::string& pathPrefix) {
  const std::lock_guard lock(mutex_);
  Sent sent = {};
  for (size_t row = 0; row < settings_.size(); ++row) {
    Setting& setting = settings_[row];
    const bool isPath = setting.value.type == QVG_PARAM_TEXT;
    if (setting.isSent && !(isPath && sentPrefix_ != pathPrefix)) continue;
    setting.isSent = true;
    QVGParamValue value = setting.value;
    const std::string path = setting.text.empty() ? std::string() : pathPrefix + setting.text;
    if (isPath) value.value.text = path.empty() ? nullptr : path.c_str();
    if (value.type == QVG_PARAM_BOOLEAN) value.value.boolean = IsOnLocked(row);
    TakeImageFailure();
    effect.Set(EffectTable()[row].name, value);
    if (!isPath) continue;
    sent.imageFailure = TakeImageFailure();
    imageFailed_ = !sent.imageFailure.empty();
  }
  sentPrefix_ = pathPrefix;
  const auto key = IndexOf("enable_key");
  sent.anyStage = AnyStageOnLocked();
  sent.key = key && IsOnLocked(*key);
  return sent;
}

void EffectSettings::Forget() {
  const std::lock_guard lock(mutex_);
  imageFailed_ = false;
  for (Setting& setting : settings_) setting.isSent = false;
}

}  // namespace qvgst
