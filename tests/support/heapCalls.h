#pragma once

#include <atomic>

namespace qvg::test {

/// The number of blocks that the calling thread has allocated with new since it began. A program that uses it is linked
/// with heapCalls.cpp, whose operator new counts, except in sanitizer builds.
int& ThreadAllocations();

/// Called before each allocation with the caller's address; true makes it fail.
using AllocationHook = bool (*)(void* caller);
std::atomic<AllocationHook>& HookOfAllocations();

}  // namespace qvg::test
