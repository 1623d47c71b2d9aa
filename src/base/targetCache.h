#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

namespace qvg {

class Texture;

/// The frame buffers through which one context draws to textures and reads them: created once for each combination; the
/// least recently used one is dropped when there are too many. Used with the context current.
class TargetCache {
 public:
  static constexpr size_t kTextures = 4;
  static constexpr size_t kCapacity = 64;

  TargetCache() = default;
  TargetCache(const TargetCache&) = delete;
  TargetCache& operator=(const TargetCache&) = delete;

  /// The name of a frame buffer with the textures as colour attachments 0, 1, ...; up to kTextures of them. 0 when it
  /// is not complete, which is logged.
  uint32_t FrameBufferOf(std::span<const Texture* const> textures);
  uint32_t FrameBufferOf(const Texture& texture);
  /// Deletes the frame buffers with that storage.
  void Forget(uint64_t storage);
  /// Deletes all of them.
  void Clear();
  /// Whether there is none. Any thread.
  bool Empty() const { return count_ == 0; }

 private:
  struct Entry {
    std::array<uint64_t, kTextures> storages = {};
    uint32_t name = 0;
    uint64_t used = 0;  // when, counted in look-ups
  };

  std::atomic<size_t> count_ = 0;
  uint64_t lookUps_ = 0;
  std::vector<Entry> entries_;
};

}  // namespace qvg
