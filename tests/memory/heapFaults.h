// Allocations of the library's code that fail.
#pragma once

namespace qvg::test {

/// Which of the allocations that are the library's, counted from 1 on all threads, fails.
struct HeapFault {
  int first = 0;         ///< 0: none.
  bool onwards = false;  ///< All others after it fail, too.
};

/// Begins to count, and to let fail.
void ArmHeap(const HeapFault& fault);
/// Ends it. Gives how many allocations there were.
int DisarmHeap();
/// How many have failed since the last ArmHeap.
int FailedAllocations();

/// While it lives nothing fails and nothing is counted.
class HeapPause {
 public:
  HeapPause();
  ~HeapPause();
  HeapPause(const HeapPause&) = delete;
  HeapPause& operator=(const HeapPause&) = delete;

 private:
  bool armed_;
};

/// Who allocates on the calling thread, during its life: the library or the test. Threads begin as the library's.
class HeapOwner {
 public:
  enum Owner { kLibrary, kTest };
  explicit HeapOwner(Owner owner);
  ~HeapOwner();
  HeapOwner(const HeapOwner&) = delete;
  HeapOwner& operator=(const HeapOwner&) = delete;

 private:
  Owner previous_;
};

}  // namespace qvg::test
