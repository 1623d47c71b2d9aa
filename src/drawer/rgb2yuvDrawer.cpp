#include "drawer/rgb2yuvDrawer.h"

#include "base/framebuffer.h"
#include "base/program.h"
#include "base/texture.h"
#include "drawer/shaders.h"

namespace qvg {

bool RGB2YUVDrawer::BeginDraw() {
  using namespace shaders;
  return nv12 ? _BeginDraw({"RGB2NV12ShaderProgram", quad_vert, {rgb2yuv_glsl, rgb2nv12_frag}})
              : _BeginDraw({"RGB2YUV420ShaderProgram", quad_vert, {rgb2yuv_glsl, rgb2yuv420_frag}});
}

bool RGB2YUVDrawer::Draw() {
  if (!BeginDraw()) {
    EndDraw();
    return false;
  }
  const ContentRect in = ContentRect::Of(*input);
  const ContentRect out = scene_->Content();
  const SceneMapping mapping = SceneMapping::Of(*scene_);
  program_->SetUniformMatrix4f("mvpMat", _Mvp(), 1);
  program_->SetUniformTexture(1, static_cast<int>(input->id), "tex", input->target);
  program_->SetUniform1i("flip", flip ? 1 : 0);
  program_->SetUniform1i("mirror", mirror ? 1 : 0);
  program_->SetUniform1i("fullrange", fullRange ? 1 : 0);
  if (nv12) {
    program_->SetUniform1f("outTexFrameWidth", static_cast<float>(out.storageWidth));
    program_->SetUniform1f("inTexFrameWidth", static_cast<float>(in.storageWidth));
  } else {
    // Half a pixel off the column's centre, so that rounding can't move it.
    const int vColumn = out.width / 2;
    program_->SetUniform1f("vStart", static_cast<float>(vColumn) / static_cast<float>(out.width));
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
