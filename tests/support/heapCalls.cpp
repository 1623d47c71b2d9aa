#include "heapCalls.h"

#include <cstdlib>
#include <new>

namespace qvg::test {

int& ThreadAllocations() {
  static thread_local int count = 0;
  return count;
}

}  // namespace qvg::test

// The sanitizers bring operators of their own, which know more: there nothing is counted.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
void* operator new(std::size_t bytes) {
  ++qvg::test::ThreadAllocations();
  if (void* block = std::malloc(bytes > 0 ? bytes : 1)) return block;
  throw std::bad_alloc();
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
#endif
