#include "drawer/rgb2yuvDrawer.h"

#include "base/texture.h"
#include "drawer/shaders.h"

namespace qvg {

namespace {

using shaders::quad_vert;
using shaders::rgb2yuv_glsl;
using shaders::rgb2yuvBlock_glsl;
using shaders::yuvWeights_glsl;

enum Variant : uint32_t { kFlip = 1, kMirror = 2, kFullRange = 4 };
enum Uniform { kInOffset = Pass::kFirstOwnUniform, kInScale, kInBounds, kInWidth, kOutWidth, kVStart = kInWidth };
enum BlockUniform { kInTexOrigin = Pass::kFirstOwnUniform, kInTexSize };

constexpr ProgramKind kNV12Kind = {.name = "RGB2NV12ShaderProgram",
                                   .vertex = {quad_vert},
                                   .fragment = {yuvWeights_glsl, rgb2yuv_glsl, shaders::rgb2nv12_frag},
                                   .uniforms = {"mvpMat", "texcoordMat", "inTexUVOffsetXY", "inTexSizeScale",
                                                "inTexBounds", "inTexFrameWidth", "outTexFrameWidth"},
                                   .samplers = {{"tex", 1}},
                                   .switches = {{"FLIP"}, {"MIRROR"}}};
constexpr ProgramKind kPlanarKind = {
    .name = "RGB2YUV420ShaderProgram",
    .vertex = {quad_vert},
    .fragment = {yuvWeights_glsl, rgb2yuv_glsl, shaders::rgb2yuv420_frag},
    .uniforms = {"mvpMat", "texcoordMat", "inTexUVOffsetXY", "inTexSizeScale", "inTexBounds", "vStart"},
    .samplers = {{"tex", 1}},
    .switches = {{"FLIP"}, {"MIRROR"}, {"FULL_RANGE"}}};

constexpr ProgramKind kNV12BlockKind = {.name = "RGB2NV12BlockShaderProgram",
                                        .vertex = {quad_vert},
                                        .fragment = {yuvWeights_glsl, rgb2yuvBlock_glsl, shaders::rgb2nv12Block_frag},
                                        .uniforms = {"mvpMat", "texcoordMat", "inTexOrigin", "inTexSize"},
                                        .samplers = {{"tex", 1}},
                                        .switches = {{"FLIP"}}};
constexpr ProgramKind kPlanarBlockKind = {
    .name = "RGB2YUV420BlockShaderProgram",
    .vertex = {quad_vert},
    .fragment = {yuvWeights_glsl, rgb2yuvBlock_glsl, shaders::rgb2yuv420Block_frag},
    .uniforms = {"mvpMat", "texcoordMat", "inTexOrigin", "inTexSize"},
    .samplers = {{"tex", 1}},
    .switches = {{"FLIP"}, {"MIRROR"}, {"FULL_RANGE"}}};

uint32_t VariantOf(const RGB2YUVDrawer::Parameters& parameters) {
  return (parameters.flip ? kFlip : 0u) | (parameters.mirror ? kMirror : 0u) |
         (parameters.fullRange && !parameters.nv12 ? kFullRange : 0u);
}

}  // namespace

bool RGB2YUVDrawer::DrawBytes(const Scene* scene, const Parameters& parameters) {
  if (!_HasScene(scene)) return false;
  Pass pass(programs_, parameters.nv12 ? kNV12Kind : kPlanarKind, VariantOf(parameters), scene->target);
  if (!pass.Ready()) return false;
  const ContentRect& in = parameters.input->Content();
  const auto outWidth = static_cast<float>(scene->target.content.width);
  pass.SetTexture(0, *parameters.input);
  pass.Set(kInOffset, in.Origin());
  pass.Set(kInScale, in.Extent());
  pass.Set(kInBounds, in.SampleBounds());
  if (parameters.nv12) {
    pass.Set(kInWidth, static_cast<float>(in.storageWidth));
    pass.Set(kOutWidth, outWidth);
  } else {
    const int startOfV = scene->target.content.width / 2;
    pass.Set(kVStart, static_cast<float>(startOfV) / outWidth);
  }
  pass.Draw(SceneMatrix(*scene), glm::mat3(1));
  pass.EndUnchecked();
  return true;
}

bool RGB2YUVDrawer::FitsBlocks(const Parameters& parameters) {
  const ContentRect& in = parameters.input->Content();
  // Mirrored NV12 takes U and V of a pair from different pixels.
  return in.width % 4 == 0 && in.height % 2 == 0 && !(parameters.nv12 && parameters.mirror);
}

bool RGB2YUVDrawer::DrawBlocks(const RenderTarget& target, const Parameters& parameters) {
  Pass pass(programs_, parameters.nv12 ? kNV12BlockKind : kPlanarBlockKind, VariantOf(parameters), target);
  if (!pass.Ready()) return false;
  const ContentRect& in = parameters.input->Content();
  pass.SetTexture(0, *parameters.input);
  pass.Set(kInTexOrigin, glm::ivec2(in.x, in.y));
  pass.Set(kInTexSize, glm::ivec2(in.width, in.height));
  // Untransformed, the quad covers the viewport.
  pass.Draw(glm::mat4(1), glm::mat3(1));
  pass.EndUnchecked();
  return true;
}

}  // namespace qvg
