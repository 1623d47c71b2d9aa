#include "picture/keyTuner.h"

#include <fmt/format.h>

#include <algorithm>

namespace qvgtool {
namespace {

qvg::effectkit::PictureView View(const Frame& rgba) { return {rgba.data[0], rgba.stride[0], rgba.width, rgba.height}; }

std::array<uint8_t, 3> Bytes(const double (&rgb)[3]) {
  const auto byte = [](double part) { return static_cast<uint8_t>(part * 255 + 0.5); };
  return {byte(rgb[0]), byte(rgb[1]), byte(rgb[2])};
}

}  // namespace

EffectSettings SettingsOf(const KeyValues& values) {
  return {{"color", ParamSetting::Color(ColorText(values.color))},
          {"similarity", ParamSetting::Integer(values.similarity)},
          {"smoothness", ParamSetting::Integer(values.smoothness)},
          {"anti-spill", ParamSetting::Integer(values.spill)},
          {"enable_key", ParamSetting::Switch(true)}};
}

std::string OptionLine(const KeyValues& values) {
  return fmt::format("--key 0x{} --similarity {} --smoothness {} --anti-spill {}", ColorText(values.color).substr(1),
                     values.similarity, values.smoothness, values.spill);
}

KeyValues TuneKey(const std::vector<FramePtr>& pictures, const std::string& key) {
  std::optional<std::array<uint8_t, 3>> named;
  if (!key.empty()) named = Bytes(ParamSetting::Color(key).value.value.color);
  std::vector<qvg::effectkit::PictureView> views;
  views.reserve(pictures.size());
  for (const FramePtr& picture : pictures) views.push_back(View(*picture));
  try {
    return qvg::effectkit::FindKey(views, named);
  } catch (const qvg::effectkit::NoScreenError& error) {
    throw Error(fmt::format("{}: name its colour by --key", error.what()));
  } catch (const qvg::effectkit::KeyError& error) {
    throw Error(error.what());
  }
}

double KeyedShare(const Frame& picture, const EffectSettings& settings, const EffectTable& table) {
  const auto value = [&](const std::string& name) -> QVGParamValue {
    if (const auto found = settings.find(name); found != settings.end()) return found->second.value;
    for (const QVGParamDescriptor& row : table.rows) {
      if (row.name == name) return row.defaultValue;
    }
    return {};
  };
  return qvg::effectkit::KeyedShare(View(picture), value("color").value.color, value("similarity").value.integer);
}

}  // namespace qvgtool
