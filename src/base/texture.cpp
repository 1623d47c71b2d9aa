#include "base/texture.h"

#include <atomic>
#include <cstring>
#include <utility>

#include "base/contextState.h"
#include "base/debugLabels.h"
#include "base/glError.h"
#include "base/limits.h"
#include "base/texelFormat.h"

namespace qvg {

namespace {

std::atomic<uint64_t> lastStorage = 0;

constexpr Swizzle kSwizzleUnknown = {};

}  // namespace

Texture::~Texture() {
  if (!Allocated()) return;
  if (unpackBuffer_ != 0) DeleteSharedObject({SharedObject::kBuffer, unpackBuffer_});
  _Free();
}

void Texture::_Free() {
  if (storage_.attached) ForgetStorage(storage_.number);
  DeleteSharedObject({SharedObject::kTexture, storage_.id});
  storage_ = {};
}

bool Texture::Allocate(const TextureSetting& setting) {
  StorageState made;
  made.setting = setting;
  made.target = setting.depth > 0 ? GL_TEXTURE_3D : GL_TEXTURE_2D;
  made.number = ++lastStorage;
  made.bytes = int64_t{TexelFormatOf(setting.internalFormat).bytes} * setting.width * setting.height;
  glGenTextures(1, &made.id);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(made.target, made.id);
  if (setting.depth > 0) {
    glTexStorage3D(made.target, setting.levels, setting.internalFormat, setting.width, setting.height, setting.depth);
    made.bytes *= setting.depth;
  } else {
    glTexStorage2D(made.target, setting.levels, setting.internalFormat, setting.width, setting.height);
  }
  glBindTexture(made.target, 0);
  if (!CheckGLError() || made.id == 0) {
    glDeleteTextures(1, &made.id);
    return false;
  }
  storage_ = made;
  content_ = {setting.width, setting.height, 0, 0, setting.width, setting.height};
  LabelObject(GL_TEXTURE, made.id, "{} {} x {}, {}", setting.purpose, setting.width, setting.height,
              debug_labels::FormatName(setting.internalFormat));
  if (UpdateSetting(setting)) return true;
  _Free();
  return false;
}

bool Texture::UpdateSetting(const TextureSetting& setting) {
  const GLenum target = storage_.target;
  glBindTexture(target, storage_.id);
  glTexParameteri(target, GL_TEXTURE_WRAP_S, static_cast<GLint>(setting.wrapS));
  glTexParameteri(target, GL_TEXTURE_WRAP_T, static_cast<GLint>(setting.wrapT));
  if (setting.depth > 0) glTexParameteri(target, GL_TEXTURE_WRAP_R, static_cast<GLint>(setting.wrapR));
  glTexParameteri(target, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(setting.magFilter));
  glTexParameteri(target, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(setting.minFilter));
  glBindTexture(target, 0);
  if (!CheckGLError()) return false;
  TextureSetting& current = storage_.setting;
  current.wrapS = setting.wrapS;
  current.wrapT = setting.wrapT;
  current.wrapR = setting.wrapR;
  current.magFilter = setting.magFilter;
  current.minFilter = setting.minFilter;
  return true;
}

void Texture::SetContentSize(int width, int height) {
  content_.width = width;
  content_.height = height;
}

void Texture::SetContentOrigin(int x, int y) {
  content_.x = x;
  content_.y = y;
}

void Texture::CentreContent(int width, int height) {
  content_ = ContentRect::Centred(storage_.setting.width, storage_.setting.height, width, height);
}

bool Texture::_MapAndLoad(const HostPixels& image) {
  glBindBuffer(GL_PIXEL_UNPACK_BUFFER, unpackBuffer_);
  void* const mapped =
      glMapBufferRange(GL_PIXEL_UNPACK_BUFFER, 0, storage_.bytes, GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_BUFFER_BIT);
  if (mapped != nullptr) {
    std::memcpy(mapped, image.pixels,
                size_t{1} * TexelFormatOf(storage_.setting.internalFormat).bytes * image.height * image.width);
    glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);
    glTexSubImage2D(storage_.target, 0, content_.x, content_.y, image.width, image.height, image.format, image.type,
                    nullptr);
  }
  glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
  return mapped != nullptr;
}

bool Texture::Load(const HostPixels& image, SourceLocation where) {
  const ContentRect before = content_;
  SubmitLoad(image, Place::kCentre);
  if (CheckGLError(where)) return true;
  content_ = before;
  return false;
}

bool Texture::_RowsAreRead(const HostPixels& image) const {
  constexpr int kLargestAlignment = 8;
  const int64_t texels = image.rowLength != 0 ? image.rowLength : image.width;
  if (texels * TexelFormatOf(storage_.setting.internalFormat).bytes % kLargestAlignment == 0) return true;
  GLint alignment = 0;
  glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
  return alignment == 1;
}

void Texture::SubmitLoad(const HostPixels& image, Place place) {
  content_ = place == Place::kCentre
                 ? ContentRect::Centred(storage_.setting.width, storage_.setting.height, image.width, image.height)
                 : ContentRect{storage_.setting.width, storage_.setting.height, 0, 0, image.width, image.height};
  // The path through the buffer copies tightly packed rows.
  const bool packed = image.rowLength == 0 || image.rowLength == image.width;
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(storage_.target, storage_.id);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, packed ? 0 : image.rowLength);
  glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
  glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
  glPixelStorei(GL_UNPACK_SWAP_BYTES, GL_FALSE);
  if (unpackBuffer_ == 0 || !packed || !_MapAndLoad(image)) {
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    if (_RowsAreRead(image)) {
      glTexSubImage2D(storage_.target, 0, content_.x, content_.y, image.width, image.height, image.format, image.type,
                      image.pixels);
    }
  }
  if (!packed) glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  if (storage_.setting.generateMipmap) glGenerateMipmap(storage_.target);
  glBindTexture(storage_.target, 0);
}

bool Texture::RemapRGBA(const Swizzle& swizzle) {
  // Without a context GL would ignore the call, and the next one would be taken for done.
  if (CurrentContext() == nullptr) return false;
  if (swizzle == storage_.swizzle) return true;
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(storage_.target, storage_.id);
  glTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_RGBA, swizzle.data());
  glBindTexture(storage_.target, 0);
  storage_.swizzle = CheckGLError() ? swizzle : kSwizzleUnknown;
  return storage_.swizzle == swizzle;
}

bool Texture::CopyFrom(const Texture* source, int x, int y, int width, int height) {
  if (!SubmitCopyFrom(source, x, y, width, height)) return false;
  glFinish();
  return CheckGLError();
}

bool Texture::SubmitCopyFrom(const Texture* source, int x, int y, int width, int height) {
  ContextState* const context = CurrentContext();
  if (source == nullptr || context == nullptr) return false;
  const ContentRect& from = source->content_;
  const int64_t area = int64_t{storage_.setting.width} * storage_.setting.height;
  if (Allocated() && area < int64_t{from.width} * from.height) _Free();
  if (!Allocated() && !Allocate(source->storage_.setting)) return false;
  const GLuint reader = context->targets.FrameBufferOf(*source);
  if (reader == 0) return false;
  source->SettleForReading(*context);
  const ContentRect to = ContentRect::Centred(storage_.setting.width, storage_.setting.height,
                                              width < 1 ? from.width : width, height < 1 ? from.height : height);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, reader);
  glReadBuffer(GL_COLOR_ATTACHMENT0);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, storage_.id);
  glCopyTexSubImage2D(GL_TEXTURE_2D, 0, to.x, to.y, x, y, to.width, to.height);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glBindTexture(GL_TEXTURE_2D, 0);
  if (!CheckGLError()) return false;
  content_ = to;
  return true;
}

void Texture::NoteSampled(const ContextState& context) const {
  if (storage_.sampledBy == context.id && storage_.sampledAt == context.finished) return;
  storage_.sampledBy = context.id;
  storage_.sampledAt = context.finished;
  storage_.redrawn = false;
}

void Texture::NoteDrawn(const ContextState& context) const {
  if (storage_.sampledBy == context.id && storage_.sampledAt == context.finished) storage_.redrawn = true;
}

void Texture::SettleForReading(ContextState& context) const {
  const bool pending = storage_.sampledBy == context.id && storage_.sampledAt == context.finished && storage_.redrawn;
  if (!pending || !Limits::ReadsTooEarly()) return;
  glFinish();
  ++context.finished;
}

void Texture::ExchangeStorage(Texture& other) { std::swap(storage_, other.storage_); }

}  // namespace qvg
