// Stands before the driver's functions and does as other drivers would.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "base/texelFormat.h"
#include "driverMode.h"
#include "rawCall.h"

namespace qvg::test {
namespace {

constexpr std::pair<const char*, DriverMode> kNames[] = {{"index", kIndexNeedsVertexArray},
                                                         {"rgb", kNoRgbTarget},
                                                         {"barrier", kNoTextureBarrier},
                                                         {"garbage", kGarbage},
                                                         {"logs", kChattyLogs},
                                                         {"xlib", kNoXcb}};

unsigned WantedModes() {
  const char* const wanted = std::getenv("QVG_TEST_DRIVER");
  const std::string list = ',' + std::string(wanted != nullptr ? wanted : "") + ',';
  unsigned modes = 0;
  for (const auto& [name, mode] : kNames) {
    if (wanted == nullptr || list.find(std::string(",") + name + ',') != std::string::npos) modes |= mode;
  }
  if (modes == 0) std::fprintf(stderr, "QVG_TEST_DRIVER names no mode\n"), std::exit(2);
  return modes;
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

/// A call that needs a complete frame buffer on the binding points.
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

const std::vector<uint8_t>& Noise() {
  static const std::vector<uint8_t> noise = [] {
    std::vector<uint8_t> bytes(1 << 20);
    uint32_t state = 1;
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
  }();
  return noise;
}

/// The transfer state as GL begins, during its life.
class PlainUnpacking {
 public:
  PlainUnpacking() {
    std::transform(std::begin(kStates), std::end(kStates), before_.begin(), &RawInteger);
    for (const GLenum state : kStates) QVG_RAW(PixelStorei)(state, state == GL_UNPACK_ALIGNMENT ? 1 : 0);
    QVG_RAW(BindBuffer)(GL_PIXEL_UNPACK_BUFFER, 0);
  }
  ~PlainUnpacking() {
    for (size_t i = 0; i < before_.size(); ++i) QVG_RAW(PixelStorei)(kStates[i], before_[i]);
    QVG_RAW(BindBuffer)(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(buffer_));
  }

 private:
  static constexpr GLenum kStates[] = {GL_UNPACK_ALIGNMENT,   GL_UNPACK_ROW_LENGTH,   GL_UNPACK_SKIP_ROWS,
                                       GL_UNPACK_SKIP_PIXELS, GL_UNPACK_IMAGE_HEIGHT, GL_UNPACK_SKIP_IMAGES,
                                       GL_UNPACK_SWAP_BYTES};
  std::array<GLint, std::size(kStates)> before_;
  const GLint buffer_ = RawInteger(GL_PIXEL_UNPACK_BUFFER_BINDING);
};

bool HasStorage(GLenum target, GLsizei width) {
  GLint found = 0;
  QVG_RAW(GetTexLevelParameteriv)(target, 0, GL_TEXTURE_WIDTH, &found);
  return found == width && width > 0;
}

// Strips of rows that the noise is enough for.
template <class Load>
void FillRows(GLsizei width, GLsizei height, Load load) {
  const PlainUnpacking plain;
  const GLsizei rows = std::max(static_cast<GLsizei>(Noise().size()) / (4 * width), 1);
  for (GLsizei y = 0; y < height; y += rows) load(y, std::min(rows, height - y));
}

GLenum NoiseFormat(GLenum internalFormat) {
  return TexelFormatOf(internalFormat).integer ? GLenum{GL_RGBA_INTEGER} : GLenum{GL_RGBA};
}

void GLAD_API_PTR TexStorage2D(GLenum target, GLsizei levels, GLenum format, GLsizei width, GLsizei height) {
  const bool had = HasStorage(target, width);
  QVG_RAW(TexStorage2D)(target, levels, format, width, height);
  if (had || !HasStorage(target, width)) return;
  for (GLsizei level = 0; level < levels; ++level) {
    const GLsizei across = std::max(width >> level, 1);
    FillRows(across, std::max(height >> level, 1), [&](GLsizei y, GLsizei rows) {
      QVG_RAW(TexSubImage2D)(target, level, 0, y, across, rows, NoiseFormat(format), GL_UNSIGNED_BYTE, Noise().data());
    });
  }
}

void GLAD_API_PTR TexStorage3D(GLenum target, GLsizei levels, GLenum format, GLsizei width, GLsizei height,
                               GLsizei depth) {
  const bool had = HasStorage(target, width);
  QVG_RAW(TexStorage3D)(target, levels, format, width, height, depth);
  if (had || !HasStorage(target, width)) return;
  for (GLsizei z = 0; z < depth; ++z) {
    FillRows(width, height, [&](GLsizei y, GLsizei rows) {
      QVG_RAW(TexSubImage3D)
      (target, 0, 0, y, z, width, rows, 1, NoiseFormat(format), GL_UNSIGNED_BYTE, Noise().data());
    });
  }
}

void GLAD_API_PTR BufferData(GLenum target, GLsizeiptr size, const void* data, GLenum usage) {
  QVG_RAW(BufferData)(target, size, data, usage);
  GLint made = 0;
  if (data == nullptr) QVG_RAW(GetBufferParameteriv)(target, GL_BUFFER_SIZE, &made);
  const auto step = static_cast<GLsizeiptr>(Noise().size());
  for (GLsizeiptr at = 0; at < made; at += step) {
    QVG_RAW(BufferSubData)(target, at, std::min<GLsizeiptr>(step, made - at), Noise().data());
  }
}

// By a clear, with the state that it depends on out of the way.
void FillRenderBuffer(GLenum format) {
  const GLint name = RawInteger(GL_RENDERBUFFER_BINDING);
  const GLint drawn = RawInteger(GL_DRAW_FRAMEBUFFER_BINDING);
  const GLint depthMask = RawInteger(GL_DEPTH_WRITEMASK);
  const GLint stencilMask = RawInteger(GL_STENCIL_WRITEMASK);
  GLboolean mask[4] = {};
  QVG_RAW(GetBooleanv)(GL_COLOR_WRITEMASK, mask);
  constexpr GLenum kInTheWay[] = {GL_SCISSOR_TEST, GL_RASTERIZER_DISCARD};
  GLboolean enabled[std::size(kInTheWay)] = {};
  for (size_t i = 0; i < std::size(kInTheWay); ++i) {
    enabled[i] = QVG_RAW(IsEnabled)(kInTheWay[i]);
    QVG_RAW(Disable)(kInTheWay[i]);
  }
  GLuint frameBuffer = 0;
  QVG_RAW(GenFramebuffers)(1, &frameBuffer);
  QVG_RAW(BindFramebuffer)(GL_DRAW_FRAMEBUFFER, frameBuffer);
  QVG_RAW(ColorMask)(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  QVG_RAW(DepthMask)(GL_TRUE);
  QVG_RAW(StencilMask)(~0u);
  const bool depth = format == GL_DEPTH24_STENCIL8;
  QVG_RAW(FramebufferRenderbuffer)
  (GL_DRAW_FRAMEBUFFER, depth ? GL_DEPTH_STENCIL_ATTACHMENT : GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
   static_cast<GLuint>(name));
  const GLfloat color[4] = {0.3f, 0.9f, 0.1f, 0.4f};
  depth ? QVG_RAW(ClearBufferfi)(GL_DEPTH_STENCIL, 0, 0, 0x5a) : QVG_RAW(ClearBufferfv)(GL_COLOR, 0, color);
  QVG_RAW(BindFramebuffer)(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(drawn));
  QVG_RAW(DeleteFramebuffers)(1, &frameBuffer);
  QVG_RAW(ColorMask)(mask[0], mask[1], mask[2], mask[3]);
  QVG_RAW(DepthMask)(depthMask != 0);
  QVG_RAW(StencilMask)(static_cast<GLuint>(stencilMask));
  for (size_t i = 0; i < std::size(kInTheWay); ++i) {
    if (enabled[i] != GL_FALSE) QVG_RAW(Enable)(kInTheWay[i]);
  }
}

void FillIfMade(GLenum format, GLsizei width) {
  GLint made = 0;
  QVG_RAW(GetRenderbufferParameteriv)(GL_RENDERBUFFER, GL_RENDERBUFFER_WIDTH, &made);
  if (made == width && width > 0) FillRenderBuffer(format);
}

void GLAD_API_PTR RenderbufferStorage(GLenum target, GLenum format, GLsizei width, GLsizei height) {
  QVG_RAW(RenderbufferStorage)(target, format, width, height);
  FillIfMade(format, width);
}

void GLAD_API_PTR RenderbufferStorageMultisample(GLenum target, GLsizei samples, GLenum format, GLsizei width,
                                                 GLsizei height) {
  QVG_RAW(RenderbufferStorageMultisample)(target, samples, format, width, height);
  FillIfMade(format, width);
}

// ---- Information logs

constexpr char kRemark[] = "warning: the driver has something to say, and it is no error";

void Remark(GLenum name, GLint* value) {
  if (name == GL_INFO_LOG_LENGTH && *value <= 1) *value = static_cast<GLint>(sizeof kRemark);
}

void Remark(GLsizei room, GLsizei* length, GLchar* text) {
  if (room < 1 || text == nullptr || *text != '\0') return;
  const size_t count = std::min(sizeof kRemark - 1, static_cast<size_t>(room) - 1);
  std::memcpy(text, kRemark, count);
  text[count] = '\0';
  if (length != nullptr) *length = static_cast<GLsizei>(count);
}

void GLAD_API_PTR GetShaderiv(GLuint shader, GLenum name, GLint* value) {
  QVG_RAW(GetShaderiv)(shader, name, value);
  Remark(name, value);
}
void GLAD_API_PTR GetProgramiv(GLuint program, GLenum name, GLint* value) {
  QVG_RAW(GetProgramiv)(program, name, value);
  Remark(name, value);
}
void GLAD_API_PTR GetShaderInfoLog(GLuint shader, GLsizei room, GLsizei* length, GLchar* text) {
  QVG_RAW(GetShaderInfoLog)(shader, room, length, text);
  Remark(room, length, text);
}
void GLAD_API_PTR GetProgramInfoLog(GLuint program, GLsizei room, GLsizei* length, GLchar* text) {
  QVG_RAW(GetProgramInfoLog)(program, room, length, text);
  Remark(room, length, text);
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
  unsigned modes;
  void* function;
};

const std::vector<Replacement>& Replacements() {
  static const std::vector<Replacement> all = {
      {"glGetError", ~0u, Address(&GetError)},
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
      {"glRenderbufferStorage", kGarbage, Address(&RenderbufferStorage)},
      {"glRenderbufferStorageMultisample", kGarbage, Address(&RenderbufferStorageMultisample)},
      {"glGetShaderiv", kChattyLogs, Address(&GetShaderiv)},
      {"glGetProgramiv", kChattyLogs, Address(&GetProgramiv)},
      {"glGetShaderInfoLog", kChattyLogs, Address(&GetShaderInfoLog)},
      {"glGetProgramInfoLog", kChattyLogs, Address(&GetProgramInfoLog)},
  };
  return all;
}

void* Replace(const char* name, void* function) {
  for (const Replacement& replacement : Replacements()) {
    if ((replacement.modes & WantedModes()) != 0 && std::strcmp(name, replacement.name) == 0) {
      return function != nullptr ? replacement.function : nullptr;
    }
  }
  return function;
}

[[gnu::constructor]] void Install() {
  Hooks().withoutXcb = DriverIs(kNoXcb);
  Hooks().entryPoint = &Replace;
}

}  // namespace

bool DriverIs(DriverMode mode) {
  static const unsigned modes = WantedModes();
  return (modes & mode) != 0;
}

}  // namespace qvg::test
