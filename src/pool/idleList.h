#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <vector>

namespace qvg {

/// The idle objects of a pool, smallest first. Has no lock of its own: its pool has. Allocates only when space is
/// reserved.
template <class T>
class IdleList {
 public:
  /// Reserves space for one more object, so that giving it back doesn't allocate.
  void MakeRoom() {
    // In larger steps than one.
    if (rooms_ >= entries_.capacity()) entries_.reserve(std::max<size_t>(16, 2 * rooms_));
    ++rooms_;
  }
  /// An object for which space was reserved is gone.
  void LeaveRoom() { --rooms_; }

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

  bool Empty() const { return entries_.empty(); }
  /// Takes the largest one; null when there is none.
  T* TakeLast() { return entries_.empty() ? nullptr : _Take(std::prev(entries_.end())); }

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
  size_t rooms_ = 0;
};

/// Makes count objects and gives them all back, so that they are idle; stops at the first one that can't be made.
template <class Acquire, class Release>
void MakeIdle(int32_t count, Acquire acquire, Release release) {
  std::vector<decltype(acquire())> objects;
  const auto giveBack = [&](decltype(objects)* made) {
    for (auto& object : *made) release(object);
  };
  const std::unique_ptr<decltype(objects), decltype(giveBack)> held(&objects, giveBack);
  for (int32_t i = 0; i < count; ++i) {
    objects.push_back(nullptr);
    objects.back() = acquire();
    if (objects.back() == nullptr) break;
  }
}

}  // namespace qvg
