#pragma once

#include <mutex>

namespace qvg {

/// Held while GL commands are issued: a lock, and one for all threads, only for drivers that need it (see
/// Limits::NeedsTurns). One inside another takes no second one. Whoever holds it must not wait for another thread.
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
