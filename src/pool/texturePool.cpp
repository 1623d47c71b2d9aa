#include "pool/texturePool.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <utility>

#include "base/contextState.h"
#include "base/glContext.h"
#include "base/glError.h"
#include "base/handOver.h"
#include "base/limits.h"
#include "base/texelFormat.h"
#include "base/texture.h"
#include "utils/log.h"

namespace qvg {

struct PooledTexture : Texture {
  HandOver handOver;
  double countedMiB = 0;  // of the pool's sum
  uint64_t generation = 0;
  uint64_t released = 0;  // when, counted in releases
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

PooledTexture* TexturePool::_TakeIdle(int width, int height, GLenum internalFormat) {
  return idle_.TakeFirst([&](const PooledTexture& candidate) {
    const TextureSetting& setting = candidate.Setting();
    return setting.internalFormat == internalFormat && setting.width >= width && setting.height >= height &&
           candidate.handOver.Ready();
  });
}

PooledTexture* TexturePool::_Create(int width, int height, GLenum internalFormat) {
  TextureSetting setting;
  setting.width = width;
  setting.height = height;
  setting.internalFormat = internalFormat;
  // Integer textures with linear filters count as incomplete and sample zero.
  if (TexelFormatOf(internalFormat).integer) setting.minFilter = setting.magFilter = GL_NEAREST;
  auto texture = std::make_unique<PooledTexture>();
  if (!texture->Allocate(setting)) return nullptr;
  return texture.release();
}

Texture* TexturePool::Acquire(uint32_t width, uint32_t height, GLenum internalFormat) {
  if (CurrentContext() == nullptr) return nullptr;
  const uint32_t limit = static_cast<uint32_t>(Limits::MaxTextureSize());
  if (width < 1 || height < 1 || width > limit || height > limit) return nullptr;
  const int evenWidth = static_cast<int>(width + width % 2);
  const int evenHeight = static_cast<int>(height + height % 2);
  PooledTexture* texture = nullptr;
  {
    std::lock_guard lock(listMutex_);
    texture = _TakeIdle(evenWidth, evenHeight, internalFormat);
  }
  if (texture == nullptr) {
    texture = _Create(evenWidth, evenHeight, internalFormat);
    if (texture == nullptr) return nullptr;
    std::lock_guard lock(listMutex_);
    texture->generation = generation_;
    texture->countedMiB = static_cast<double>(texture->ByteSize()) / kBytesPerMiB;
    totalMiB_ += texture->countedMiB;
  }
  texture->handOver.Take();
  texture->CentreContent(static_cast<int>(width), static_cast<int>(height));
  texture->presentation = {};
  texture->RemapRGBA(kSwizzleRGBA);
  Texture* result = texture;
  try {
    if (!trimmerStarted_) _StartTrimmer();
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
  pooled->handOver.Give();
  std::lock_guard lock(listMutex_);
  pooled->released = ++releases_;
  idle_.Insert(pooled, int64_t{pooled->Setting().width} * pooled->Setting().height);
}

bool TexturePool::Clear() {
  std::vector<PooledTexture*> textures;
  {
    std::lock_guard lock(listMutex_);
    textures = idle_.TakeAll();
    totalMiB_ = 0;
    ++generation_;
  }
  for (const PooledTexture* texture : textures) delete texture;
  return true;
}

void TexturePool::Preallocate(uint32_t width, uint32_t height, int32_t count) {
  MakeIdle(
      count, [&] { return Acquire(width, height, GL_RGBA8); }, [this](Texture*& texture) { Release(texture); });
}

void TexturePool::SetCapacity(int32_t capacity) {
  std::lock_guard lock(listMutex_);
  capacity_ = capacity;
}

void TexturePool::SetHostBudget(int32_t mebibytes) {
  constexpr int32_t kReserve = 60;
  constexpr int32_t kLeast = 100;
  if (mebibytes >= 1) SetCapacity(std::max(mebibytes - kReserve, kLeast));
}

void TexturePool::_StartTrimmer() {
  std::lock_guard lock(threadMutex_);
  if (trimmer_.joinable() || stop_) return;
  ExitGuard::Instance();
  // A host may unload the library without releasing it: the code of a running thread has to stay.
  pinned_ = PinLibrary();
  try {
    trimmer_ = std::thread([this] {
      try {
        _Trim();
      } catch (const std::exception& error) {
        LogLocated(kLogError, error.what());
      }
    });
  } catch (...) {
    UnpinLibrary(std::exchange(pinned_, nullptr));
    throw;
  }
  trimmerStarted_ = true;
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
  if (capacity_ < 1 || totalMiB_ <= capacity_) return;
  oldest.reset(idle_.TakeLeast([](const PooledTexture& texture) { return texture.released; }));
  if (oldest != nullptr && oldest->generation == generation_) totalMiB_ -= oldest->countedMiB;
}

}  // namespace qvg
