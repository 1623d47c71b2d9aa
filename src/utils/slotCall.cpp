#include "utils/slotCall.h"

#include <algorithm>
#include <mutex>

#include "utils/format.h"
#include "utils/log.h"
#include "utils/neverDestroyed.h"

namespace qvg {

namespace {

constinit thread_local const char* innermost = "";

struct Refusal {
  const char* slot;
  const char* argument;
  const char* expected;
  uint64_t times;
};

/// The most recent refusals. One that comes again after too many others counts as new.
class Refusals {
 public:
  /// How often it has been seen, this time included.
  uint64_t Count(const char* slot, const char* argument, const char* expected) {
    std::lock_guard lock(mutex_);
    auto* const found = std::find_if(std::begin(seen_), std::end(seen_), [&](const Refusal& known) {
      return known.slot == slot && known.argument == argument && known.expected == expected;
    });
    if (found != std::end(seen_)) return ++found->times;
    seen_[next_++ % std::size(seen_)] = {slot, argument, expected, 1};
    return 1;
  }

  void Forget() {
    std::lock_guard lock(mutex_);
    std::fill(std::begin(seen_), std::end(seen_), Refusal{});
  }

 private:
  std::mutex mutex_;
  Refusal seen_[64] = {};
  size_t next_ = 0;
};

Refusals& Refused() {
  static NeverDestroyed<Refusals> refusals;
  return refusals.Get();
}

bool IsPowerOfTen(uint64_t number) {
  while (number % 10 == 0) number /= 10;
  return number == 1;
}

}  // namespace

SlotCall::SlotCall(const char* name) noexcept : outer_(innermost) { innermost = name; }

SlotCall::~SlotCall() { innermost = outer_; }

const char* SlotCall::Name() noexcept { return innermost; }

void Refuse(const char* argument, const char* expected) noexcept {
  try {
    const uint64_t times = Refused().Count(innermost, argument, expected);
    if (!IsPowerOfTen(times)) return;
    const std::string often = times > 1 ? Format(" ({} times)", times) : "";
    LogShort(kLogWarning, Format("{}: {}: expected {}{}", innermost, argument, expected, often));
  } catch (...) {  // Without memory for a line there is nothing left to say.
  }
}

void ForgetRefusals() noexcept { Refused().Forget(); }

}  // namespace qvg
