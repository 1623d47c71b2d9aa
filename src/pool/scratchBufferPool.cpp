#include "pool/scratchBufferPool.h"

#include <algorithm>

namespace qvg {

uint8_t* ScratchBufferPool::Acquire(size_t size) {
  std::lock_guard lock(mutex_);
  auto best = idle_.end();
  for (auto block = idle_.begin(); block != idle_.end(); ++block) {
    const bool fits = block->size >= size && block->size / 2 <= size;
    if (fits && (best == idle_.end() || block->size < best->size)) best = block;
  }
  if (best != idle_.end()) {
    idleBytes_ -= best->size;
    lent_.splice(lent_.end(), idle_, best);
  } else {
    lent_.push_back({std::make_unique_for_overwrite<uint8_t[]>(size), size});
  }
  return lent_.back().data.get();
}

void ScratchBufferPool::Release(const uint8_t* data) {
  std::lock_guard lock(mutex_);
  const auto block =
      std::find_if(lent_.begin(), lent_.end(), [data](const Block& candidate) { return candidate.data.get() == data; });
  if (block == lent_.end()) return;
  idleBytes_ += block->size;
  idle_.splice(idle_.end(), lent_, block);
  while (idle_.size() > 1 && (idleBytes_ > kMaxIdleBytes || idle_.size() > kMaxIdleBlocks)) {
    idleBytes_ -= idle_.front().size;
    idle_.pop_front();
  }
}

size_t ScratchBufferPool::IdleBytes() {
  std::lock_guard lock(mutex_);
  return idleBytes_;
}

void ScratchBufferPool::Clear() {
  std::lock_guard lock(mutex_);
  idle_.clear();
  idleBytes_ = 0;
}

}  // namespace qvg
