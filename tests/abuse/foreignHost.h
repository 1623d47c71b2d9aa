// A host with a context of its own, on which it has textures whose names equal the library's.
#pragma once

#include <glad/gl.h>

#include <algorithm>
#include <memory>

#include "support/foreignContext.h"

namespace qvg::test {

class ForeignHost {
 public:
  ForeignHost() {
    if (!context_->MakeCurrent()) return;
    glGenTextures(kTextures, textures_);
    for (const GLuint texture : textures_) glBindTexture(GL_TEXTURE_2D, texture);
    Leave();
  }

  /// Makes the context current in place of whatever is, and leaves a GL error pending on it.
  bool Enter() {
    if (textures_[0] == 0 || !context_->MakeCurrent()) return false;
    glEnable(GL_NONE);
    return true;
  }
  bool IsCurrent() const { return context_->IsCurrent(); }
  /// While it is current: whether its textures, its binding and its pending error are as they were.
  bool IsUntouched() const {
    GLint bound = 0;
    const bool errorPending = glGetError() == GL_INVALID_ENUM;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    return errorPending && glGetError() == 0 && static_cast<GLuint>(bound) == textures_[kTextures - 1] &&
           std::ranges::all_of(textures_, [](GLuint name) { return glIsTexture(name) != 0; });
  }
  void Leave() { context_->Unbind(); }

 private:
  static constexpr int kTextures = 8;
  std::unique_ptr<ForeignContext> context_ = ForeignContext::Make("EGL on a device");
  GLuint textures_[kTextures] = {};
};

}  // namespace qvg::test
