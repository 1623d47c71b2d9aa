#include "heap.h"

#include <atomic>
#include <utility>

#include "faults.h"
#include "support/heapCalls.h"

namespace qvg::test {
namespace {

constinit thread_local HeapOwner::Owner owner = HeapOwner::kLibrary;

bool Fails(void* caller) {
  if (owner == HeapOwner::kTest || !AllocationsMayFail() || !AllocatesForLibrary(caller)) return false;
  return FailsNow(kAllocation);
}

}  // namespace

void WatchHeap() {
  AllocatesForLibrary(nullptr);
  HookOfAllocations() = &Fails;
}

HeapOwner::HeapOwner(Owner now) : previous_(std::exchange(owner, now)) {}
HeapOwner::~HeapOwner() { owner = previous_; }

}  // namespace qvg::test
