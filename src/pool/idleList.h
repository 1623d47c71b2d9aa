#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace qvg {

/// The idle objects of a pool, smallest first. Has no lock: its pool has. Allocates only to grow.
template <class T>
class IdleList {
 public:
  /// Behind the last one that is not larger.
  void Insert(T* object, int64_t size) {
    const auto place = std::upper_bound(entries_.begin(), entries_.end(), size,
                                        [](int64_t value, const Entry& entry) { return value < entry.size; });
    entries_.insert(place, {object, size});
  }

  /// Takes the smallest one that fits; null when none does.
  template <class Fits>
  T* TakeFirst(Fits fits) {
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return fits(*entry.object); });
    return found != entries_.end() ? _Take(found) : nullptr;
  }

  /// Takes the one whose key is the smallest; null when there is none.
  template <class Key>
  T* TakeLeast(Key key) {
    const auto found = std::min_element(entries_.begin(), entries_.end(), [&](const Entry& a, const Entry& b) {
      return key(*a.object) < key(*b.object);
    });
    return found != entries_.end() ? _Take(found) : nullptr;
  }

  /// Takes all of them.
  std::vector<T*> TakeAll() {
    std::vector<T*> objects;
    objects.reserve(entries_.size());
    for (const Entry& entry : entries_) objects.push_back(entry.object);
    entries_.clear();
    return objects;
  }

 private:
  struct Entry {
    T* object;
    int64_t size;
  };

  T* _Take(typename std::vector<Entry>::iterator place) {
    T* const object = place->object;
    entries_.erase(place);
    return object;
  }

  std::vector<Entry> entries_;
};

/// Makes count objects and gives them all back, so that they are idle; stops at the first that can't be had.
template <class Acquire, class Release>
void MakeIdle(int32_t count, Acquire acquire, Release release) {
  std::vector<decltype(acquire())> objects;
  for (int32_t i = 0; i < count; ++i) {
    const auto object = acquire();
    if (object == nullptr) break;
    objects.push_back(object);
  }
  for (auto& object : objects) release(object);
}

}  // namespace qvg
