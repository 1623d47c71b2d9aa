#include "drawer/yuv2rgbDrawer.h"

#include <algorithm>
#include <iterator>

#include "base/texture.h"
#include "drawer/shaders.h"

namespace qvg {

namespace {

using shaders::yuv2rgb_glsl;
using shaders::yuv2rgb_vert;

enum Uniform { kRates = Pass::kFirstOwnUniform, kTargetOrigin = kRates, kTargetSize, kSizes };

constexpr ProgramKind kPlanarKind = {.name = "YUV2RGBShaderProgram8bitYUV420P",
                                     .vertex = {yuv2rgb_vert},
                                     .fragment = {yuv2rgb_glsl, shaders::yuv2rgbPlanar_frag},
                                     .uniforms = {"mvpMat", "texcoordMat", "uvRateY", "uvRateU", "uvRateV"},
                                     .samplers = {{"texY", 9}, {"texU", 10}, {"texV", 11}}};
constexpr ProgramKind kNV12Kind = {.name = "YUV2RGBShaderProgram8bitNV12",
                                   .vertex = {yuv2rgb_vert},
                                   .fragment = {yuv2rgb_glsl, shaders::yuv2rgbNV12_frag},
                                   .uniforms = {"mvpMat", "texcoordMat", "uvRateY", "uvRateUV"},
                                   .samplers = {{"texY", 9}, {"texUV", 10}}};
constexpr ProgramKind kTwoPlane16Kind = {
    .name = "YUV2RGBShaderProgram16bit",
    .vertex = {yuv2rgb_vert},
    .fragment = {yuv2rgb_glsl, shaders::yuv2rgb16_frag},
    .uniforms = {"mvpMat", "texcoordMat", "targetOrigin", "targetSize", "sizeY", "sizeUV"},
    .samplers = {{"texY16", 9}, {"texUV16", 10}}};

struct FormatKind {
  int32_t format;
  const ProgramKind& kind;
  int planes;
  bool integers;
};

constexpr FormatKind kFormats[] = {{YUV2RGBDrawer::kPlanar8, kPlanarKind, 3, false},
                                   {YUV2RGBDrawer::kNV12, kNV12Kind, 2, false},
                                   {YUV2RGBDrawer::kTwoPlane16, kTwoPlane16Kind, 2, true}};

}  // namespace

bool YUV2RGBDrawer::Draw(const Scene* scene, const Parameters& parameters) {
  const auto* format = std::find_if(std::begin(kFormats), std::end(kFormats),
                                    [&](const FormatKind& entry) { return entry.format == parameters.format; });
  if (!_HasScene(scene, "YUV2RGBDrawer: scene is null") || format == std::end(kFormats)) return false;
  Pass pass(programs_, format->kind, 0, scene->target);
  if (!pass.Ready()) return false;
  const ContentRect& target = scene->target.content;
  if (format->integers) {
    pass.Set(kTargetOrigin, glm::ivec2(target.x, target.y));
    pass.Set(kTargetSize, glm::ivec2(target.width, target.height));
  }
  for (int i = 0; i < format->planes; ++i) {
    const ContentRect& plane = parameters.planes[i]->Content();
    pass.SetTexture(i, *parameters.planes[i]);
    if (format->integers) {
      pass.Set(kSizes + i, glm::ivec2(plane.width, plane.height));
    } else {
      pass.Set(kRates + i, glm::vec2(static_cast<double>(plane.width - 1) / plane.storageWidth,
                                     static_cast<double>(plane.height - 1) / plane.storageHeight));
    }
  }
  pass.Draw(SceneMatrix(*scene), glm::mat3(1));
  return pass.End();
}

}  // namespace qvg
