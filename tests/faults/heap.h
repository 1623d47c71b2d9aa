// Tells the library's allocations, which may fail, from the test's.
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

/// The platform's part: whether an allocation with this caller belongs to the library or the test, and not to the
/// driver, which may be C++, too.
bool AllocatesForLibrary(void* caller);

}  // namespace qvg::test
