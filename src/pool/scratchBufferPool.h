#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>

namespace qvg {

/// Recycles blocks of host memory. Any thread. A request takes the smallest idle block that is large enough, unless it
/// is more than twice as large, so that small requests don't occupy large blocks. Idle blocks beyond the limit are
/// freed, oldest first; the one that came back last always stays.
class ScratchBufferPool {
 public:
  /// One block, given back when it goes out of scope.
  class Lease {
   public:
    Lease(ScratchBufferPool& pool, uint8_t* data) : pool_(&pool), data_(data) {}
    ~Lease() {
      if (data_ != nullptr) pool_->Release(data_);
    }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    uint8_t* Data() const { return data_; }

   private:
    ScratchBufferPool* pool_;
    uint8_t* data_;
  };

  static constexpr size_t kMaxIdleBytes = size_t{64} << 20;
  static constexpr size_t kMaxIdleBlocks = 16;

  uint8_t* Acquire(size_t size);
  void Release(const uint8_t* data);
  size_t IdleBytes();
  /// Frees every idle block.
  void Clear();
  Lease Lend(size_t size) { return {*this, Acquire(size)}; }

 private:
  struct Block {
    std::unique_ptr<uint8_t[]> data;
    size_t size;
  };

  std::mutex mutex_;
  std::list<Block> idle_;  // in the order in which they came back
  size_t idleBytes_ = 0;
  std::list<Block> lent_;
};

}  // namespace qvg
