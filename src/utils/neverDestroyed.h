#pragma once

#include <new>
#include <utility>

namespace qvg {

/// Storage for an object of static lifetime that is created on first use and never destroyed, since threads may still
/// use it while the process exits. `static NeverDestroyed<T> instance;` in a function.
template <class T>
class NeverDestroyed {
 public:
  template <class... Arguments>
  explicit NeverDestroyed(Arguments&&... arguments) {
    new (storage_) T(std::forward<Arguments>(arguments)...);
  }
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  T& Get() { return *std::launder(reinterpret_cast<T*>(storage_)); }

 private:
  alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace qvg
