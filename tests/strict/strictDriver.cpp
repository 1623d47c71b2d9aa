// Wraps the driver's functions and behaves as other drivers would.
#include <glad/gl.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/texelFormat.h"
#include "driver.h"

namespace qvg::test {
namespace {

/// The driver's own function. kPointer, the loader's variable for it, has its type.
template <auto kPointer>
auto RawCall(const char* name) {
  using Function = std::remove_pointer_t<decltype(kPointer)>;
  static const auto function = reinterpret_cast<Function>(RealEntryPoint(name));
  return function;
}
#define QVG_RAW(call) (RawCall<&glad_gl##call>("gl" #call))

GLint RawInteger(GLenum name) {
  GLint value = 0;
  QVG_RAW(GetIntegerv)(name, &value);
  return value;
}

// ---- Errors of its own

constinit thread_local GLenum pendingError = GL_NO_ERROR;

void Fail(GLenum error) {
  if (pendingError == GL_NO_ERROR) pendingError = error;
}

GLenum GLAD_API_PTR GetError() {
  const GLenum error = std::exchange(pendingError, GLenum{GL_NO_ERROR});
  return error != GL_NO_ERROR ? error : QVG_RAW(GetError)();
}

// ---- Index buffers

void GLAD_API_PTR BindBuffer(GLenum target, GLuint buffer) {
  if (target == GL_ELEMENT_ARRAY_BUFFER && buffer != 0 && RawInteger(GL_VERTEX_ARRAY_BINDING) == 0) {
    return Fail(GL_INVALID_OPERATION);
  }
  QVG_RAW(BindBuffer)(target, buffer);
}

// ---- Targets

constexpr GLint kNoTargets[] = {GL_RGB8,      GL_RGB4,        GL_RGB5,   GL_R3_G3_B2, GL_SRGB8,      GL_RGB10,
                                GL_RGB12,     GL_RGB16,       GL_RGB16F, GL_RGB32F,   GL_RGB8_SNORM, GL_R8_SNORM,
                                GL_RG8_SNORM, GL_RGB16_SNORM, GL_RGB8I,  GL_RGB8UI,   GL_RGB16I,     GL_RGB16UI,
                                GL_R16_SNORM, GL_RGB32I,      GL_RGB32UI};

bool HasNoTarget(GLenum target, GLenum attachment) {
  GLint type = 0, name = 0, format = 0;
  const auto get = QVG_RAW(GetFramebufferAttachmentParameteriv);
  get(target, attachment, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE, &type);
  if (type != GL_TEXTURE) return false;
  get(target, attachment, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME, &name);
  const GLint bound = RawInteger(GL_TEXTURE_BINDING_2D);
  QVG_RAW(BindTexture)(GL_TEXTURE_2D, static_cast<GLuint>(name));
  QVG_RAW(GetTexLevelParameteriv)(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
  QVG_RAW(BindTexture)(GL_TEXTURE_2D, static_cast<GLuint>(bound));
  return std::find(std::begin(kNoTargets), std::end(kNoTargets), format) != std::end(kNoTargets);
}

bool Incomplete(GLenum target) {
  const bool reads = target == GL_READ_FRAMEBUFFER;
  if (RawInteger(reads ? GL_READ_FRAMEBUFFER_BINDING : GL_DRAW_FRAMEBUFFER_BINDING) == 0) return false;
  for (GLenum i = 0; i < 4; ++i) {
    if (HasNoTarget(target, GL_COLOR_ATTACHMENT0 + i)) return true;
  }
  return false;
}

GLenum GLAD_API_PTR CheckFramebufferStatus(GLenum target) {
  return Incomplete(target) ? GLenum{GL_FRAMEBUFFER_UNSUPPORTED} : QVG_RAW(CheckFramebufferStatus)(target);
}

/// A call that needs complete frame buffers at these binding points.
template <auto kPointer, GLenum... kTargets>
struct OnTargets;
template <class... Arguments, void(GLAD_API_PTR** kPointer)(Arguments...), GLenum... kTargets>
struct OnTargets<kPointer, kTargets...> {
  static inline const char* name = nullptr;
  static void GLAD_API_PTR Run(Arguments... arguments) {
    if ((Incomplete(kTargets) || ...)) return Fail(GL_INVALID_FRAMEBUFFER_OPERATION);
    RawCall<kPointer>(name)(arguments...);
  }
};

// ---- No texture barrier

const GLubyte* GLAD_API_PTR GetStringi(GLenum name, GLuint index) {
  const GLubyte* const text = QVG_RAW(GetStringi)(name, index);
  const bool barrier =
      text != nullptr && std::strstr(reinterpret_cast<const char*>(text), "texture_barrier") != nullptr;
  return barrier ? reinterpret_cast<const GLubyte*>("GL_none") : text;
}

// ---- Garbage

// Clears that are newer than the version that the loader knows.
template <class... Arguments>
void CallLater(const char* name, Arguments... arguments) {
  reinterpret_cast<void(GLAD_API_PTR*)(Arguments...)>(RealEntryPoint(name))(arguments...);
}

void FillTexture(GLenum binding, GLenum format, GLsizei levels) {
  const auto texture = static_cast<GLuint>(RawInteger(binding));
  const GLenum values = TexelFormatOf(format).integer ? GLenum{GL_RGBA_INTEGER} : GLenum{GL_RGBA};
  const void* const texel = kGarbageTexel;
  for (GLint level = 0; level < levels; ++level) {
    CallLater("glClearTexImage", texture, level, values, GLenum{GL_UNSIGNED_BYTE}, texel);
  }
}

bool HasStorage(GLenum target) {
  GLint width = 0;
  QVG_RAW(GetTexLevelParameteriv)(target, 0, GL_TEXTURE_WIDTH, &width);
  return width > 0;
}

void GLAD_API_PTR TexStorage2D(GLenum target, GLsizei levels, GLenum format, GLsizei width, GLsizei height) {
  const bool had = HasStorage(target);
  QVG_RAW(TexStorage2D)(target, levels, format, width, height);
  if (!had && HasStorage(target)) FillTexture(GL_TEXTURE_BINDING_2D, format, levels);
}

void GLAD_API_PTR TexStorage3D(GLenum target, GLsizei levels, GLenum format, GLsizei width, GLsizei height,
                               GLsizei depth) {
  const bool had = HasStorage(target);
  QVG_RAW(TexStorage3D)(target, levels, format, width, height, depth);
  if (!had && HasStorage(target)) FillTexture(GL_TEXTURE_BINDING_3D, format, levels);
}

void GLAD_API_PTR BufferData(GLenum target, GLsizeiptr size, const void* data, GLenum usage) {
  QVG_RAW(BufferData)(target, size, data, usage);
  GLint made = 0;
  if (data == nullptr) QVG_RAW(GetBufferParameteriv)(target, GL_BUFFER_SIZE, &made);
  const std::vector<uint8_t> garbage(static_cast<size_t>(made), kGarbageTexel[0]);
  if (made > 0) QVG_RAW(BufferSubData)(target, 0, made, garbage.data());
}

// ---- Information logs

constexpr char kRemark[] = "warning: the driver has something to say, and it is no error";

void RemarkLength(GLenum name, GLint* value) {
  if (name == GL_INFO_LOG_LENGTH && *value <= 1) *value = static_cast<GLint>(sizeof kRemark);
}

void RemarkText(GLsizei room, GLsizei* length, GLchar* text) {
  if (room < 1 || *text != '\0') return;
  const int wanted = std::snprintf(text, static_cast<size_t>(room), "%s", kRemark);
  if (length != nullptr) *length = std::min(wanted, room - 1);
}

void GLAD_API_PTR GetShaderiv(GLuint shader, GLenum name, GLint* value) {
  QVG_RAW(GetShaderiv)(shader, name, value);
  RemarkLength(name, value);
}
void GLAD_API_PTR GetProgramiv(GLuint program, GLenum name, GLint* value) {
  QVG_RAW(GetProgramiv)(program, name, value);
  RemarkLength(name, value);
}
void GLAD_API_PTR GetShaderInfoLog(GLuint shader, GLsizei room, GLsizei* length, GLchar* text) {
  QVG_RAW(GetShaderInfoLog)(shader, room, length, text);
  RemarkText(room, length, text);
}
void GLAD_API_PTR GetProgramInfoLog(GLuint program, GLsizei room, GLsizei* length, GLchar* text) {
  QVG_RAW(GetProgramInfoLog)(program, room, length, text);
  RemarkText(room, length, text);
}

// ---- All of them

template <class Function>
void* Address(Function* function) {
  return reinterpret_cast<void*>(function);
}

template <auto kPointer, GLenum... kTargets>
void* NeedsTargets(const char* name) {
  OnTargets<kPointer, kTargets...>::name = name;
  return Address(&OnTargets<kPointer, kTargets...>::Run);
}

struct Replacement {
  const char* name;
  DriverMode mode;
  void* function;
};

const std::vector<Replacement>& Replacements() {
  static const std::vector<Replacement> all = {
      {"glBindBuffer", kIndexNeedsVertexArray, Address(&BindBuffer)},
      {"glCheckFramebufferStatus", kNoRgbTarget, Address(&CheckFramebufferStatus)},
      {"glClear", kNoRgbTarget, NeedsTargets<&glad_glClear, GL_DRAW_FRAMEBUFFER>("glClear")},
      {"glDrawElements", kNoRgbTarget, NeedsTargets<&glad_glDrawElements, GL_DRAW_FRAMEBUFFER>("glDrawElements")},
      {"glReadPixels", kNoRgbTarget, NeedsTargets<&glad_glReadPixels, GL_READ_FRAMEBUFFER>("glReadPixels")},
      {"glBlitFramebuffer", kNoRgbTarget,
       NeedsTargets<&glad_glBlitFramebuffer, GL_READ_FRAMEBUFFER, GL_DRAW_FRAMEBUFFER>("glBlitFramebuffer")},
      {"glCopyTexSubImage2D", kNoRgbTarget,
       NeedsTargets<&glad_glCopyTexSubImage2D, GL_READ_FRAMEBUFFER>("glCopyTexSubImage2D")},
      {"glTextureBarrier", kNoTextureBarrier, nullptr},
      {"glGetStringi", kNoTextureBarrier, Address(&GetStringi)},
      {"glTexStorage2D", kGarbage, Address(&TexStorage2D)},
      {"glTexStorage3D", kGarbage, Address(&TexStorage3D)},
      {"glBufferData", kGarbage, Address(&BufferData)},
      {"glGetShaderiv", kChattyLogs, Address(&GetShaderiv)},
      {"glGetProgramiv", kChattyLogs, Address(&GetProgramiv)},
      {"glGetShaderInfoLog", kChattyLogs, Address(&GetShaderInfoLog)},
      {"glGetProgramInfoLog", kChattyLogs, Address(&GetProgramInfoLog)},
  };
  return all;
}

unsigned WantedModes() {
  const char* const wanted = std::getenv("QVG_TEST_DRIVER");
  if (wanted == nullptr) return ~0u;
  constexpr const char* kNames[] = {"index", "rgb", "barrier", "garbage", "logs", "xlib"};
  for (size_t i = 0; i < std::size(kNames); ++i) {
    if (std::strcmp(wanted, kNames[i]) == 0) return 1u << i;
  }
  std::fprintf(stderr, "QVG_TEST_DRIVER names no mode\n");
  std::exit(2);
}

}  // namespace

bool DriverIs(DriverMode mode) {
  static const unsigned modes = WantedModes();
  return (modes & mode) != 0;
}

void* InPlaceOf(const char* name, void* entryPoint) {
  if (std::strcmp(name, "glGetError") == 0) return Address(&GetError);
  for (const Replacement& replacement : Replacements()) {
    if (DriverIs(replacement.mode) && std::strcmp(name, replacement.name) == 0) return replacement.function;
  }
  return entryPoint;
}

}  // namespace qvg::test
