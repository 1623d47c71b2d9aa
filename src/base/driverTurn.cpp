#include "base/driverTurn.h"

#include "base/limits.h"
#include "utils/neverDestroyed.h"

namespace qvg {

namespace {

constinit thread_local bool held = false;

}  // namespace

DriverTurn::DriverTurn() {
  static NeverDestroyed<std::mutex> mutex;
  if (held || !Limits::NeedsTurns()) return;
  lock_ = std::unique_lock(mutex.Get());
  held = true;
}

DriverTurn::~DriverTurn() {
  if (lock_.owns_lock()) held = false;
}

}  // namespace qvg
