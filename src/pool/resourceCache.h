#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

class ScratchBufferPool;
class Texture;
class TexturePool;

/// Turns file paths into shared, counted resources; images are decoded by the host's callbacks. Any thread; image
/// textures need a context of the share group current. The callbacks run under the cache's lock.
class ResourceCache {
 public:
  enum Kind : int32_t {
    kImageTexture = 1,   ///< A pooled texture with the decoded image, rows top-down, so flipped.
    kDecodedImage = 2,   ///< The host's record, kept until the entry dies.
    kFileInScratch = 3,  ///< The file's bytes in a block of the scratch pool.
    kFileBytes = 4       ///< The file's bytes in a string.
  };

  struct Entry {
    int32_t kind = 0;
    std::string path;
    std::atomic<int32_t> count = 0;
    Texture* texture = nullptr;
    uint8_t* block = nullptr;
    size_t blockSize = 0;
    QVGHostImage* image = nullptr;
    std::string bytes;
  };

  /// @param callbacks read at each use, since the host may set others.
  struct Callbacks {
    std::atomic<QVGDecodeImage> decodeImage = nullptr;
    std::atomic<QVGFreeImage> freeImage = nullptr;
  };

  ResourceCache(const Callbacks& callbacks, TexturePool& textures, ScratchBufferPool& scratchBuffers)
      : callbacks_(callbacks), textures_(textures), scratchBuffers_(scratchBuffers) {}
  /// Destroys every entry, whatever its count.
  ~ResourceCache() = default;
  ResourceCache(const ResourceCache&) = delete;
  ResourceCache& operator=(const ResourceCache&) = delete;

  /// The entry of the path, with one more reference. An existing one is returned whatever its kind. Null on any
  /// failure, which leaves nothing behind.
  Entry* Acquire(const std::string& path, int32_t kind);
  /// @param erase destroy the entry when that was the last reference; otherwise it stays for later.
  void Release(Entry* entry, bool erase);

 private:
  /// Gives back what the entry holds; so does a failure half-way through loading.
  struct EntryDeleter {
    ResourceCache* cache;
    void operator()(Entry* entry) const;
  };
  using EntryPtr = std::unique_ptr<Entry, EntryDeleter>;

  bool _LoadImage(Entry& entry);
  bool _LoadFile(Entry& entry);

  const Callbacks& callbacks_;
  TexturePool& textures_;
  ScratchBufferPool& scratchBuffers_;
  std::mutex mutex_;
  std::map<std::string, EntryPtr> entries_;
};

}  // namespace qvg
