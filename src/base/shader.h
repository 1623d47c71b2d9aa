#pragma once

#include <string>

#include "base/gl.h"

namespace qvg {

/// The compile step of one stage while a program is loaded. Does not own the GL shader: the program's loader does.
class Shader {
 public:
  /// Logs a source that doesn't compile, and still returns true; false means a GL error or no shader name.
  bool LoadFromContent(unsigned int type, const std::string& content);
  bool PrintShaderInfoLog();

  GLuint Id() const { return id_; }

 private:
  GLuint id_ = 0;
  GLenum type_ = GL_VERTEX_SHADER;
  std::string content_;
};

}  // namespace qvg
