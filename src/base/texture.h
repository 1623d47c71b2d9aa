#pragma once

#include <array>
#include <cstdint>

#include "base/content.h"
#include "base/gl.h"
#include "utils/sourceLocation.h"

namespace qvg {

struct ContextState;

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
  const char* purpose = "texture";  ///< For who looks at a trace.
  bool generateMipmap = false;      ///< Regenerate the mipmaps after each Load.
  int levels = 1;
};

using Swizzle = std::array<GLint, 4>;
inline constexpr Swizzle kSwizzleRGBA = {GL_RED, GL_GREEN, GL_BLUE, GL_ALPHA};

/// Whether colours are stored as they are or multiplied by their alpha.
enum class AlphaForm : uint8_t { kStraight, kPremultiplied };

/// How a stored picture is meant to be seen.
struct Presentation {
  bool flipped = false;   ///< Rows are stored bottom-up relative to the host's frames.
  uint32_t rotation = 0;  ///< Quarter turns with which it is drawn and presented, read modulo 4.
  AlphaForm alpha = AlphaForm::kStraight;
  /// The internal format that the texture was made for, when its storage had to become another one; else 0.
  GLenum madeFor = 0;
};

/// Pixels in host memory, 1-aligned, as GL takes them.
struct HostPixels {
  int width = 0;
  int height = 0;
  const void* pixels = nullptr;
  GLenum format = GL_RGBA;
  GLenum type = GL_UNSIGNED_BYTE;
  int rowLength = 0;  ///< Texels from one row to the next; 0: the width.
};

/// An immutable-storage GL texture with a picture inside: the content rectangle says where. Used on one thread at a
/// time, with a context of the library current. Owns its GL name.
class Texture {
 public:
  Texture() = default;
  ~Texture();
  Texture(const Texture&) = delete;
  Texture& operator=(const Texture&) = delete;

  bool Allocate(const TextureSetting& setting);
  /// Applies wrap modes and filters; nothing else of the setting.
  bool UpdateSetting(const TextureSetting& setting);
  /// Uploads an image into the centre of the storage.
  bool Load(const HostPixels& image, SourceLocation where = SourceLocation::current());
  /// The same without an error check: for a step of an operation that ends with one. At the origin the image lies in
  /// the first rows and columns of the storage, where the wrap mode keeps a linear filter from reading anything before
  /// it.
  enum class Place { kCentre, kOrigin };
  void SubmitLoad(const HostPixels& image, Place place);
  /// Sets how the channels are read when sampled. Costs nothing when it is set already; after a failure it is unknown,
  /// and the next call sets it in any case.
  bool RemapRGBA(const Swizzle& swizzle);
  /// Copies a rectangle of the source's storage into the centre of this one, channels as they are stored. A width or
  /// height below 1 means the source's content size. Storage that is too small for the source's content is replaced.
  /// The copy is complete when the call returns.
  bool CopyFrom(const Texture* source, int x, int y, int width, int height);
  /// The same without waiting, for work that follows on the same context.
  bool SubmitCopyFrom(const Texture* source, int x, int y, int width, int height);
  /// Exchanges storage, setting and channel order with another texture; content and presentation stay.
  void ExchangeStorage(Texture& other);

  const ContentRect& Content() const { return content_; }
  void SetContentSize(int width, int height);
  void SetContentOrigin(int x, int y);
  /// Puts a content rectangle of that size into the centre of the storage, rounded down.
  void CentreContent(int width, int height);

  GLuint Id() const { return storage_.id; }
  GLenum Target() const { return storage_.target; }
  const TextureSetting& Setting() const { return storage_.setting; }
  const Swizzle& CurrentSwizzle() const { return storage_.swizzle; }
  bool Allocated() const { return storage_.id != 0; }
  /// The internal format by which uploads know the texture.
  GLenum Format() const { return presentation.madeFor != 0 ? presentation.madeFor : storage_.setting.internalFormat; }
  /// Bytes of level 0.
  int64_t ByteSize() const { return storage_.bytes; }
  /// A number of the storage that is never used again.
  uint64_t Storage() const { return storage_.number; }
  /// A pass of the current context reads the storage, or draws to it.
  void NoteSampled(const ContextState& context) const;
  void NoteDrawn(const ContextState& context) const;
  /// Waits for the GPU where reading the storage back could otherwise return older contents (see
  /// Limits::ReadsTooEarly).
  void SettleForReading(ContextState& context) const;
  /// From now on some frame buffer is attached to the storage.
  void MarkAttached() const { storage_.attached = true; }
  /// From now on loads go through this pixel-unpack buffer, which is deleted with the texture. Nothing in the library
  /// sets one: uploads are as fast without.
  void SetUnpackBuffer(GLuint buffer) { unpackBuffer_ = buffer; }

  Presentation presentation;

 private:
  struct StorageState {
    GLuint id = 0;
    GLenum target = GL_TEXTURE_2D;
    TextureSetting setting;
    Swizzle swizzle = kSwizzleRGBA;
    int64_t bytes = 0;
    uint64_t number = 0;
    mutable bool attached = false;
    // What may be pending: sampled by that context at that point of its work, and drawn to since.
    mutable uint64_t sampledBy = 0;
    mutable uint64_t sampledAt = 0;
    mutable bool redrawn = false;
  };

  void _Free();
  bool _MapAndLoad(const HostPixels& image);
  /// Whether rows are read from the right places: when setting the alignment failed, the driver would read behind the
  /// image's end.
  bool _RowsAreRead(const HostPixels& image) const;

  StorageState storage_;
  ContentRect content_;
  GLuint unpackBuffer_ = 0;
};

}  // namespace qvg
