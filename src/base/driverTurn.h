#pragma once

#include <mutex>

namespace qvg {

/// Held while GL commands are issued: one lock for all threads, taken only for drivers that need it (see
/// Limits::NeedsTurns). It may be nested. Whoever holds it must not wait for another thread.
class DriverTurn {
 public:
  DriverTurn();
  ~DriverTurn();
  DriverTurn(const DriverTurn&) = delete;
  DriverTurn& operator=(const DriverTurn&) = delete;

 private:
  std::unique_lock<std::mutex> lock_;
};

}  // namespace qvg
