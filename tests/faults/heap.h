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

/// The platform's part: whether an allocation that was asked for there is one of the library's or the test's code, and
/// not of the driver's, which may be C++, too.
bool AllocatesForLibrary(void* caller);

}  // namespace qvg::test
