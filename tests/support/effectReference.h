// What the effects must give, computed on the CPU in double precision.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "image.h"

namespace qvg::test {

using Triple = std::array<double, 3>;

/// White at a temperature in kelvin.
Triple Kelvin(double kelvin);
/// Cb and Cr of a key colour.
std::array<double, 2> KeyChroma(const Triple& rgb);

/// The state of the general effect, as it is at creation, and of the colour effect.
struct EffectSettings {
  bool key = false, beauty = false, color = false, background = false;
  std::array<double, 2> keyChroma = {0, 0};
  double similarity = 0.4, smoothness = 0.08, spill = 0.1;
  double whitten = 0, blur = 0;
  double brightness = 0, temperature = 0, highlight = 0, shadow = 0;
  double saturation = 0, contrast = 0, hue = 0;
  std::optional<std::array<Triple, 3>> kernel;  // sharpens: rows of texture row -1, 0 and 1
};

struct EffectScene {
  EffectSettings settings;
  Image frame;  // the content as sampled, texture row 0 first
  int quarterTurns = 0;
  bool flipped = false;
  Image background;  // as the host decodes it, top row first
};

/// The output, texture row 0 first, and the range over which each value moves when what it is sampled from, its own
/// texel, the neighbours and the background, is a step of 1/255 off.
struct EffectResult {
  Image image, low, high;
};

EffectResult ExpectedEffect(const EffectScene& scene);

/// Errors in steps of 1/255 from the exact value; rounding alone makes 0.25 in the mean and 0.5 at most.
struct EffectErrors {
  double largest = 0, sum = 0;
  size_t values = 0, pixels = 0;
  size_t steep = 0;  // pixels that a step of the input moves by more than kSteep: not in the figures above
  double mean() const { return values > 0 ? sum / static_cast<double>(values) : 0; }
  double steepShare() const { return pixels > 0 ? static_cast<double>(steep) / static_cast<double>(pixels) : 0; }
};
constexpr double kSteep = 12;

/// "" when every value lies in its range, slack of a step and a twentieth of the range included; else where and how
/// not.
std::string CompareEffect(const EffectResult& expected, const Image& actual, EffectErrors& errors);

}  // namespace qvg::test
