#include "drawer/rgb2yuvDrawer.h"

#include "base/framebuffer.h"
#include "base/gl.h"
#include "base/program.h"
#include "base/texture.h"
#include "drawer/shaders.h"

namespace qvg {

int RGB2YUVDrawer::BytesPerTexel() const {
  // Mirrored NV12 takes U and V of a pair from different pixels.
  const int widthUnit = nv12 ? 4 : 8;
  const bool packs = input->loadedWidth % widthUnit == 0 && input->loadedHeight % 2 == 0 && !(nv12 && mirror);
  return packs ? 4 : 1;
}

bool RGB2YUVDrawer::BeginDraw() {
  using namespace shaders;
  return nv12 ? _BeginDraw({"RGB2NV12ShaderProgram", quad_vert, {yuvWeights_glsl, rgb2yuv_glsl, rgb2nv12_frag}})
              : _BeginDraw({"RGB2YUV420ShaderProgram", quad_vert, {yuvWeights_glsl, rgb2yuv_glsl, rgb2yuv420_frag}});
}

bool RGB2YUVDrawer::Draw() {
  if (BytesPerTexel() == 1 || scene_ == nullptr) return _DrawBytes();
  using namespace shaders;
  FrameBuffer* scene = scene_;
  const int height = input->loadedHeight;
  if (!_DrawPacked(
          {"RGB2YUVPackedLumaShaderProgram", quad_vert, {yuvWeights_glsl, rgb2yuvPacked_glsl, rgb2yuvPackedLuma_frag}},
          0, height)) {
    return false;
  }
  scene_ = scene;
  return nv12 ? _DrawPacked({"RGB2NV12PackedChromaShaderProgram",
                             quad_vert,
                             {yuvWeights_glsl, rgb2yuvPacked_glsl, rgb2nv12PackedChroma_frag}},
                            height, height / 2)
              : _DrawPacked({"RGB2YUV420PackedChromaShaderProgram",
                             quad_vert,
                             {yuvWeights_glsl, rgb2yuvPacked_glsl, rgb2yuv420PackedChroma_frag}},
                            height, height / 2);
}

void RGB2YUVDrawer::_SetInput() {
  program_->SetUniformMatrix4f("mvpMat", _Mvp(), 1);
  program_->SetUniformTexture(1, static_cast<int>(input->id), "tex", input->target);
  program_->SetUniform1i("flip", flip ? 1 : 0);
  program_->SetUniform1i("mirror", mirror ? 1 : 0);
  program_->SetUniform1i("fullrange", fullRange && !nv12 ? 1 : 0);
}

bool RGB2YUVDrawer::_DrawPacked(const ProgramSource& source, int firstRow, int rows) {
  if (!_BeginDraw(source)) {
    EndDraw();
    return false;
  }
  const ContentRect in = ContentRect::Of(*input);
  const ContentRect out = scene_->Content();
  _SetInput();
  program_->SetUniform2f("inTexOrigin", {in.x, in.y});
  program_->SetUniform2f("inTexSize", {in.width, in.height});
  program_->SetUniform2f("outTexOrigin", {out.x, out.y});
  glEnable(GL_SCISSOR_TEST);
  glScissor(out.x, out.y + firstRow, out.width, rows);
  const bool ok = _DrawSceneQuad();
  glDisable(GL_SCISSOR_TEST);
  EndDraw();
  return ok;
}

bool RGB2YUVDrawer::_DrawBytes() {
  if (!BeginDraw()) {
    EndDraw();
    return false;
  }
  const ContentRect in = ContentRect::Of(*input);
  const ContentRect out = scene_->Content();
  const SceneMapping mapping = SceneMapping::Of(*scene_);
  _SetInput();
  if (nv12) {
    program_->SetUniform1f("outTexFrameWidth", static_cast<float>(out.storageWidth));
    program_->SetUniform1f("inTexFrameWidth", static_cast<float>(in.storageWidth));
  } else {
    program_->SetUniform1f("vStart", static_cast<float>(out.width / 2) / static_cast<float>(out.width));
  }
  program_->SetUniform2f("inTexUVOffsetXY", in.Origin());
  program_->SetUniform2f("inTexSizeScale", in.Extent());
  program_->SetUniform4f("inTexBounds", in.SampleBounds());
  program_->SetUniform2f("outTexUVOffsetXY", mapping.offset);
  program_->SetUniform2f("outTexSizeScale", mapping.rate);
  const bool ok = _DrawSceneQuad();
  EndDraw();
  return ok;
}

}  // namespace qvg
