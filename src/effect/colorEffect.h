#pragma once

#include <string>

namespace qvg {

/// The program of a colour-only effect: sharpens, then corrects colour as the general effect does. No group offers it;
/// a class on TextureEffect can.
struct ColorEffectProgram {
  static constexpr char kName[] = "colorEffect";

  static std::string VertexSource();
  static std::string FragmentSource();
};

}  // namespace qvg
