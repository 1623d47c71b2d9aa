#include "base/debugLabels.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace qvg {

namespace {

// The least that a driver takes, without the terminating null.
constexpr size_t kLongestText = 255;

std::atomic<bool> on = false;

GLsizei LengthOf(const char* text) { return static_cast<GLsizei>(std::min(std::strlen(text), kLongestText)); }

// Debuggers that intercept OpenGL list this extension.
bool ToolIsThere() {
  GLint count = 0;
  glGetIntegerv(GL_NUM_EXTENSIONS, &count);
  for (GLint i = 0; i < count; ++i) {
    const GLubyte* const name = glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i));
    if (name != nullptr && std::strcmp(reinterpret_cast<const char*>(name), "GL_EXT_debug_tool") == 0) return true;
  }
  return false;
}

bool IsDebugContext() {
  GLint flags = 0;
  glGetIntegerv(GL_CONTEXT_FLAGS, &flags);
  return (flags & GL_CONTEXT_FLAG_DEBUG_BIT) != 0;
}

}  // namespace

namespace debug_labels {

void LookForTools() {
  on = false;
  // Nothing has been checked for yet (HasEntryPoints).
  if (glObjectLabel == nullptr || glPushDebugGroup == nullptr || glPopDebugGroup == nullptr ||
      glGetIntegerv == nullptr || glGetStringi == nullptr) {
    return;
  }
  const char* const choice = std::getenv("QVG_GL_LABELS");
  on = choice != nullptr && *choice != '\0' ? std::strcmp(choice, "0") != 0 : IsDebugContext() || ToolIsThere();
}

const char* FormatName(GLenum internalFormat) {
  constexpr struct {
    GLenum format;
    const char* name;
  } kNames[] = {
      {GL_RGBA8, "RGBA8"}, {GL_RGB8, "RGB8"},   {GL_R3_G3_B2, "R3_G3_B2"}, {GL_R8, "R8"},
      {GL_RG8, "RG8"},     {GL_R16UI, "R16UI"}, {GL_RG16UI, "RG16UI"},     {GL_DEPTH24_STENCIL8, "DEPTH24_STENCIL8"}};
  for (const auto& [format, name] : kNames) {
    if (format == internalFormat) return name;
  }
  return "another format";
}

bool On() noexcept { return on.load(std::memory_order_relaxed); }

void Attach(GLenum kind, GLuint object, const std::string& label) {
  glObjectLabel(kind, object, LengthOf(label.c_str()), label.c_str());
}

}  // namespace debug_labels

void DebugGroup::_Push(DebugGroupKind kind, const char* name) noexcept {
  // The host may have opened groups of its own: one too many would be a GL error.
  GLint depth = 0;
  GLint most = 0;
  glGetIntegerv(GL_DEBUG_GROUP_STACK_DEPTH, &depth);
  glGetIntegerv(GL_MAX_DEBUG_GROUP_STACK_DEPTH, &most);
  const GLsizei length = LengthOf(name);
  if (open_ || depth >= most || length == 0) return;
  glPushDebugGroup(GL_DEBUG_SOURCE_THIRD_PARTY, static_cast<GLuint>(kind), length, name);
  open_ = true;
}

void DebugGroup::_Pop() noexcept {
  glPopDebugGroup();
  open_ = false;
}

}  // namespace qvg
