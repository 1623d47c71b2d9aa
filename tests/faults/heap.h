// Whose an allocation is: only the library's fail.
#pragma once

namespace qvg::test {

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

/// To be called before an allocation is to fail.
void WatchHeap();

}  // namespace qvg::test
