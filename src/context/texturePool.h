#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <thread>

#include "base/gl.h"
#include "context/idleList.h"

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
  void SetCapacity(int32_t capacity);

 private:
  PooledTexture* _TakeIdle(int width, int height, GLenum internalFormat);
  PooledTexture* _Create(int width, int height, GLenum internalFormat);
  void _StartTrimmer();
  void _Trim();
  void _EvictOldest();
  bool _WithinDriverLimit(uint32_t width, uint32_t height);

  QVGLContextManager& contexts_;
  std::mutex listMutex_;
  IdleList<PooledTexture> idle_;
  std::list<PooledTexture*> age_;  // The idle ones in the order in which they came back.
  int32_t capacity_;
  double totalMiB_ = 0;      // Of all counted textures, idle and handed out.
  uint64_t generation_ = 0;  // Textures of an earlier one are not counted.
  int maxSize_ = 0;          // The driver's limit; 0: not asked yet.

  std::mutex threadMutex_;
  std::condition_variable wakeUp_;
  std::thread trimmer_;
  void* pinned_ = nullptr;  // Keeps the library loaded while the thread runs.
  bool stop_ = false;
};

}  // namespace qvg
