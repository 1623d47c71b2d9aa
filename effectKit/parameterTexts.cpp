#include "effectKit/parameterTexts.h"

#include <algorithm>
#include <iterator>

namespace qvg::effectkit {
namespace {

// A parameter without a row works as well.
constexpr struct {
  std::string_view name;
  const char *help, *stage;
} kGlosses[] = {
    {"color", "Key colour, that of the screen behind the person", "enable_key"},
    {"similarity", "Colours up to this distance from the key colour become transparent", "enable_key"},
    {"smoothness", "Width of the soft step from transparent to opaque", "enable_key"},
    {"anti-spill", "Colours up to this distance beyond the keyed ones lose their tint", "enable_key"},
    {"bgfile", "Image that the effect lays behind the frame, cut to its shape", "enable_bg"},
    {"whitten", "Whitens skin", "enable_beauty"},
    {"blur", "Smooths skin", "enable_beauty"},
    {"bright", "Exposure", "enable_color"},
    {"temperature", "Colour temperature: cooler below 0, warmer above", "enable_color"},
    {"highlight", "Without effect at present", "enable_color"},
    {"shadow", "Lightens the shadows", "enable_color"},
    {"enable_key", "Keying on or off; else on when one of its parameters is given", nullptr},
    {"enable_beauty", "Beauty on or off; else on when one of its parameters is given", nullptr},
    {"enable_color", "Colour correction on or off; else on when one of its parameters is given", nullptr},
    {"enable_bg", "Background image on or off; else on when it is given", nullptr},
};

const auto* GlossOf(std::string_view name) {
  const auto* gloss = std::ranges::find_if(kGlosses, [&](const auto& g) { return g.name == name; });
  return gloss == std::end(kGlosses) ? nullptr : gloss;
}

}  // namespace

const char* HelpOf(const QVGParamDescriptor& row) {
  const auto* gloss = GlossOf(row.name);
  return gloss ? gloss->help : row.label;
}

const char* StageOf(std::string_view parameter) {
  const auto* gloss = GlossOf(parameter);
  return gloss ? gloss->stage : nullptr;
}

}  // namespace qvg::effectkit
