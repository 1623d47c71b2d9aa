#include "media/parsing.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace qvgtool {
namespace {

constexpr struct {
  const char* name;
  int width, height;
} kSizes[] = {
    {"ntsc", 720, 480}, {"pal", 720, 576},  {"qvga", 320, 240},      {"vga", 640, 480},    {"svga", 800, 600},
    {"xga", 1024, 768}, {"cif", 352, 288},  {"hd480", 852, 480},     {"hd720", 1280, 720}, {"hd1080", 1920, 1080},
    {"2k", 2048, 1080}, {"4k", 4096, 2160}, {"uhd2160", 3840, 2160},
};

// The names of CSS.
constexpr struct {
  const char* name;
  uint32_t rgb;
} kColors[] = {{"aliceblue", 0xf0f8ff},
               {"antiquewhite", 0xfaebd7},
               {"aqua", 0x00ffff},
               {"aquamarine", 0x7fffd4},
               {"azure", 0xf0ffff},
               {"beige", 0xf5f5dc},
               {"bisque", 0xffe4c4},
               {"black", 0x000000},
               {"blanchedalmond", 0xffebcd},
               {"blue", 0x0000ff},
               {"blueviolet", 0x8a2be2},
               {"brown", 0xa52a2a},
               {"burlywood", 0xdeb887},
               {"cadetblue", 0x5f9ea0},
               {"chartreuse", 0x7fff00},
               {"chocolate", 0xd2691e},
               {"coral", 0xff7f50},
               {"cornflowerblue", 0x6495ed},
               {"cornsilk", 0xfff8dc},
               {"crimson", 0xdc143c},
               {"cyan", 0x00ffff},
               {"darkblue", 0x00008b},
               {"darkcyan", 0x008b8b},
               {"darkgoldenrod", 0xb8860b},
               {"darkgray", 0xa9a9a9},
               {"darkgreen", 0x006400},
               {"darkkhaki", 0xbdb76b},
               {"darkmagenta", 0x8b008b},
               {"darkolivegreen", 0x556b2f},
               {"darkorange", 0xff8c00},
               {"darkorchid", 0x9932cc},
               {"darkred", 0x8b0000},
               {"darksalmon", 0xe9967a},
               {"darkseagreen", 0x8fbc8f},
               {"darkslateblue", 0x483d8b},
               {"darkslategray", 0x2f4f4f},
               {"darkturquoise", 0x00ced1},
               {"darkviolet", 0x9400d3},
               {"deeppink", 0xff1493},
               {"deepskyblue", 0x00bfff},
               {"dimgray", 0x696969},
               {"dodgerblue", 0x1e90ff},
               {"firebrick", 0xb22222},
               {"floralwhite", 0xfffaf0},
               {"forestgreen", 0x228b22},
               {"fuchsia", 0xff00ff},
               {"gainsboro", 0xdcdcdc},
               {"ghostwhite", 0xf8f8ff},
               {"gold", 0xffd700},
               {"goldenrod", 0xdaa520},
               {"gray", 0x808080},
               {"green", 0x008000},
               {"greenyellow", 0xadff2f},
               {"honeydew", 0xf0fff0},
               {"hotpink", 0xff69b4},
               {"indianred", 0xcd5c5c},
               {"indigo", 0x4b0082},
               {"ivory", 0xfffff0},
               {"khaki", 0xf0e68c},
               {"lavender", 0xe6e6fa},
               {"lavenderblush", 0xfff0f5},
               {"lawngreen", 0x7cfc00},
               {"lemonchiffon", 0xfffacd},
               {"lightblue", 0xadd8e6},
               {"lightcoral", 0xf08080},
               {"lightcyan", 0xe0ffff},
               {"lightgoldenrodyellow", 0xfafad2},
               {"lightgreen", 0x90ee90},
               {"lightgrey", 0xd3d3d3},
               {"lightpink", 0xffb6c1},
               {"lightsalmon", 0xffa07a},
               {"lightseagreen", 0x20b2aa},
               {"lightskyblue", 0x87cefa},
               {"lightslategray", 0x778899},
               {"lightsteelblue", 0xb0c4de},
               {"lightyellow", 0xffffe0},
               {"lime", 0x00ff00},
               {"limegreen", 0x32cd32},
               {"linen", 0xfaf0e6},
               {"magenta", 0xff00ff},
               {"maroon", 0x800000},
               {"mediumaquamarine", 0x66cdaa},
               {"mediumblue", 0x0000cd},
               {"mediumorchid", 0xba55d3},
               {"mediumpurple", 0x9370d8},
               {"mediumseagreen", 0x3cb371},
               {"mediumslateblue", 0x7b68ee},
               {"mediumspringgreen", 0x00fa9a},
               {"mediumturquoise", 0x48d1cc},
               {"mediumvioletred", 0xc71585},
               {"midnightblue", 0x191970},
               {"mintcream", 0xf5fffa},
               {"mistyrose", 0xffe4e1},
               {"moccasin", 0xffe4b5},
               {"navajowhite", 0xffdead},
               {"navy", 0x000080},
               {"oldlace", 0xfdf5e6},
               {"olive", 0x808000},
               {"olivedrab", 0x6b8e23},
               {"orange", 0xffa500},
               {"orangered", 0xff4500},
               {"orchid", 0xda70d6},
               {"palegoldenrod", 0xeee8aa},
               {"palegreen", 0x98fb98},
               {"paleturquoise", 0xafeeee},
               {"palevioletred", 0xd87093},
               {"papayawhip", 0xffefd5},
               {"peachpuff", 0xffdab9},
               {"peru", 0xcd853f},
               {"pink", 0xffc0cb},
               {"plum", 0xdda0dd},
               {"powderblue", 0xb0e0e6},
               {"purple", 0x800080},
               {"red", 0xff0000},
               {"rosybrown", 0xbc8f8f},
               {"royalblue", 0x4169e1},
               {"saddlebrown", 0x8b4513},
               {"salmon", 0xfa8072},
               {"sandybrown", 0xf4a460},
               {"seagreen", 0x2e8b57},
               {"seashell", 0xfff5ee},
               {"sienna", 0xa0522d},
               {"silver", 0xc0c0c0},
               {"skyblue", 0x87ceeb},
               {"slateblue", 0x6a5acd},
               {"slategray", 0x708090},
               {"snow", 0xfffafa},
               {"springgreen", 0x00ff7f},
               {"steelblue", 0x4682b4},
               {"tan", 0xd2b48c},
               {"teal", 0x008080},
               {"thistle", 0xd8bfd8},
               {"tomato", 0xff6347},
               {"turquoise", 0x40e0d0},
               {"violet", 0xee82ee},
               {"wheat", 0xf5deb3},
               {"white", 0xffffff},
               {"whitesmoke", 0xf5f5f5},
               {"yellow", 0xffff00},
               {"yellowgreen", 0x9acd32}};

// The whole text as a number.
template <class Number, class... Base>
std::optional<Number> Parsed(const std::string& text, Base... base) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base...);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::string InSmallLetters(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

std::array<uint8_t, 4> Bytes(uint32_t rgba) {
  return {static_cast<uint8_t>(rgba >> 24), static_cast<uint8_t>(rgba >> 16), static_cast<uint8_t>(rgba >> 8),
          static_cast<uint8_t>(rgba)};
}

}  // namespace

std::optional<std::pair<int, int>> ParseSize(const std::string& text) {
  for (const auto& row : kSizes) {
    if (text == row.name) return std::pair(row.width, row.height);
  }
  const size_t cross = text.find('x');
  if (cross == std::string::npos) return std::nullopt;
  const auto width = Parsed<int>(text.substr(0, cross)), height = Parsed<int>(text.substr(cross + 1));
  return width && height ? std::optional(std::pair(*width, *height)) : std::nullopt;
}

std::optional<double> ParseTime(const std::string& text) {
  double seconds = 0;
  int parts = 0;
  for (size_t begin = 0; begin <= text.size(); ++parts) {
    const size_t end = std::min(text.find(':', begin), text.size());
    const auto part = Parsed<double>(text.substr(begin, end - begin));
    const bool last = end == text.size();
    if (!part || *part < 0 || !std::isfinite(*part) || (!last && *part != std::floor(*part))) return std::nullopt;
    if (parts > 0 && *part >= 60) return std::nullopt;
    seconds = seconds * 60 + *part;
    begin = end + 1;
  }
  return parts <= 3 ? std::optional(seconds) : std::nullopt;
}

bool IsRate(const std::string& text) {
  const size_t slash = text.find('/');
  if (slash == std::string::npos) return Parsed<double>(text).value_or(0) > 0;
  return Parsed<int>(text.substr(0, slash)).value_or(0) > 0 && Parsed<int>(text.substr(slash + 1)).value_or(0) > 0;
}

std::optional<std::array<uint8_t, 4>> ParseColor(const std::string& text) {
  const std::string name = InSmallLetters(text);
  for (const auto& row : kColors) {
    if (name == row.name) return Bytes(row.rgb << 8 | 0xff);
  }
  const std::string digits = name.starts_with('#') ? name.substr(1) : name.starts_with("0x") ? name.substr(2) : name;
  const auto number = Parsed<uint32_t>(digits, 16);
  if (!number || (digits.size() != 6 && digits.size() != 8)) return std::nullopt;
  return Bytes(digits.size() == 6 ? *number << 8 | 0xff : *number);
}

std::vector<std::string> ColorNames() {
  std::vector<std::string> names;
  for (const auto& row : kColors) names.emplace_back(row.name);
  return names;
}

}  // namespace qvgtool
