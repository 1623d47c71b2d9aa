#include "frames.h"

namespace qvg::test {

std::shared_ptr<uint8_t> GuardedMemory(size_t size) {
  const auto block = std::make_shared<GuardedBlock>(size);
  return {block, block->data()};
}

}  // namespace qvg::test
