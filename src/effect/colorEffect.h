#pragma once

#include "base/programKind.h"

namespace qvg {

/// The program of a colour-only effect: sharpens, then corrects colour as the general effect does. No group offers it
/// yet; a class derived from TextureEffect can.
struct ColorEffectProgram {
  static const ProgramKind kKind;

  /// Indices of its uniforms behind the common ones.
  enum Uniform {
    kTextureSize = 2,
    kTextureBounds,
    kKelvinHigh,
    kKelvinLow,
    kSharpFilter1,
    kSharpFilter4,
    kSharpFilter7,
    kBrightness,
    kSaturation,
    kContrast,
    kHue,
    kHighlight,
    kShadow,
    kTemperature
  };
  /// What a variant switches on.
  enum Switch : uint32_t { kSharpen = 1, kHSV = 2, kHasContrast = 4, kHasTemperature = 8, kLight = 16 };
};

}  // namespace qvg
