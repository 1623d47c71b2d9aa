#include "effect/colorEffect.h"

#include "effect/shaders.h"

namespace qvg {

std::string ColorEffectProgram::VertexSource() { return shaders::effect_vert; }

std::string ColorEffectProgram::FragmentSource() {
  return std::string(shaders::frame_glsl) + shaders::color_glsl + shaders::colorEffect_frag;
}

}  // namespace qvg
