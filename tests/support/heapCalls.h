#pragma once

namespace qvg::test {

/// What the calling thread has allocated with new since it began; blocks, not bytes. A program that uses it is linked
/// with heapCalls.cpp, whose operator new counts, but for sanitizer builds.
int& ThreadAllocations();

}  // namespace qvg::test
