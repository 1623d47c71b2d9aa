// The expected results of the effects, computed on the CPU in double precision.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "reference/image.h"

namespace qvg::reference {

using Triple = std::array<double, 3>;

/// The white of a colour temperature in kelvin.
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

/// The output, texture row 0 first, and the range of each value when single precision shifts the chroma distance (by
/// 1e-5) and the other inputs, and 8-bit filtering the background (by a step).
struct EffectResult {
  Image image, low, high;
};

EffectResult ExpectedEffect(const EffectScene& scene);

constexpr double kEffectLimit = 0.7;
/// "" when every value lies in its range, give or take the output's rounding and a fifth of a step; else the place and
/// the difference. The error is the distance from the range.
std::string CompareEffect(const EffectResult& expected, const Image& actual, Errors& errors);

}  // namespace qvg::reference
