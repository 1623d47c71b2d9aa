#pragma once

#include <cstdint>
#include <functional>
#include <mutex>

#include "base/gl.h"
#include "pool/idleList.h"

namespace qvg {

class Texture;
struct PooledTexture;

/// Recycles textures. A texture that is handed out may have larger storage than asked for; its content is centred in
/// it. Above the budget idle textures are destroyed, oldest first, one at each Trim. Any thread, with a context of the
/// share group current; destroyed with one current, after all textures came back.
class TexturePool {
 public:
  /// @param capacity budget in MiB of all textures, idle and handed out.
  /// @param overBudget called, on any thread and under a lock, when there may be something for Trim; must not throw.
  TexturePool(int32_t capacity, std::function<void()> overBudget);
  ~TexturePool();
  TexturePool(const TexturePool&) = delete;
  TexturePool& operator=(const TexturePool&) = delete;

  /// Null for a size of 0 or beyond the driver's limit, without a current context, or when the driver refuses.
  Texture* Acquire(uint32_t width, uint32_t height, GLenum internalFormat);
  /// Takes a texture of this pool back and nulls the pointer.
  void Release(Texture*& texture);
  /// Destroys the oldest idle texture, if the budget is exceeded. Returns whether it still is, and there is another
  /// one.
  bool Trim();
  /// Destroys every idle texture. Textures that are lent are no longer counted from then on.
  bool Clear();
  void Preallocate(uint32_t width, uint32_t height, int32_t count);
  /// @param capacity budget in MiB; below 1: none.
  void SetCapacity(int32_t capacity);
  /// The budget that the host asks for: a part of it is kept in reserve, and there is a minimum. Below 1 changes
  /// nothing.
  void SetHostBudget(int32_t mebibytes);

 private:
  PooledTexture* _TakeIdle(int width, int height, GLenum internalFormat);
  PooledTexture* _Create(int width, int height, GLenum internalFormat);
  void _Destroy(const PooledTexture* texture);
  bool _IsOverBudget() const { return capacity_ >= 1 && totalMiB_ > capacity_; }

  const std::function<void()> overBudget_;
  std::mutex mutex_;
  IdleList<PooledTexture> idle_;
  uint64_t releases_ = 0;
  int32_t capacity_;
  double totalMiB_ = 0;      // Of all counted textures, idle and handed out.
  uint64_t generation_ = 0;  // Textures of an earlier one are not counted.
};

}  // namespace qvg
