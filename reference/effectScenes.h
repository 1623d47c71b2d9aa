// Pictures and parameters that reach every branch of the effect.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "reference/effect.h"
#include "reference/image.h"

namespace qvg::reference {

constexpr Triple kGreen = {0, 1, 0}, kBlue = {0.1, 0.2, 0.8};

/// Everything that the stages have to distinguish, premultiplied: green with a soft border on the left, skin with
/// detail in the middle, everything else on the right; rows of half alpha and of none, exact black, white, greys and
/// pure hues.
Image EffectPicture(int width, int height, int seed);
/// The darkest colours, which the key encodes by another formula.
Image DarkPicture(int width, int height, int seed);

/// Whether this key of the effect's parameter table is a switch.
bool IsSwitch(const std::string& key);
/// Sets a number or a switch by its key; any value but 0 switches on.
void SetParameter(EffectSettings& settings, const std::string& key, int value);

/// Parameters for an effect.
struct EffectCase {
  std::string row;  // the row of the parameter table that it tests
  std::vector<std::pair<std::string, int>> values;
  std::optional<Triple> key = {};
  Image background = {};  // empty for none
  bool dark = false;      // use DarkPicture
};
/// Cases for all rows, in the order of the stages, and for all stages together.
const std::vector<EffectCase>& EffectCases();
/// The case's values: "similarity 400, smoothness 80".
std::string Text(const EffectCase& effect);

}  // namespace qvg::reference
