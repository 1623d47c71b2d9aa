#include "context/resourceCache.h"

#include <cstdio>

#include "base/texture.h"
#include "context/scratchBufferPool.h"
#include "context/texturePool.h"

namespace qvg {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace

ResourceCache::~ResourceCache() {
  for (auto& [path, entry] : entries_) _Destroy(*entry);
}

ResourceCache::Entry* ResourceCache::Acquire(const std::string& path, int32_t kind) {
  if (path.empty() || kind < kImageTexture || kind > kFileBytes) return nullptr;
  std::lock_guard lock(mutex_);
  auto found = entries_.find(path);
  if (found == entries_.end()) {
    std::unique_ptr<Entry> entry = kind <= kDecodedImage ? _LoadImage(path, kind) : _LoadFile(path, kind);
    if (entry == nullptr) return nullptr;
    entry->kind = kind;
    entry->path = path;
    found = entries_.emplace(path, std::move(entry)).first;
  }
  ++found->second->count;
  return found->second.get();
}

std::unique_ptr<ResourceCache::Entry> ResourceCache::_LoadImage(const std::string& path, int32_t kind) {
  const QVGDecodeImage decode = callbacks_.decodeImage;
  if (decode == nullptr) return nullptr;
  auto entry = std::make_unique<Entry>();
  QVGHostImage* image = decode(path.c_str());
  if (image == nullptr) return nullptr;
  if (kind == kDecodedImage) {
    entry->image = image;
    return entry;
  }
  Texture* texture = nullptr;
  if (image->pixels != nullptr && image->width >= 1 && image->height >= 1) {
    texture = textures_.Acquire(static_cast<uint32_t>(image->width), static_cast<uint32_t>(image->height), GL_RGBA8);
  }
  if (texture != nullptr && !texture->Load(image->width, image->height, image->pixels, GL_BGRA, GL_UNSIGNED_BYTE)) {
    textures_.Release(texture);
  }
  const QVGFreeImage free = callbacks_.freeImage;
  if (free != nullptr) free(path.c_str(), image);
  if (texture == nullptr) return nullptr;
  texture->flipped = true;
  entry->texture = texture;
  return entry;
}

std::unique_ptr<ResourceCache::Entry> ResourceCache::_LoadFile(const std::string& path, int32_t kind) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) return nullptr;
  // Nothing to read: an empty file, or a directory, which may tell any length.
  if (std::fgetc(file.get()) == EOF || std::fseek(file.get(), 0, SEEK_END) != 0) return nullptr;
  const long length = std::ftell(file.get());
  if (length <= 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) return nullptr;
  auto entry = std::make_unique<Entry>();
  const size_t size = static_cast<size_t>(length);
  uint8_t* block = scratchBuffers_.Acquire(size);
  const bool whole = std::fread(block, 1, size, file.get()) == size;
  if (whole && kind == kFileInScratch) {
    entry->block = block;
    entry->blockSize = size;
    return entry;
  }
  if (whole) entry->bytes.assign(reinterpret_cast<const char*>(block), size);
  scratchBuffers_.Release(block);
  return whole ? std::move(entry) : nullptr;
}

void ResourceCache::_Destroy(Entry& entry) {
  if (entry.texture != nullptr) textures_.Release(entry.texture);
  if (entry.block != nullptr) scratchBuffers_.Release(entry.block);
  const QVGFreeImage free = callbacks_.freeImage;
  if (entry.image != nullptr && free != nullptr) free(entry.path.c_str(), entry.image);
}

void ResourceCache::Release(Entry* entry, bool erase) {
  if (entry == nullptr) return;
  std::lock_guard lock(mutex_);
  const auto found = entries_.find(entry->path);
  if (found == entries_.end()) return;
  if (--found->second->count >= 1 || !erase) return;
  _Destroy(*found->second);
  entries_.erase(found);
}

}  // namespace qvg
