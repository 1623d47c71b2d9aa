#include "base/handOver.h"

namespace qvg {

bool HandOver::Ready() const {
  return user_ == 0 || !fence_.Empty() || user_ == CurrentContextId() || WasLeft(user_, departures_);
}

void HandOver::Take() {
  ContextState* const current = CurrentContext();
  if (current == nullptr) return;
  if (user_ != current->id) {
    if (!fence_.Empty()) {
      fence_.Wait();
    } else if (user_ != 0) {
      WaitForDeparture(user_);
    }
  }
  fence_ = {};
  user_ = current->id;
  departures_ = current->departures;
  current->worked = true;
}

void HandOver::Give() {
  ContextState* const current = CurrentContext();
  if (current == nullptr) {
    // No fence can be placed from here: whoever takes the object has to deal with what is pending.
    const std::optional<uint64_t> covering = user_ != 0 ? DeparturesCovering(user_) : std::nullopt;
    if (covering.has_value()) {
      departures_ = *covering;
    } else {
      user_ = 0;
    }
    return;
  }
  if (current->id != user_) return GiveToAny();
  departures_ = current->departures;
  current->worked = true;
}

void HandOver::GiveToAny() {
  ContextState* const current = CurrentContext();
  if (current == nullptr) return;
  fence_ = GpuFence::Insert();
  user_ = current->id;
  departures_ = current->departures;
  current->worked = true;
}

}  // namespace qvg
