#pragma once

#include <string>

#include "base/gl.h"

namespace qvg {

/// The compile step of one stage while a program is loaded. Does not own the GL shader: the program's loader does.
class Shader {
 public:
  /// A source that does not compile is logged and still true; false means a pending GL error or no shader name.
  bool LoadFromContent(unsigned int type, const std::string& content);
  bool PrintShaderInfoLog();

  GLuint Id() const { return id_; }

 private:
  GLuint id_ = 0;
  GLenum type_ = GL_VERTEX_SHADER;
  std::string content_;
};

}  // namespace qvg
