#include "effect/colorEffect.h"

#include "effect/shaders.h"

namespace qvg {

const ProgramKind ColorEffectProgram::kKind = {
    .name = "colorEffect",
    .vertex = {shaders::effect_vert},
    .fragment = {shaders::frame_glsl, shaders::color_glsl, shaders::colorEffect_frag},
    .uniforms = {"mvpMat", "texcoordMat", "texture_size", "texture_bounds", "kelvin_rgb_high", "kelvin_rgb_low",
                 "sharp_filter_1", "sharp_filter_4", "sharp_filter_7", "brightness", "saturation", "contrast", "hue",
                 "highlight", "shadow", "temperature"},
    .samplers = {{"main_texture", 1}},
    .switches = {{"SHARPEN"}, {"HSV"}, {"CONTRAST"}, {"TEMPERATURE"}, {"LIGHT"}}};

}  // namespace qvg
