#include "base/glError.h"

#include <fmt/format.h>

#include "base/gl.h"
#include "utils/log.h"

namespace qvg {

std::string DecodeGLError(uint32_t code) {
  switch (code) {
    case GL_NO_ERROR:
      return "";
    case GL_INVALID_ENUM:
      return "Invalid enum";
    case GL_INVALID_VALUE:
      return "Invalid value";
    case GL_INVALID_OPERATION:
      return "Invalid Operation";
    case GL_OUT_OF_MEMORY:
      return "Out of memory";
    case GL_INVALID_FRAMEBUFFER_OPERATION:
      return "Framebuffer object is not complete";
    default:
      return fmt::format("Undecoded gl error, num= {}", code);
  }
}

bool CheckGLError(std::source_location where) {
  const GLenum error = glGetError();
  if (error == GL_NO_ERROR) return true;
  LogLocated(kLogError, fmt::format("OpenGL Error: {}", DecodeGLError(error)), where);
  return false;
}

}  // namespace qvg
