#include "qvgeffect/keyRequest.h"

#include <charconv>
#include <string_view>

namespace qvgst {
namespace {

// Of screens and of what else is saturated enough for one.
constexpr struct {
  std::string_view name;
  uint32_t rgb;
} kColors[] = {{"green", 0x00ff00}, {"blue", 0x0000ff},   {"red", 0xff0000}, {"magenta", 0xff00ff},
               {"cyan", 0x00ffff},  {"yellow", 0xffff00}, {"lime", 0x00ff00}};

std::optional<uint32_t> ColorNamed(std::string_view text) {
  for (const auto& [name, rgb] : kColors) {
    if (text == name) return rgb;
  }
  for (const std::string_view prefix : {"#", "0x"}) {
    if (!text.starts_with(prefix) || text.size() != prefix.size() + 6) continue;
    uint32_t rgb = 0;
    const auto [end, error] = std::from_chars(text.data() + prefix.size(), text.data() + text.size(), rgb, 16);
    if (error == std::errc() && end == text.data() + text.size()) return rgb;
  }
  return {};
}

}  // namespace

std::optional<KeyRequest> KeyNamed(const std::string& text) {
  if (text == "auto") return KeyRequest{};
  const auto rgb = ColorNamed(text);
  if (!rgb) return {};
  return KeyRequest{std::array{static_cast<uint8_t>(*rgb >> 16), static_cast<uint8_t>(*rgb >> 8 & 255),
                               static_cast<uint8_t>(*rgb & 255)}};
}

QVGParamValue ColorValue(const std::array<uint8_t, 3>& rgb) {
  QVGParamValue value = {};
  value.type = QVG_PARAM_COLOR;
  for (size_t i = 0; i < 3; ++i) value.value.color[i] = rgb[i] / 255.0;
  return value;
}

}  // namespace qvgst
