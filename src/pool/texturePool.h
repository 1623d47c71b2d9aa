#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "base/gl.h"
#include "pool/idleList.h"

namespace qvg {

class QVGLContextManager;
class Texture;
struct PooledTexture;

/// Recycles textures. A texture that is handed out may have larger storage than asked for; its content is centred in
/// it. Above the budget a thread of the pool's own destroys idle textures, the one released first, every 10 ms. Any
/// thread, with a context of the share group current; destroyed with one current, after all textures came back.
class TexturePool {
 public:
  /// @param capacity budget in MiB of all textures, idle and handed out.
  TexturePool(QVGLContextManager& contexts, int32_t capacity);
  ~TexturePool();
  TexturePool(const TexturePool&) = delete;
  TexturePool& operator=(const TexturePool&) = delete;

  /// Null for a size of 0 or beyond the driver's limit, without a current context, or when the driver refuses.
  Texture* Acquire(uint32_t width, uint32_t height, GLenum internalFormat);
  /// Takes a texture of this pool back and nulls the pointer.
  void Release(Texture*& texture);
  /// Destroys every idle texture. Textures that are out are not counted from then on.
  bool Clear();
  void Preallocate(uint32_t width, uint32_t height, int32_t count);
  /// @param capacity budget in MiB; below 1: none.
  void SetCapacity(int32_t capacity);
  /// The host's wish for a budget: some of it is kept in reserve, and there is a least one. Below 1 changes nothing.
  void SetHostBudget(int32_t mebibytes);

 private:
  PooledTexture* _TakeIdle(int width, int height, GLenum internalFormat);
  PooledTexture* _Create(int width, int height, GLenum internalFormat);
  /// Starts the trimmer with the first texture.
  void _StartTrimmer();
  void _Trim();
  void _EvictOldest();

  QVGLContextManager& contexts_;
  std::mutex listMutex_;
  IdleList<PooledTexture> idle_;
  uint64_t releases_ = 0;
  int32_t capacity_;
  double totalMiB_ = 0;      // Of all counted textures, idle and handed out.
  uint64_t generation_ = 0;  // Textures of an earlier one are not counted.

  std::mutex threadMutex_;
  std::condition_variable wakeUp_;
  std::atomic<bool> trimmerStarted_ = false;
  std::thread trimmer_;
  void* pinned_ = nullptr;  // Keeps the library loaded while the thread runs.
  bool stop_ = false;
};

}  // namespace qvg
