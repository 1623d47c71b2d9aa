// A host with a context of its own, on which it has textures whose names equal the library's.
#pragma once

#include <glad/gl.h>

#include <algorithm>
#include <array>
#include <memory>

#include "support/foreignContext.h"

namespace qvg::test {

class ForeignHost {
 public:
  ForeignHost() {
    if (!context_->MakeCurrent()) return;
    glGenTextures(static_cast<GLsizei>(textures_.size()), textures_.data());
    for (const GLuint texture : textures_) {
      glBindTexture(GL_TEXTURE_2D, texture);
      glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, kWidth, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    }
    Leave();
  }

  /// Makes the context current in place of whatever is, and leaves a GL error pending on it.
  bool Enter() {
    if (textures_[0] == 0 || !context_->MakeCurrent()) return false;
    glBindTexture(GL_TEXTURE_2D, textures_.back());
    glEnable(GL_NONE);
    return true;
  }
  bool IsCurrent() const { return context_->IsCurrent(); }
  /// While it is current: whether its textures and its pending error are as they were.
  bool IsUntouched() const {
    GLint bound = 0, width = 0;
    const bool errorPending = glGetError() == GL_INVALID_ENUM;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    return errorPending && glGetError() == 0 && static_cast<GLuint>(bound) == textures_.back() && width == kWidth &&
           std::all_of(textures_.begin(), textures_.end(), [](GLuint name) { return glIsTexture(name) != 0; });
  }
  void Leave() { context_->Unbind(); }

 private:
  static constexpr GLint kWidth = 3;
  std::unique_ptr<ForeignContext> context_ = ForeignContext::Make("EGL on a device");
  std::array<GLuint, 8> textures_ = {};
};

}  // namespace qvg::test
