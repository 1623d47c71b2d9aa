#pragma once

#include <array>
#include <cstdint>
#include <source_location>

#include "base/gl.h"

namespace qvg {

/// How a texture's storage is made and sampled.
struct TextureSetting {
  int width = 0;  ///< Storage size in texels.
  int height = 0;
  int depth = 0;  ///< Layers; above 0 makes a 3-D texture.
  GLenum internalFormat = GL_RGBA8;
  GLenum minFilter = GL_LINEAR;
  GLenum magFilter = GL_LINEAR;
  GLenum wrapS = GL_CLAMP_TO_EDGE;
  GLenum wrapT = GL_CLAMP_TO_EDGE;
  GLenum wrapR = GL_CLAMP_TO_EDGE;
  bool generateMipmap = false;  ///< Regenerate the mipmaps after each Load.
  int levels = 1;
};

using Swizzle = std::array<GLint, 4>;
inline constexpr Swizzle kSwizzleRGBA = {GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA};

/// Bytes that one texel of a sized internal format takes; formats not known count 4.
int BytesPerTexel(GLenum internalFormat);

/// Whether a format is sampled through an integer sampler.
bool IsIntegerFormat(GLenum internalFormat);

/// An immutable-storage GL texture with a picture inside: the content rectangle says where. Used on one thread at a
/// time, with a context of the share group current. Owns its GL name.
class Texture {
 public:
  Texture() = default;
  ~Texture();
  Texture(const Texture&) = delete;
  Texture& operator=(const Texture&) = delete;

  bool Allocate(const TextureSetting& setting);
  /// Applies wrap modes and filters; nothing else of the setting.
  void UpdateSetting(const TextureSetting& setting);
  /// Uploads an image into the centre of the storage.
  /// @param rowLength texels from one row of pixels to the next; 0: imageWidth.
  bool Load(int imageWidth, int imageHeight, const void* pixels, GLenum format, GLenum type, int rowLength = 0,
            std::source_location where = std::source_location::current());
  /// The same into the first rows and columns of the storage, where the wrap mode keeps a linear filter from reading
  /// anything before the image.
  bool LoadAtOrigin(int imageWidth, int imageHeight, const void* pixels, GLenum format, GLenum type, int rowLength = 0,
                    std::source_location where = std::source_location::current());
  /// Sets how the channels are read when sampled. Costs nothing when it is so already.
  bool RemapRGBA(const Swizzle& swizzle);
  /// Copies a rectangle of the source's storage into the centre of this one, channels as they are stored. A width or
  /// height below 1 means the source's content size. Storage too small for the source's content is made anew. The copy
  /// is complete when the call returns.
  bool CopyFrom(const Texture* source, int x, int y, int width, int height);
  /// The same without waiting: for what follows on the same context.
  bool SubmitCopyFrom(const Texture* source, int x, int y, int width, int height);

  /// Lays a content rectangle of the size in the centre of the storage, rounding down.
  void CentreContent(int width, int height);

  const TextureSetting& Setting() const { return setting_; }
  const Swizzle& CurrentSwizzle() const { return swizzle_; }
  bool Allocated() const { return allocated_; }

  GLuint id = 0;
  GLenum target = GL_TEXTURE_2D;
  GLuint pbo = 0;         ///< Optional pixel-unpack buffer that Load goes through; deleted with the texture.
  bool flipped = false;   ///< Rows are stored bottom-up relative to the host's frames.
  uint32_t rotation = 0;  ///< Quarter turns with which the texture is drawn and presented, read modulo 4.
  int loadedWidth = 0;    ///< Size of the content.
  int loadedHeight = 0;
  int offsetX = 0;  ///< Where the content starts, in texels from column and row 0 of the storage.
  int offsetY = 0;
  int64_t byteSize = 0;  ///< Bytes of level 0 of the storage.

 private:
  bool _Upload(int imageWidth, int imageHeight, const void* pixels, GLenum format, GLenum type, int rowLength,
               const std::source_location& where);
  bool _MapAndLoad(int imageWidth, int imageHeight, const void* pixels, GLenum format, GLenum type);

  TextureSetting setting_;
  bool allocated_ = false;
  Swizzle swizzle_ = kSwizzleRGBA;
};

}  // namespace qvg
