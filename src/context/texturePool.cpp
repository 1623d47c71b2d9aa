#include "context/texturePool.h"

#include <chrono>
#include <exception>
#include <memory>

#include "base/contextObjects.h"
#include "base/glContext.h"
#include "base/glError.h"
#include "base/gpuFence.h"
#include "base/texture.h"
#include "utils/log.h"

namespace qvg {

struct PooledTexture : Texture {
  GpuFence fence;  // Behind the work that was pending when it came back.
  uint64_t generation = 0;
};

namespace {

constexpr double kBytesPerMiB = 1048576.0;
constexpr std::chrono::milliseconds kTrimInterval(10);

// No GL call may run while the process exits: the driver may be gone already.
class ExitGuard {
 public:
  /// Made after the driver was loaded, so that its destructor runs before the driver's exit handlers.
  static ExitGuard& Instance() {
    static ExitGuard guard;
    return guard;
  }

  ~ExitGuard() {
    std::lock_guard lock(mutex);
    exits = true;
  }

  std::mutex mutex;  // Held while GL is at work in the background.
  bool exits = false;
};

}  // namespace

TexturePool::TexturePool(QVGLContextManager& contexts, int32_t capacity) : contexts_(contexts), capacity_(capacity) {}

TexturePool::~TexturePool() {
  {
    std::lock_guard lock(threadMutex_);
    stop_ = true;
  }
  wakeUp_.notify_all();
  if (trimmer_.joinable()) trimmer_.join();
  UnpinLibrary(pinned_);
  Clear();
}

bool TexturePool::_WithinDriverLimit(uint32_t width, uint32_t height) {
  if (maxSize_ == 0) glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxSize_);
  const uint32_t limit = static_cast<uint32_t>(maxSize_);
  return width >= 1 && height >= 1 && width <= limit && height <= limit;
}

PooledTexture* TexturePool::_TakeIdle(int width, int height, GLenum internalFormat) {
  PooledTexture* texture = idle_.TakeFirst([&](const PooledTexture& candidate) {
    const TextureSetting& setting = candidate.Setting();
    return setting.internalFormat == internalFormat && setting.width >= width && setting.height >= height;
  });
  if (texture != nullptr) age_.remove(texture);
  return texture;
}

PooledTexture* TexturePool::_Create(int width, int height, GLenum internalFormat) {
  TextureSetting setting;
  setting.width = width;
  setting.height = height;
  setting.internalFormat = internalFormat;
  // Integer textures with linear filters count as incomplete and sample zero.
  if (IsIntegerFormat(internalFormat)) setting.minFilter = setting.magFilter = GL_NEAREST;
  auto texture = std::make_unique<PooledTexture>();
  if (!texture->Allocate(setting)) return nullptr;
  return texture.release();
}

Texture* TexturePool::Acquire(uint32_t width, uint32_t height, GLenum internalFormat) {
  if (CurrentContextId() == 0) return nullptr;
  PooledTexture* texture = nullptr;
  {
    std::lock_guard lock(listMutex_);
    if (!_WithinDriverLimit(width, height)) return nullptr;
    texture = _TakeIdle(static_cast<int>(width + width % 2), static_cast<int>(height + height % 2), internalFormat);
  }
  if (texture == nullptr) {
    texture = _Create(static_cast<int>(width + width % 2), static_cast<int>(height + height % 2), internalFormat);
    if (texture == nullptr) return nullptr;
    std::lock_guard lock(listMutex_);
    texture->generation = generation_;
    totalMiB_ += static_cast<double>(texture->byteSize) / kBytesPerMiB;
  }
  texture->fence.Wait();
  texture->CentreContent(static_cast<int>(width), static_cast<int>(height));
  texture->rotation = 0;
  texture->flipped = false;
  texture->RemapRGBA(kSwizzleRGBA);
  Texture* result = texture;
  try {
    _StartTrimmer();
  } catch (...) {
    Release(result);
    throw;
  }
  return result;
}

void TexturePool::Release(Texture*& texture) {
  PooledTexture* pooled = static_cast<PooledTexture*>(texture);
  texture = nullptr;
  if (pooled == nullptr) return;
  pooled->fence = GpuFence::Insert();
  std::lock_guard lock(listMutex_);
  idle_.Insert(pooled, int64_t{pooled->Setting().width} * pooled->Setting().height);
  age_.push_back(pooled);
}

bool TexturePool::Clear() {
  std::list<PooledTexture*> textures;
  {
    std::lock_guard lock(listMutex_);
    textures = idle_.TakeAll();
    age_.clear();
    totalMiB_ = 0;
    ++generation_;
  }
  for (PooledTexture* texture : textures) delete texture;
  return true;
}

void TexturePool::SetCapacity(int32_t capacity) {
  std::lock_guard lock(listMutex_);
  capacity_ = capacity;
}

void TexturePool::_StartTrimmer() {
  std::lock_guard lock(threadMutex_);
  if (trimmer_.joinable() || stop_) return;
  ExitGuard::Instance();
  // A host may unload the library without releasing it: the code of a running thread has to stay.
  pinned_ = PinLibrary();
  trimmer_ = std::thread([this] {
    try {
      _Trim();
    } catch (const std::exception& error) {
      LogLocated(kLogError, error.what());
    }
  });
}

void TexturePool::_Trim() {
  void* context = contexts_.CreateSharedContext(nullptr, nullptr, true);
  const bool current = context != nullptr && contexts_.MakeCurrentContext(context, nullptr);
  std::unique_lock lock(threadMutex_);
  while (!stop_) {
    lock.unlock();
    {
      std::lock_guard exitLock(ExitGuard::Instance().mutex);
      if (ExitGuard::Instance().exits) return;
      if (current) _EvictOldest();
    }
    lock.lock();
    wakeUp_.wait_for(lock, kTrimInterval, [this] { return stop_; });
  }
  lock.unlock();
  if (context != nullptr) contexts_.ReleaseSharedContext(context);
}

void TexturePool::_EvictOldest() {
  std::unique_ptr<PooledTexture> oldest;
  std::lock_guard lock(listMutex_);
  if (capacity_ < 1 || totalMiB_ <= capacity_ || age_.empty()) return;
  oldest.reset(idle_.Take(age_.front()));
  age_.pop_front();
  if (oldest->generation == generation_) totalMiB_ -= static_cast<double>(oldest->byteSize) / kBytesPerMiB;
}

}  // namespace qvg
