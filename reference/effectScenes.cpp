#include "reference/effectScenes.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace qvg::reference {
namespace {

struct Number {
  double EffectSettings::*member;
  double divisor;
};
const std::map<std::string, Number> kNumbers = {{"similarity", {&EffectSettings::similarity, 1000}},
                                                {"smoothness", {&EffectSettings::smoothness, 1000}},
                                                {"anti-spill", {&EffectSettings::spill, 1000}},
                                                {"whitten", {&EffectSettings::whitten, 100}},
                                                {"blur", {&EffectSettings::blur, 100}},
                                                {"bright", {&EffectSettings::brightness, 100}},
                                                {"temperature", {&EffectSettings::temperature, 100}},
                                                {"highlight", {&EffectSettings::highlight, 100}},
                                                {"shadow", {&EffectSettings::shadow, 100}}};
const std::map<std::string, bool EffectSettings::*> kSwitches = {{"enable_key", &EffectSettings::key},
                                                                 {"enable_beauty", &EffectSettings::beauty},
                                                                 {"enable_color", &EffectSettings::color},
                                                                 {"enable_bg", &EffectSettings::background}};

std::vector<EffectCase> MakeCases() {
  std::vector<EffectCase> cases;
  const auto add = [&](const char* row, std::vector<std::pair<std::string, int>> values) -> EffectCase& {
    return cases.emplace_back(EffectCase{row, std::move(values)});
  };
  const auto keyed = [&](const char* row, const Triple& color, int similarity, int smoothness, int spill) -> auto& {
    EffectCase& made = add(row, {{"enable_key", 1}, {"similarity", similarity}, {"smoothness", smoothness}});
    made.values.emplace_back("anti-spill", spill);
    made.key = color;
    return made;
  };
  add("enable_key", {{"enable_key", 1}});  // without a key colour
  keyed("enable_key", kGreen, 400, 80, 100);
  keyed("color", kBlue, 100, 120, 150);
  keyed("color", {0, 0, 0}, 1, 200, 100).dark = true;
  for (const int value : {1, 360, 1000}) keyed("similarity", kGreen, value, 80, 100);
  for (const int value : {1, 1000}) keyed("smoothness", kGreen, 360, value, 100);
  for (const int value : {1, 500}) keyed("anti-spill", kGreen, 360, 200, value);

  const struct {
    const char *stage, *row;
    std::vector<int> values;
  } numbers[] = {{"enable_beauty", "whitten", {30, 100}},     {"enable_beauty", "blur", {1, 15, 51, 100}},
                 {"enable_color", "bright", {-100, 35}},      {"enable_color", "temperature", {-100, 1, 50}},
                 {"enable_color", "highlight", {1, 60, 100}}, {"enable_color", "shadow", {1, 40, 100}}};
  for (const auto& [stage, row, values] : numbers) {
    // Clang before 16 can't capture structured bindings.
    const auto isOfStage = [stage = stage](const EffectCase& made) { return made.row == stage; };
    if (std::none_of(cases.begin(), cases.end(), isOfStage)) add(stage, {{stage, 1}, {row, 0}});
    for (const int value : values) add(row, {{stage, 1}, {row, value}});
  }

  add("enable_bg", {}).background = Picture(48, 32, 5, true);
  for (const auto& [width, height] : {std::pair(1, 1), {131, 97}})
    add("bgfile", {}).background = Picture(width, height, 5);
  EffectCase& hole = add("bgfile", {{"enable_key", 1}});  // keyed out, over nothing
  hole.key = kGreen;
  hole.background = Image(2, 2);

  EffectCase& all = keyed("", kGreen, 360, 200, 300);
  for (const auto& value : std::initializer_list<std::pair<const char*, int>>{{"enable_beauty", 1},
                                                                              {"whitten", 40},
                                                                              {"blur", 20},
                                                                              {"enable_color", 1},
                                                                              {"bright", 15},
                                                                              {"temperature", -25},
                                                                              {"highlight", 30},
                                                                              {"shadow", 20}})
    all.values.emplace_back(value);
  EffectCase over = all;
  over.background = Picture(41, 33, 6);
  cases.push_back(over);
  return cases;
}

}  // namespace

Image EffectPicture(int width, int height, int seed) {
  Image image = MakeImage(width, height, [&](int x, int y) -> Color {
    const auto wave = [&](int c) { return Wave(x, y, c, seed) / 255.0; };
    const double u = static_cast<double>(x) / width;
    const double soft = std::clamp((u - 0.25) * 8, 0.0, 1.0);
    const double skin = u < 0.65 ? 1 : 0;
    const Triple green = {0.1 + 0.15 * wave(0), 0.65 + 0.2 * wave(1), 0.1 + 0.2 * wave(2)};
    const double pores = (3 * x + 5 * y) % 7 * 0.03 - 0.09;
    const Triple face = {0.72 + pores + 0.2 * wave(0), 0.52 + pores + 0.15 * wave(1), 0.4 + pores + 0.2 * wave(2)};
    Color color;
    for (int c = 0; c < 3; ++c) color[c] = skin * ((1 - soft) * green[c] + soft * face[c]) + (1 - skin) * wave(c);
    const int band = y * 12 / height;
    color[3] = band == 3 ? 128 / 255.0 : (band == 8 ? wave(3) : (band == 10 ? 0 : 1));
    for (int c = 0; c < 3; ++c) color[c] *= color[3];
    return color;
  });
  const Color exact[] = {{0, 0, 0, 1}, {1, 1, 1, 1}, {0.5, 0.5, 0.5, 1}, {1, 0, 0, 1}, {0, 1, 0, 1},    {0, 0, 1, 1},
                         {1, 1, 0, 1}, {0, 1, 1, 1}, {1, 0, 1, 1},       {0, 0, 0, 0}, {0.4, 0.2, 0, 0}};
  for (size_t i = 0; i < std::size(exact); ++i)
    if (static_cast<int>(2 * i + 1) < width) image.at(static_cast<int>(2 * i + 1), height / 2) = exact[i];
  return Quantised(image);
}

Image DarkPicture(int width, int height, int seed) {
  Image dark = Picture(width, height, seed, true);
  for (Color& color : dark.texels)
    for (int c = 0; c < 3; ++c) color[c] *= 0.04;
  return Quantised(dark);
}

bool IsSwitch(const std::string& key) { return kSwitches.contains(key); }

void SetParameter(EffectSettings& settings, const std::string& key, int value) {
  if (IsSwitch(key)) {
    settings.*kSwitches.at(key) = value != 0;
  } else {
    settings.*kNumbers.at(key).member = value / kNumbers.at(key).divisor;
  }
}

const std::vector<EffectCase>& EffectCases() {
  static const std::vector<EffectCase> cases = MakeCases();
  return cases;
}

std::string Text(const EffectCase& effect) {
  std::string text;
  for (const auto& [key, value] : effect.values) {
    if (!IsSwitch(key)) text += (text.empty() ? "" : ", ") + key + ' ' + std::to_string(value);
  }
  if (!effect.background.empty()) {
    text += (text.empty() ? "" : ", ") + ("background " + std::to_string(effect.background.width)) + " x " +
            std::to_string(effect.background.height);
  }
  return text.empty() ? "nothing but the switch" : text;
}

}  // namespace qvg::reference
