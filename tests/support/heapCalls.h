#pragma once

#include <atomic>

namespace qvg::test {

/// What the calling thread has allocated with new since it began; blocks, not bytes. A program that uses it is linked
/// with heapCalls.cpp, whose operator new counts, but for sanitizer builds.
int& ThreadAllocations();

/// Asked before each allocation with the place that it comes from; true lets it fail.
using AllocationHook = bool (*)(void* caller);
std::atomic<AllocationHook>& HookOfAllocations();

}  // namespace qvg::test
