#include "pool/resourceCache.h"

#include <cstdio>
#include <utility>

#include "base/glError.h"
#include "base/texture.h"
#include "pool/scratchBufferPool.h"
#include "pool/texturePool.h"

namespace qvg {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace

void ResourceCache::EntryDeleter::operator()(Entry* entry) const {
  if (entry->texture != nullptr) cache->textures_.Release(entry->texture);
  if (entry->block != nullptr) cache->scratchBuffers_.Release(entry->block);
  const QVGFreeImage free = cache->callbacks_.freeImage;
  if (entry->image != nullptr && free != nullptr) free(entry->path.c_str(), entry->image);
  delete entry;
}

ResourceCache::Entry* ResourceCache::Acquire(const std::string& path, int32_t kind) {
  if (path.empty() || kind < kImageTexture || kind > kFileBytes) return nullptr;
  std::lock_guard lock(mutex_);
  auto found = entries_.find(path);
  if (found == entries_.end()) {
    EntryPtr entry(new Entry, {this});
    entry->kind = kind;
    entry->path = path;
    if (!(kind <= kDecodedImage ? _LoadImage(*entry) : _LoadFile(*entry))) return nullptr;
    found = entries_.emplace(path, std::move(entry)).first;
  }
  ++found->second->count;
  return found->second.get();
}

bool ResourceCache::_LoadImage(Entry& entry) {
  const QVGDecodeImage decode = callbacks_.decodeImage;
  const QVGFreeImage free = callbacks_.freeImage;
  if (decode == nullptr) return false;
  QVGHostImage* const image = decode(entry.path.c_str());
  if (image == nullptr) return false;
  if (entry.kind == kDecodedImage) {
    entry.image = image;
    return true;
  }
  const auto giveBack = [&](QVGHostImage* record) {
    if (free != nullptr) free(entry.path.c_str(), record);
  };
  const std::unique_ptr<QVGHostImage, decltype(giveBack)> record(image, giveBack);
  if (image->pixels == nullptr || image->width < 1 || image->height < 1) return false;
  entry.texture =
      textures_.Acquire(static_cast<uint32_t>(image->width), static_cast<uint32_t>(image->height), GL_RGBA8);
  if (entry.texture == nullptr || !entry.texture->Load({image->width, image->height, image->pixels, GL_BGRA})) {
    return false;
  }
  entry.texture->presentation.flipped = true;
  // Other contexts may draw with it at once, and nothing else waits for its upload.
  glFinish();
  return CheckGLError();
}

bool ResourceCache::_LoadFile(Entry& entry) {
  const File file(std::fopen(entry.path.c_str(), "rb"));
  if (file == nullptr) return false;
  // Nothing to read: an empty file, or a directory, which may report any length.
  if (std::fgetc(file.get()) == EOF || std::fseek(file.get(), 0, SEEK_END) != 0) return false;
  const long length = std::ftell(file.get());
  if (length <= 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) return false;
  entry.blockSize = static_cast<size_t>(length);
  entry.block = scratchBuffers_.Acquire(entry.blockSize);
  if (std::fread(entry.block, 1, entry.blockSize, file.get()) != entry.blockSize) return false;
  if (entry.kind == kFileInScratch) return true;
  entry.bytes.assign(reinterpret_cast<const char*>(entry.block), entry.blockSize);
  scratchBuffers_.Release(std::exchange(entry.block, nullptr));
  entry.blockSize = 0;
  return true;
}

void ResourceCache::Release(Entry* entry, bool erase) {
  if (entry == nullptr) return;
  std::lock_guard lock(mutex_);
  const auto found = entries_.find(entry->path);
  if (found == entries_.end()) return;
  if (--found->second->count >= 1 || !erase) return;
  entries_.erase(found);
}

}  // namespace qvg
