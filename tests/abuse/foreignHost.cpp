#include "abuse/foreignHost.h"

#include <glad/gl.h>

#include <algorithm>

namespace qvg::test {

namespace {

constexpr int kTextures = 8;
constexpr int kWidth = 3;

}  // namespace

ForeignHost::ForeignHost() : context_(ForeignContext::Make("EGL on a device")) {
  if (!context_->MakeCurrent()) return;
  textures_.resize(kTextures);
  glGenTextures(kTextures, textures_.data());
  for (const uint32_t texture : textures_) {
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, kWidth, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  }
  Leave();
}

bool ForeignHost::Enter() {
  if (textures_.empty() || !context_->MakeCurrent()) return false;
  glBindTexture(GL_TEXTURE_2D, textures_.back());
  glEnable(GL_NONE);
  return true;
}

bool ForeignHost::IsUntouched() const {
  GLint bound = 0;
  GLint width = 0;
  const bool errorPending = glGetError() == GL_INVALID_ENUM;
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
  return errorPending && glGetError() == 0 && static_cast<uint32_t>(bound) == textures_.back() && width == kWidth &&
         std::all_of(textures_.begin(), textures_.end(), [](uint32_t name) { return glIsTexture(name) != 0; });
}

}  // namespace qvg::test
