#include "heapCalls.h"

#include <cstdlib>
#include <new>

namespace qvg::test {

int& ThreadAllocations() {
  static thread_local int count = 0;
  return count;
}

std::atomic<AllocationHook>& HookOfAllocations() {
  static constinit std::atomic<AllocationHook> hook = nullptr;
  return hook;
}

}  // namespace qvg::test

// The sanitizers have operators of their own, which check more: with them nothing is counted, unless allocations are to
// fail.
#if defined(QVG_HOOK_ALLOCATIONS) || (!defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__))
namespace {

void* Allocate(std::size_t bytes, void* caller) noexcept {
  ++qvg::test::ThreadAllocations();
  const qvg::test::AllocationHook hook = qvg::test::HookOfAllocations();
  return hook != nullptr && hook(caller) ? nullptr : std::malloc(bytes > 0 ? bytes : 1);
}

void* AllocateOrThrow(std::size_t bytes, void* caller) {
  if (void* const block = Allocate(bytes, caller)) return block;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t bytes) { return AllocateOrThrow(bytes, __builtin_return_address(0)); }
void* operator new[](std::size_t bytes) { return AllocateOrThrow(bytes, __builtin_return_address(0)); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  return Allocate(bytes, __builtin_return_address(0));
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
  return Allocate(bytes, __builtin_return_address(0));
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
#endif
