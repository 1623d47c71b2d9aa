#include "base/glError.h"

#include "base/contextState.h"
#include "base/gl.h"
#include "utils/format.h"
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
      return Format("Undecoded gl error, num= {}", code);
  }
}

bool CheckGLError(SourceLocation where) noexcept {
  const GLenum error = glGetError();
  if (error == GL_NO_ERROR) return true;
  if (ContextState* const current = CurrentContext(); current != nullptr) current->failed = true;
  try {
    LogLocated(kLogError, Format("OpenGL Error: {}", DecodeGLError(error)), where);
  } catch (...) {  // Without memory for a line there is nothing left to say.
  }
  return false;
}

uint32_t DrainGLErrors() noexcept {
  // A lost context may report its error forever.
  constexpr int kMost = 16;
  GLenum first = GL_NO_ERROR;
  for (int i = 0; i < kMost; ++i) {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) break;
    if (i == 0) first = error;
  }
  return first;
}

}  // namespace qvg
