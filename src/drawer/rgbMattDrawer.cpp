#include "drawer/rgbMattDrawer.h"

#include "base/framebuffer.h"
#include "base/program.h"
#include "base/texture.h"
#include "drawer/shaders.h"

namespace qvg {

bool RGBMattDrawer::BeginDraw() {
  using namespace shaders;
  return _BeginDraw({"RGBMATTShaderProgram", quad_vert, {rgbMatt_frag}});
}

bool RGBMattDrawer::Draw() {
  if (!BeginDraw()) {
    EndDraw();
    return false;
  }
  const ContentRect in = ContentRect::Of(*source);
  const ContentRect out = scene_->Content();
  glm::vec2 scale(1, 1);
  glm::vec2 offset(0, 0);
  float flipSum = 1;
  if (out.storageWidth != 0) {
    scale = {static_cast<double>(out.storageWidth) / in.storageWidth,
             static_cast<double>(out.storageHeight) / in.storageHeight};
    offset = out.Origin();
    flipSum = static_cast<float>((2.0 * out.y + out.height) / out.storageHeight);
  }
  program_->SetUniformMatrix4f("mvpMat", _Mvp(), 1);
  program_->SetUniformTexture(1, static_cast<int>(source->id), "tex", source->target);
  program_->SetUniform2f("srcTexOffset", in.Origin());
  program_->SetUniform2f("srcTexScale", scale);
  program_->SetUniform2f("dstTexOffset", offset);
  program_->SetUniform1f("dstTexFlipSum", flipSum);
  program_->SetUniform1i("flip", flip ? 1 : 0);
  program_->SetUniform4f("mattColor", keyColor);
  const bool ok = _DrawSceneQuad();
  EndDraw();
  return ok;
}

}  // namespace qvg
