#include "platform.h"

#include <utility>

namespace qvg::test {

GuardedBlock::GuardedBlock(size_t size) : size_(size), mapped_((size + 2 * kPage - 1) / kPage * kPage) {
  base_ = static_cast<uint8_t*>(_MapPages(mapped_));
  _Forbid(base_ + mapped_ - kPage);
  data_ = base_ + mapped_ - kPage - size;
}

GuardedBlock::~GuardedBlock() {
  if (base_ != nullptr) _UnmapPages(base_, mapped_);
}

GuardedBlock::GuardedBlock(GuardedBlock&& other) noexcept
    : size_(other.size_),
      mapped_(other.mapped_),
      base_(std::exchange(other.base_, nullptr)),
      data_(std::exchange(other.data_, nullptr)) {}

}  // namespace qvg::test
