#include "base/entryPoints.h"

#include <cstdint>
#include <cstring>

#include "base/debugLabels.h"
#include "base/glContextPlatform.h"
#include "utils/format.h"
#include "utils/log.h"

namespace qvg {

namespace {

// Everything is built on shaders of version 4.10, and on immutable textures, which came with 4.2.
constexpr int32_t kLeastMajor = 4;
constexpr int32_t kLeastMinor = 1;

PFNGLGETSTRINGIPROC driversGetStringi = nullptr;

// The generated loader takes the length of every name, even of one that a failing driver doesn't return.
const GLubyte* GLAD_API_PTR NameOrNothing(GLenum list, GLuint index) {
  const GLubyte* const name = driversGetStringi(list, index);
  return name != nullptr ? name : reinterpret_cast<const GLubyte*>("");
}

struct Finder {
  GLADuserptrloadfunc find;
  void* user;
};

GLADapiproc Find(void* finder, const char* name) {
  const auto& [find, user] = *static_cast<const Finder*>(finder);
  const GLADapiproc function = find(user, name);
  if (function == nullptr || std::strcmp(name, "glGetStringi") != 0) return function;
  driversGetStringi = reinterpret_cast<PFNGLGETSTRINGIPROC>(function);
  return reinterpret_cast<GLADapiproc>(&NameOrNothing);
}

}  // namespace

int LoadEntryPoints(GLADuserptrloadfunc find, void* user) {
  Finder finder = {find, user};
  const int version = gladLoadGLUserPtr(&Find, &finder);
  if (glGetStringi != nullptr) glGetStringi = driversGetStringi;
  if (version != 0) debug_labels::LookForTools();
  return version;
}

bool HasEntryPoints() {
  int32_t major = 0;
  int32_t minor = 0;
  LoadedGLVersion(&major, &minor);
  if (major < kLeastMajor || (major == kLeastMajor && minor < kLeastMinor)) {
    LogLocated(kLogError, Format("the driver's OpenGL {}.{} is too old, {}.{} is needed: nothing can be drawn.", major,
                                 minor, kLeastMajor, kLeastMinor));
    return false;
  }
#define QVG_ENTRY_POINT(name) \
  { #name, name != nullptr }
  // Everything that is called, except glTextureBarrier, which is optional.
  const struct {
    const char* name;
    bool there;
  } entryPoints[] = {QVG_ENTRY_POINT(glActiveTexture),
                     QVG_ENTRY_POINT(glAttachShader),
                     QVG_ENTRY_POINT(glBindBuffer),
                     QVG_ENTRY_POINT(glBindFramebuffer),
                     QVG_ENTRY_POINT(glBindRenderbuffer),
                     QVG_ENTRY_POINT(glBindSampler),
                     QVG_ENTRY_POINT(glBindTexture),
                     QVG_ENTRY_POINT(glBindVertexArray),
                     QVG_ENTRY_POINT(glBlitFramebuffer),
                     QVG_ENTRY_POINT(glBufferData),
                     QVG_ENTRY_POINT(glBufferSubData),
                     QVG_ENTRY_POINT(glCheckFramebufferStatus),
                     QVG_ENTRY_POINT(glClear),
                     QVG_ENTRY_POINT(glClearColor),
                     QVG_ENTRY_POINT(glClearDepth),
                     QVG_ENTRY_POINT(glColorMask),
                     QVG_ENTRY_POINT(glCompileShader),
                     QVG_ENTRY_POINT(glCopyTexSubImage2D),
                     QVG_ENTRY_POINT(glCreateProgram),
                     QVG_ENTRY_POINT(glCreateShader),
                     QVG_ENTRY_POINT(glDeleteBuffers),
                     QVG_ENTRY_POINT(glDeleteFramebuffers),
                     QVG_ENTRY_POINT(glDeleteProgram),
                     QVG_ENTRY_POINT(glDeleteRenderbuffers),
                     QVG_ENTRY_POINT(glDeleteSamplers),
                     QVG_ENTRY_POINT(glDeleteShader),
                     QVG_ENTRY_POINT(glDeleteSync),
                     QVG_ENTRY_POINT(glDeleteTextures),
                     QVG_ENTRY_POINT(glDeleteVertexArrays),
                     QVG_ENTRY_POINT(glDepthFunc),
                     QVG_ENTRY_POINT(glDepthMask),
                     QVG_ENTRY_POINT(glDepthRange),
                     QVG_ENTRY_POINT(glDisable),
                     QVG_ENTRY_POINT(glDisableVertexAttribArray),
                     QVG_ENTRY_POINT(glDrawBuffers),
                     QVG_ENTRY_POINT(glDrawElements),
                     QVG_ENTRY_POINT(glEnable),
                     QVG_ENTRY_POINT(glEnableVertexAttribArray),
                     QVG_ENTRY_POINT(glFenceSync),
                     QVG_ENTRY_POINT(glFinish),
                     QVG_ENTRY_POINT(glFlush),
                     QVG_ENTRY_POINT(glFramebufferRenderbuffer),
                     QVG_ENTRY_POINT(glFramebufferTexture2D),
                     QVG_ENTRY_POINT(glGenBuffers),
                     QVG_ENTRY_POINT(glGenFramebuffers),
                     QVG_ENTRY_POINT(glGenRenderbuffers),
                     QVG_ENTRY_POINT(glGenSamplers),
                     QVG_ENTRY_POINT(glGenTextures),
                     QVG_ENTRY_POINT(glGenVertexArrays),
                     QVG_ENTRY_POINT(glGenerateMipmap),
                     QVG_ENTRY_POINT(glGetError),
                     QVG_ENTRY_POINT(glGetIntegerv),
                     QVG_ENTRY_POINT(glGetProgramInfoLog),
                     QVG_ENTRY_POINT(glGetProgramiv),
                     QVG_ENTRY_POINT(glGetShaderInfoLog),
                     QVG_ENTRY_POINT(glGetShaderiv),
                     QVG_ENTRY_POINT(glGetString),
                     QVG_ENTRY_POINT(glGetUniformLocation),
                     QVG_ENTRY_POINT(glLinkProgram),
                     QVG_ENTRY_POINT(glMapBufferRange),
                     QVG_ENTRY_POINT(glPixelStorei),
                     QVG_ENTRY_POINT(glPolygonMode),
                     QVG_ENTRY_POINT(glReadBuffer),
                     QVG_ENTRY_POINT(glReadPixels),
                     QVG_ENTRY_POINT(glRenderbufferStorage),
                     QVG_ENTRY_POINT(glRenderbufferStorageMultisample),
                     QVG_ENTRY_POINT(glSamplerParameteri),
                     QVG_ENTRY_POINT(glScissor),
                     QVG_ENTRY_POINT(glShaderSource),
                     QVG_ENTRY_POINT(glTexParameteri),
                     QVG_ENTRY_POINT(glTexParameteriv),
                     QVG_ENTRY_POINT(glTexStorage2D),
                     QVG_ENTRY_POINT(glTexStorage3D),
                     QVG_ENTRY_POINT(glTexSubImage2D),
                     QVG_ENTRY_POINT(glUniform1f),
                     QVG_ENTRY_POINT(glUniform1i),
                     QVG_ENTRY_POINT(glUniform2fv),
                     QVG_ENTRY_POINT(glUniform2iv),
                     QVG_ENTRY_POINT(glUniform3fv),
                     QVG_ENTRY_POINT(glUniform4fv),
                     QVG_ENTRY_POINT(glUniformMatrix3fv),
                     QVG_ENTRY_POINT(glUniformMatrix4fv),
                     QVG_ENTRY_POINT(glUnmapBuffer),
                     QVG_ENTRY_POINT(glUseProgram),
                     QVG_ENTRY_POINT(glVertexAttribPointer),
                     QVG_ENTRY_POINT(glViewport),
                     QVG_ENTRY_POINT(glWaitSync)};
#undef QVG_ENTRY_POINT
  for (const auto& [name, there] : entryPoints) {
    if (there) continue;
    LogLocated(kLogError, Format("the driver's OpenGL {}.{} lacks {}: nothing can be drawn.", major, minor, name));
    return false;
  }
  return true;
}

}  // namespace qvg
