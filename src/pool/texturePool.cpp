#include "pool/texturePool.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "base/contextState.h"
#include "base/handOver.h"
#include "base/limits.h"
#include "base/texelFormat.h"
#include "base/texture.h"

namespace qvg {

struct PooledTexture : Texture {
  HandOver handOver;
  double countedMiB = 0;  // of the pool's sum
  uint64_t generation = 0;
  uint64_t released = 0;  // when, counted in releases
};

namespace {

constexpr double kBytesPerMiB = 1048576.0;
}  // namespace

TexturePool::TexturePool(int32_t capacity, std::function<void()> overBudget)
    : overBudget_(std::move(overBudget)), capacity_(capacity) {}

TexturePool::~TexturePool() { Clear(); }

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
  setting.purpose = "pooled texture";
  // Integer textures with linear filters count as incomplete and sample zero.
  if (TexelFormatOf(internalFormat).integer) setting.minFilter = setting.magFilter = GL_NEAREST;
  auto texture = std::make_unique<PooledTexture>();
  {
    std::lock_guard lock(mutex_);
    idle_.MakeRoom();
  }
  const bool made = texture->Allocate(setting);
  std::lock_guard lock(mutex_);
  if (!made) {
    idle_.LeaveRoom();
    return nullptr;
  }
  texture->generation = generation_;
  texture->countedMiB = static_cast<double>(texture->ByteSize()) / kBytesPerMiB;
  totalMiB_ += texture->countedMiB;
  return texture.release();
}

Texture* TexturePool::Acquire(uint32_t width, uint32_t height, GLenum internalFormat) {
  if (CurrentContext() == nullptr) return nullptr;
  const auto limit = static_cast<uint32_t>(Limits::MaxTextureSize());
  if (width < 1 || height < 1 || width > limit || height > limit) return nullptr;
  const int evenWidth = static_cast<int>(width + width % 2);
  const int evenHeight = static_cast<int>(height + height % 2);
  PooledTexture* texture = nullptr;
  {
    std::lock_guard lock(mutex_);
    texture = _TakeIdle(evenWidth, evenHeight, internalFormat);
  }
  if (texture == nullptr) {
    texture = _Create(evenWidth, evenHeight, internalFormat);
    if (texture == nullptr) return nullptr;
  }
  texture->handOver.Take();
  texture->CentreContent(static_cast<int>(width), static_cast<int>(height));
  texture->presentation = {};
  if (texture->RemapRGBA(kSwizzleRGBA)) return texture;
  // A texture that can't be reset to its first state is of no use.
  _Destroy(texture);
  return nullptr;
}

void TexturePool::_Destroy(const PooledTexture* texture) {
  {
    std::lock_guard lock(mutex_);
    idle_.LeaveRoom();
    if (texture->generation == generation_) totalMiB_ -= texture->countedMiB;
  }
  delete texture;
}

void TexturePool::Release(Texture*& texture) {
  auto* pooled = static_cast<PooledTexture*>(texture);
  texture = nullptr;
  if (pooled == nullptr) return;
  pooled->handOver.Give();
  std::lock_guard lock(mutex_);
  pooled->released = ++releases_;
  idle_.Insert(pooled, int64_t{pooled->Setting().width} * pooled->Setting().height);
  if (_IsOverBudget()) overBudget_();
}

bool TexturePool::Trim() {
  PooledTexture* oldest = nullptr;
  {
    std::lock_guard lock(mutex_);
    if (_IsOverBudget()) oldest = idle_.TakeLeast([](const PooledTexture& texture) { return texture.released; });
  }
  if (oldest == nullptr) return false;
  _Destroy(oldest);
  std::lock_guard lock(mutex_);
  return _IsOverBudget() && !idle_.Empty();
}

bool TexturePool::Clear() {
  {
    std::lock_guard lock(mutex_);
    totalMiB_ = 0;
    ++generation_;
  }
  while (true) {
    PooledTexture* texture = nullptr;
    {
      std::lock_guard lock(mutex_);
      texture = idle_.TakeLast();
    }
    if (texture == nullptr) return true;
    _Destroy(texture);
  }
}

void TexturePool::Preallocate(uint32_t width, uint32_t height, int32_t count) {
  const auto acquire = [&]() -> Texture* {
    {
      // Any more would be destroyed at once.
      std::lock_guard lock(mutex_);
      if (_IsOverBudget()) return nullptr;
    }
    return Acquire(width, height, GL_RGBA8);
  };
  MakeIdle(count, acquire, [this](Texture*& texture) { Release(texture); });
}

void TexturePool::SetCapacity(int32_t capacity) {
  std::lock_guard lock(mutex_);
  capacity_ = capacity;
  if (_IsOverBudget()) overBudget_();
}

void TexturePool::SetHostBudget(int32_t mebibytes) {
  constexpr int32_t kReserve = 60;
  constexpr int32_t kLeast = 100;
  if (mebibytes >= 1) SetCapacity(std::max(mebibytes - kReserve, kLeast));
}

}  // namespace qvg
