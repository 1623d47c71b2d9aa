#include "base/texture.h"

#include <algorithm>
#include <cstring>

#include "base/contextObjects.h"
#include "base/glError.h"

namespace qvg {

namespace {

struct FormatBytes {
  GLenum internalFormat;
  int bytes;
};

constexpr FormatBytes kFormatBytes[] = {
    {GL_R8, 1},      {GL_R8I, 1},       {GL_R8UI, 1},     {GL_R8_SNORM, 1},    {GL_R3_G3_B2, 1}, {GL_RGBA2, 1},
    {GL_R16, 2},     {GL_R16_SNORM, 2}, {GL_RG8, 2},      {GL_RG8_SNORM, 2},   {GL_R16F, 2},     {GL_R16I, 2},
    {GL_R16UI, 2},   {GL_RG8I, 2},      {GL_RG8UI, 2},    {GL_RGB4, 2},        {GL_RGB5, 2},     {GL_RGBA4, 2},
    {GL_RGB5_A1, 2}, {GL_RGB8, 3},      {GL_SRGB8, 3},    {GL_RGB8I, 3},       {GL_RGB8UI, 3},   {GL_RGB8_SNORM, 3},
    {GL_RGB16F, 6},  {GL_RGB16I, 6},    {GL_RGB16UI, 6},  {GL_RGB16_SNORM, 6}, {GL_RGBA12, 6},   {GL_RGBA16, 8},
    {GL_RGBA16F, 8}, {GL_RGBA16I, 8},   {GL_RGBA16UI, 8}, {GL_RG32F, 8},       {GL_RG32I, 8},    {GL_RG32UI, 8},
    {GL_RGB32F, 12}, {GL_RGB32I, 12},   {GL_RGB32UI, 12}, {GL_RGBA32F, 16},    {GL_RGBA32I, 16}, {GL_RGBA32UI, 16}};

constexpr GLenum kIntegerFormats[] = {GL_R8I,    GL_R8UI,    GL_R16I,    GL_R16UI,    GL_R32I,    GL_R32UI,
                                      GL_RG8I,   GL_RG8UI,   GL_RG16I,   GL_RG16UI,   GL_RG32I,   GL_RG32UI,
                                      GL_RGB8I,  GL_RGB8UI,  GL_RGB16I,  GL_RGB16UI,  GL_RGB32I,  GL_RGB32UI,
                                      GL_RGBA8I, GL_RGBA8UI, GL_RGBA16I, GL_RGBA16UI, GL_RGBA32I, GL_RGBA32UI};

}  // namespace

int BytesPerTexel(GLenum internalFormat) {
  for (const FormatBytes& entry : kFormatBytes) {
    if (entry.internalFormat == internalFormat) return entry.bytes;
  }
  return 4;
}

bool IsIntegerFormat(GLenum internalFormat) {
  return std::find(std::begin(kIntegerFormats), std::end(kIntegerFormats), internalFormat) != std::end(kIntegerFormats);
}

Texture::~Texture() {
  if (!allocated_ || id == 0) return;
  if (pbo != 0) {
    glDeleteBuffers(1, &pbo);
    pbo = 0;
  }
  glDeleteTextures(1, &id);
  id = 0;
  CheckGLError();
}

bool Texture::Allocate(const TextureSetting& setting) {
  setting_ = setting;
  target = setting.depth > 0 ? GL_TEXTURE_3D : GL_TEXTURE_2D;
  glGenTextures(1, &id);
  glActiveTexture(GL_TEXTURE0);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glBindTexture(target, id);
  byteSize = int64_t{BytesPerTexel(setting.internalFormat)} * setting.width * setting.height;
  if (setting.depth > 0) {
    glTexStorage3D(target, setting.levels, setting.internalFormat, setting.width, setting.height, setting.depth);
    byteSize *= setting.depth;
  } else {
    glTexStorage2D(target, setting.levels, setting.internalFormat, setting.width, setting.height);
  }
  glBindTexture(target, 0);
  if (!CheckGLError()) {
    glDeleteTextures(1, &id);
    id = 0;
    return false;
  }
  allocated_ = true;
  swizzle_ = kSwizzleRGBA;
  loadedWidth = setting.width;
  loadedHeight = setting.height;
  UpdateSetting(setting);
  return CheckGLError();
}

void Texture::UpdateSetting(const TextureSetting& setting) {
  glBindTexture(target, id);
  glTexParameteri(target, GL_TEXTURE_WRAP_S, static_cast<GLint>(setting.wrapS));
  glTexParameteri(target, GL_TEXTURE_WRAP_T, static_cast<GLint>(setting.wrapT));
  if (setting.depth > 0) glTexParameteri(target, GL_TEXTURE_WRAP_R, static_cast<GLint>(setting.wrapR));
  glTexParameteri(target, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(setting.magFilter));
  glTexParameteri(target, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(setting.minFilter));
  glBindTexture(target, 0);
  if (!CheckGLError()) return;
  setting_.wrapS = setting.wrapS;
  setting_.wrapT = setting.wrapT;
  setting_.wrapR = setting.wrapR;
  setting_.magFilter = setting.magFilter;
  setting_.minFilter = setting.minFilter;
}

void Texture::CentreContent(int width, int height) {
  loadedWidth = width;
  loadedHeight = height;
  offsetX = (setting_.width - width) / 2;
  offsetY = (setting_.height - height) / 2;
}

bool Texture::_MapAndLoad(int imageWidth, int imageHeight, const void* pixels, GLenum format, GLenum type) {
  glBindBuffer(GL_PIXEL_UNPACK_BUFFER, pbo);
  void* mapped = glMapBufferRange(GL_PIXEL_UNPACK_BUFFER, 0, byteSize, GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_BUFFER_BIT);
  const bool ok = mapped != nullptr;
  if (ok) {
    std::memcpy(mapped, pixels, size_t{1} * BytesPerTexel(setting_.internalFormat) * imageHeight * imageWidth);
    glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);
    glTexSubImage2D(target, 0, offsetX, offsetY, imageWidth, imageHeight, format, type, nullptr);
  }
  glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
  return ok;
}

bool Texture::Load(int imageWidth, int imageHeight, const void* pixels, GLenum format, GLenum type, int rowLength,
                   std::source_location where) {
  offsetX = (setting_.width - imageWidth) / 2;
  offsetY = (setting_.height - imageHeight) / 2;
  return _Upload(imageWidth, imageHeight, pixels, format, type, rowLength, where);
}

bool Texture::LoadAtOrigin(int imageWidth, int imageHeight, const void* pixels, GLenum format, GLenum type,
                           int rowLength, std::source_location where) {
  offsetX = 0;
  offsetY = 0;
  return _Upload(imageWidth, imageHeight, pixels, format, type, rowLength, where);
}

bool Texture::_Upload(int imageWidth, int imageHeight, const void* pixels, GLenum format, GLenum type, int rowLength,
                      const std::source_location& where) {
  glBindTexture(target, id);
  // State of the context, and this one may never have allocated a texture.
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  // The buffer path copies tightly packed rows.
  const bool packed = rowLength == 0 || rowLength == imageWidth;
  if (pbo == 0 || !packed || !_MapAndLoad(imageWidth, imageHeight, pixels, format, type)) {
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    if (!packed) glPixelStorei(GL_UNPACK_ROW_LENGTH, rowLength);
    glTexSubImage2D(target, 0, offsetX, offsetY, imageWidth, imageHeight, format, type, pixels);
    if (!packed) glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  }
  if (setting_.generateMipmap) glGenerateMipmap(target);
  glBindTexture(target, 0);
  if (!CheckGLError(where)) return false;
  loadedWidth = imageWidth;
  loadedHeight = imageHeight;
  return true;
}

bool Texture::RemapRGBA(const Swizzle& swizzle) {
  // Without a context GL would drop the call, and the next one be taken for done.
  if (CurrentContextId() == 0) return false;
  if (swizzle != swizzle_) {
    glBindTexture(target, id);
    glTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_RGBA, swizzle.data());
    glBindTexture(target, 0);
  }
  if (!CheckGLError()) return false;
  swizzle_ = swizzle;
  return true;
}

bool Texture::CopyFrom(const Texture* source, int x, int y, int width, int height) {
  if (!SubmitCopyFrom(source, x, y, width, height)) return false;
  glFinish();
  return CheckGLError();
}

bool Texture::SubmitCopyFrom(const Texture* source, int x, int y, int width, int height) {
  if (source == nullptr) return false;
  const int64_t area = int64_t{setting_.width} * setting_.height;
  if (allocated_ && area < int64_t{source->loadedWidth} * source->loadedHeight) {
    glDeleteTextures(1, &id);
    id = 0;
    allocated_ = false;
  }
  if (!allocated_ && !Allocate(source->setting_)) return false;

  GLuint reader = 0;
  glGenFramebuffers(1, &reader);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, reader);
  glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, source->id, 0);
  bool ok = CheckGLError();
  const int copyWidth = width < 1 ? source->loadedWidth : width;
  const int copyHeight = height < 1 ? source->loadedHeight : height;
  if (ok) {
    glBindTexture(GL_TEXTURE_2D, id);
    offsetX = (setting_.width - copyWidth) / 2;
    offsetY = (setting_.height - copyHeight) / 2;
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, offsetX, offsetY, x, y, copyWidth, copyHeight);
    ok = CheckGLError();
  }
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glBindTexture(GL_TEXTURE_2D, 0);
  glDeleteFramebuffers(1, &reader);
  if (!ok) return false;
  loadedWidth = copyWidth;
  loadedHeight = copyHeight;
  return true;
}

}  // namespace qvg
