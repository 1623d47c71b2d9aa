#include <execinfo.h>
#include <link.h>

#include <atomic>
#include <cstdint>
#include <string_view>
#include <utility>

#include "faults.h"
#include "heap.h"
#include "support/heapCalls.h"

extern "C" const char __executable_start, etext;

namespace qvg::test {
namespace {

struct Range {
  uintptr_t begin, end;
  bool Has(const void* place) const {
    return reinterpret_cast<uintptr_t>(place) >= begin && reinterpret_cast<uintptr_t>(place) < end;
  }
};

constinit thread_local HeapOwner::Owner owner = HeapOwner::kLibrary;

Range StandardLibrary() {
  Range range = {};
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t, void* found) {
        if (std::string_view(info->dlpi_name).find("/libstdc++.so") == std::string_view::npos) return 0;
        uintptr_t end = 0;
        for (int i = 0; i < info->dlpi_phnum; ++i) {
          const auto& part = info->dlpi_phdr[i];
          if (part.p_type == PT_LOAD) end = info->dlpi_addr + part.p_vaddr + part.p_memsz;
        }
        *static_cast<Range*>(found) = {info->dlpi_addr, end};
        return 1;
      },
      &range);
  return range;
}

// The driver is C++, too: an allocation is the library's when its code asked for it, or what it called of the
// standard library.
bool IsOurs(void* caller) {
  static const Range executable = {reinterpret_cast<uintptr_t>(&__executable_start),
                                   reinterpret_cast<uintptr_t>(&etext)};
  static const Range standard = StandardLibrary();
  if (executable.Has(caller)) return true;
  if (!standard.Has(caller)) return false;
  void* places[24];
  const int count = backtrace(places, 24);
  int i = 0;
  while (i < count && places[i] != caller) ++i;
  while (i < count && standard.Has(places[i])) ++i;
  return i < count && executable.Has(places[i]);
}

bool Fails(void* caller) {
  if (owner == HeapOwner::kTest || !AllocationsMayFail() || !IsOurs(caller)) return false;
  return FailsNow(kAllocation);
}

}  // namespace

void WatchHeap() {
  IsOurs(nullptr);
  HookOfAllocations() = &Fails;
}

HeapOwner::HeapOwner(Owner now) : previous_(std::exchange(owner, now)) {}
HeapOwner::~HeapOwner() { owner = previous_; }

}  // namespace qvg::test
