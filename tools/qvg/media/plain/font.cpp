#include "media/plain/font.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "platform/files.h"

#define STB_TRUETYPE_IMPLEMENTATION
#define STBTT_STATIC
#include <stb/stb_truetype.h>

namespace qvgtool {
namespace {

// Where to find fonts, in order of preference: below a folder that the environment names, or below the root.
struct FontFile {
  bool fixedWidth;
  const char *variable, *path;
};
constexpr FontFile kFontFiles[] = {
    {true, "WINDIR", "/Fonts/consola.ttf"},
    {true, "WINDIR", "/Fonts/cour.ttf"},
    {true, nullptr, "/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf"},
    {false, "WINDIR", "/Fonts/segoeui.ttf"},
    {false, "WINDIR", "/Fonts/arial.ttf"},
    {false, nullptr, "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"},
};

struct Font {
  std::vector<uint8_t> file;
  stbtt_fontinfo info;
};

std::optional<Font> LoadFont(const FontFile& named) {
  const char* const folder = named.variable ? std::getenv(named.variable) : "";
  if (!folder) return std::nullopt;
  const FilePtr file = OpenFile(folder + std::string(named.path), "r");
  if (!file) return std::nullopt;
  Font font;
  uint8_t block[1 << 14];
  while (const size_t read = std::fread(block, 1, sizeof block, file.get())) {
    font.file.insert(font.file.end(), block, block + read);
  }
  const int offset = font.file.empty() ? -1 : stbtt_GetFontOffsetForIndex(font.file.data(), 0);
  if (offset < 0 || stbtt_InitFont(&font.info, font.file.data(), offset) == 0) return std::nullopt;
  return font;
}

// A font of the other kind is better than none.
std::optional<Font> FindFont(bool fixedWidth) {
  for (const bool wanted : {true, false}) {
    for (const FontFile& named : kFontFiles) {
      if ((named.fixedWidth == fixedWidth) != wanted) continue;
      if (auto font = LoadFont(named)) return font;
    }
  }
  return std::nullopt;
}

// The next character; each byte that is not UTF-8 counts as one.
int NextCharacter(const std::string& text, size_t& at) {
  const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
  const unsigned first = byte(at);
  const size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : first >= 0xC0 ? 1 : 0;
  unsigned character = more == 0 ? first : first & (0x3Fu >> more);
  for (size_t i = 1; i <= more; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) return static_cast<int>(byte(at++));
    character = character << 6 | (byte(at + i) & 0x3F);
  }
  at += more + 1;
  return static_cast<int>(character);
}

// Calls draw(glyph, x) for each glyph of a line. @return the line's width.
template <class Draw>
float Walk(const stbtt_fontinfo& font, const std::string& line, float scale, const Draw& draw) {
  float x = 0;
  for (size_t at = 0; at < line.size();) {
    const int glyph = stbtt_FindGlyphIndex(&font, NextCharacter(line, at));
    int advance = 0, bearing = 0;
    stbtt_GetGlyphHMetrics(&font, glyph, &advance, &bearing);
    draw(glyph, x);
    x += static_cast<float>(advance) * scale;
  }
  return x;
}

void DrawGlyph(const stbtt_fontinfo& font, int glyph, float scale, float x, int baseline, LetteredText& text) {
  int left = 0, top = 0, right = 0, bottom = 0;
  const float shift = x - std::floor(x);
  stbtt_GetGlyphBitmapBoxSubpixel(&font, glyph, scale, scale, shift, 0, &left, &top, &right, &bottom);
  const int width = right - left, height = bottom - top;
  if (width < 1 || height < 1) return;
  std::vector<uint8_t> bitmap(static_cast<size_t>(width) * static_cast<size_t>(height));
  stbtt_MakeGlyphBitmapSubpixel(&font, bitmap.data(), width, height, width, scale, scale, shift, 0, glyph);
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      const int toX = static_cast<int>(x) + left + column, toY = baseline + top + row;
      if (toX < 0 || toY < 0 || toX >= text.width || toY >= text.height) continue;
      uint8_t& cover = *(text.cover.begin() + ptrdiff_t{toY} * text.width + toX);
      cover = std::max(cover, *(bitmap.begin() + ptrdiff_t{row} * width + column));
    }
  }
}

}  // namespace

std::optional<LetteredText> Lettered(const std::string& text, double size, bool fixedWidth, std::string& reason) {
  static const std::optional<Font> fixed = FindFont(true), other = FindFont(false);
  const std::optional<Font>& font = fixedWidth ? fixed : other;
  if (!font) {
    reason = "no font was found";
    return std::nullopt;
  }
  const float scale = stbtt_ScaleForMappingEmToPixels(&font->info, static_cast<float>(size));
  int ascent = 0, descent = 0, gap = 0;
  stbtt_GetFontVMetrics(&font->info, &ascent, &descent, &gap);
  const int lineHeight = static_cast<int>(std::ceil(static_cast<float>(ascent - descent) * scale));
  std::vector<std::string> lines;
  for (size_t begin = 0; begin <= text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  LetteredText result;
  result.height = lineHeight * static_cast<int>(lines.size());
  for (const std::string& line : lines) {
    const float width = Walk(font->info, line, scale, [](int, float) {});
    result.width = std::max(result.width, static_cast<int>(std::ceil(width)));
  }
  result.cover.resize(static_cast<size_t>(result.width) * static_cast<size_t>(result.height));
  int baseline = static_cast<int>(std::lround(static_cast<float>(ascent) * scale));
  for (const std::string& line : lines) {
    Walk(font->info, line, scale,
         [&](int glyph, float x) { DrawGlyph(font->info, glyph, scale, x, baseline, result); });
    baseline += lineHeight;
  }
  return result;
}

}  // namespace qvgtool
