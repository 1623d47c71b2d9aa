// Threads of a careless host: they call the table's slots with hostile values, and check what must hold whatever the
// values are. A fault ends the program.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace qvg::test {

inline constexpr int kSlotCount = 64;
const char* NameOfSlot(int slot);

/// How often each slot was called, and how often it answered something other than its failure value.
struct SlotCounts {
  std::array<std::atomic<int64_t>, kSlotCount> calls = {}, successes = {};
  std::atomic<int64_t> all = 0;
};

/// From a start of the library to its release.
/// @param calls of each thread; fewer when the time is over before.
/// @param handlesAreLeft release the library while some handles are held.
void RunRound(SlotCounts& counts, uint64_t seed, int64_t threads, int64_t calls,
              std::chrono::steady_clock::time_point end, bool handlesAreLeft);

}  // namespace qvg::test
