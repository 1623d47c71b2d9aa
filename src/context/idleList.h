#pragma once

#include <cstdint>
#include <list>

namespace qvg {

/// The idle objects of a pool, smallest first. Has no lock: its pool has.
template <class T>
class IdleList {
 public:
  /// Behind the last one that is not larger.
  void Insert(T* object, int64_t size) {
    auto place = entries_.begin();
    while (place != entries_.end() && place->size <= size) ++place;
    entries_.insert(place, {object, size});
  }

  /// Takes the smallest one that fits; null when none does.
  template <class Fits>
  T* TakeFirst(Fits fits) {
    for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
      if (!fits(*entry->object)) continue;
      T* object = entry->object;
      entries_.erase(entry);
      return object;
    }
    return nullptr;
  }

  T* Take(T* object) {
    return TakeFirst([object](const T& candidate) { return &candidate == object; });
  }

  /// Takes all of them.
  std::list<T*> TakeAll() {
    std::list<T*> objects;
    for (const Entry& entry : entries_) objects.push_back(entry.object);
    entries_.clear();
    return objects;
  }

 private:
  struct Entry {
    T* object;
    int64_t size;
  };

  std::list<Entry> entries_;
};

}  // namespace qvg
