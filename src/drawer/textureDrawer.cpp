#include "drawer/textureDrawer.h"

#include "base/framebuffer.h"
#include "base/gl.h"
#include "base/program.h"
#include "base/surfaceSource.h"
#include "base/texture.h"
#include "drawer/shaders.h"

namespace qvg {

bool TextureDrawer::BeginDraw() {
  using namespace shaders;
  const bool simple = mainTexture != nullptr && !_DoMatte() && !simpleMatte;
  if (blendType == kNoBlend) {
    return simple
               ? _BeginDraw({"TextureDrawerShaderProgram_Simple", quadColor_vert, {texture_glsl, textureSimple_frag}})
               : _BeginDraw({"TextureDrawerShaderProgram_NoBlend",
                             quadColor_vert,
                             {texture_glsl, textureMatte_glsl, textureNoBlend_frag}});
  }
  if (blendType == kNormalBlend && simple) {
    return _BeginDraw({"TextureDrawerShaderProgram_SimpleNormalBlend",
                       quadColor_vert,
                       {texture_glsl, textureBackground_glsl, textureSimpleNormalBlend_frag}});
  }
  return _BeginDraw({"TextureDrawerShaderProgram_Blend",
                     quadColor_vert,
                     {texture_glsl, textureMatte_glsl, textureBackground_glsl, textureBlend_glsl, textureBlend_frag}});
}

Texture* TextureDrawer::_CopyOfBackground() {
  Texture* copy = surfaces_.AcquireTexture(scene_->Width(), scene_->Height(), GL_RGBA8);
  if (copy != nullptr && !scene_->CopyContentTo(*copy)) surfaces_.ReleaseTexture(copy);
  return copy;
}

void TextureDrawer::_SetMatte() {
  program_->SetUniform1i("doMatte", _DoMatte() ? 1 : 0);
  if (!_DoMatte()) return;
  const ContentRect matte = ContentRect::Of(*matteTexture);
  program_->SetUniform1i("matteType", matteType);
  program_->SetUniform2f("matteTextureSize", {matte.width, matte.height});
  program_->SetUniform2f("matteTextureOrigin", matte.Origin());
  program_->SetUniform2f("matteTextureExtent", matte.Extent());
  program_->SetUniform4f("matteTextureBounds", matte.SampleBounds());
  program_->SetUniformTexture(2, static_cast<int>(matteTexture->id), "matteTexture", matteTexture->target);
}

bool TextureDrawer::_DrawMainQuad() {
  const ContentRect content = mainTexture != nullptr ? ContentRect::Of(*mainTexture) : scene_->Content();
  const uint32_t rotation = mainTexture != nullptr && applyRotation ? mainTexture->rotation : 0;
  glm::dvec2 size(content.width, content.height);
  if (IsOddTurn(rotation)) size = {size.y, size.x};
  if (useSizeFactor) size *= sizeFactor;
  const float x = static_cast<float>(size.x / 2);
  const float y = static_cast<float>(size.y / 2);
  Positions positions = {glm::vec3(-x, y, 0), glm::vec3(-x, -y, 0), glm::vec3(x, -y, 0), glm::vec3(x, y, 0)};
  for (glm::vec3& position : positions) position -= anchor;
  return _DrawQuad(positions, ContentTexCoords(content, QuarterTurns(rotation)));
}

bool TextureDrawer::Draw() {
  if (!BeginDraw()) {
    EndDraw();
    return false;
  }
  const ContentRect target = scene_->Content();
  program_->SetUniformMatrix4f("mvpMat", _Mvp(model), 1);
  program_->SetUniform2f("resolution", {target.width, target.height});
  program_->SetUniform2f("targetOrigin", {target.x, target.y});
  program_->SetUniform1f("opacity", opacity);
  program_->SetUniform1i("useMainTexture", mainTexture != nullptr ? 1 : 0);
  if (mainTexture != nullptr) {
    program_->SetUniform4f("mainTextureBounds", ContentRect::Of(*mainTexture).SampleBounds());
    program_->SetUniformTexture(1, static_cast<int>(mainTexture->id), "mainTexture", mainTexture->target);
  }
  _SetMatte();
  program_->SetUniform1i("doSimpleMatte", simpleMatte ? 1 : 0);
  if (simpleMatte) program_->SetUniform2f("simpleMatte", simpleMatteSize);

  Texture* backgroundCopy = nullptr;
  if (blendType != kNoBlend) {
    program_->SetUniform1i("doBlend", 1);
    program_->SetUniform1i("blendType", blendType);
    Texture* background = scene_->ColorTexture();
    glm::vec2 origin(0, 0);
    if (background != nullptr && glTextureBarrier != nullptr) {
      glTextureBarrier();
    } else {
      background = backgroundCopy = _CopyOfBackground();
      if (background == nullptr) {
        EndDraw();
        return false;
      }
      origin = {target.x - background->offsetX, target.y - background->offsetY};
    }
    program_->SetUniform2f("bgOrigin", origin);
    program_->SetUniformTexture(3, static_cast<int>(background->id), "bgTexture", background->target);
  }
  if (depthTest) {
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
  } else {
    glDisable(GL_DEPTH_TEST);
  }
  const bool ok = scene_->Bind() && _DrawMainQuad();
  if (depthTest) glDisable(GL_DEPTH_TEST);
  if (backgroundCopy != nullptr) surfaces_.ReleaseTexture(backgroundCopy);
  EndDraw();
  return ok;
}

}  // namespace qvg
