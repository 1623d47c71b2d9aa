#include "media/parsing.h"

#include <algorithm>
#include <cctype>

extern "C" {
#include <libavutil/parseutils.h>
}

namespace qvgtool {

std::optional<std::pair<int, int>> ParseSize(const std::string& text) {
  int width = 0, height = 0;
  if (av_parse_video_size(&width, &height, text.c_str()) < 0) return std::nullopt;
  return std::pair(width, height);
}

std::optional<double> ParseTime(const std::string& text) {
  int64_t microseconds = 0;
  if (av_parse_time(&microseconds, text.c_str(), 1) < 0) return std::nullopt;
  return static_cast<double>(microseconds) / 1e6;
}

bool IsRate(const std::string& text) {
  AVRational rate;
  return av_parse_video_rate(&rate, text.c_str()) >= 0;
}

std::optional<std::array<uint8_t, 4>> ParseColor(const std::string& text) {
  std::array<uint8_t, 4> rgba{};
  if (av_parse_color(rgba.data(), text.c_str(), -1, nullptr) < 0) return std::nullopt;
  return rgba;
}

std::vector<std::string> ColorNames() {
  std::vector<std::string> names;
  const uint8_t* rgb = nullptr;
  const char* known = nullptr;
  for (int i = 0; (known = av_get_known_color_name(i, &rgb)) != nullptr; ++i) {
    std::string& name = names.emplace_back(known);
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  }
  return names;
}

}  // namespace qvgtool
