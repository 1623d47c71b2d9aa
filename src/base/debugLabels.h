// Names for GL objects and groups of GL calls (KHR_debug), for people who look at a trace of them.
#pragma once

#include <string>
#include <utility>

#include "base/gl.h"
#include "utils/format.h"

namespace qvg {

/// What a group holds; the id of its messages.
enum class DebugGroupKind : GLuint { kSlot = 1, kPass = 2 };

namespace debug_labels {

/// Whether anybody looks: QVG_GL_LABELS in the environment says so (0: never), or the current context is a debug
/// context, or a tool announces itself. Asked when the entry points are loaded, with a context current.
void LookForTools();
bool On() noexcept;
/// Of an internal format that the library uses.
const char* FormatName(GLenum internalFormat);
void Attach(GLenum kind, GLuint object, const std::string& label);

}  // namespace debug_labels

/// Names an object that has been bound before. Nothing happens, and nothing is formatted, when nobody looks.
template <class... Arguments>
void LabelObject(GLenum kind, GLuint object, fmt::format_string<Arguments...> format,
                 Arguments&&... arguments) noexcept {
  if (!debug_labels::On() || object == 0) return;
  try {
    debug_labels::Attach(kind, object, Format(format, std::forward<Arguments>(arguments)...));
  } catch (...) {  // A name is not worth a failure.
  }
}

/// A group of GL calls on the current context, from Open to Close or the end of its life. Nothing when nobody looks.
class DebugGroup {
 public:
  DebugGroup() = default;
  DebugGroup(DebugGroupKind kind, const char* name) noexcept { Open(kind, name); }
  ~DebugGroup() { Close(); }
  DebugGroup(const DebugGroup&) = delete;
  DebugGroup& operator=(const DebugGroup&) = delete;

  void Open(DebugGroupKind kind, const char* name) noexcept {
    if (debug_labels::On()) _Push(kind, name);
  }
  void Close() noexcept {
    if (open_) _Pop();
  }

 private:
  void _Push(DebugGroupKind kind, const char* name) noexcept;
  void _Pop() noexcept;

  bool open_ = false;
};

}  // namespace qvg
