// Runs the checks one after the other on the running library.
#pragma once

#include <string>
#include <vector>

#include "picture/logCapture.h"
#include "selftest/check.h"

namespace qvgtool::selftest {

struct CheckResult {
  std::string group, name;
  double limit = 0, largest = 0;  // In steps of 1/255.
  size_t compared = 0;            // Pixels.
  size_t faultCount = 0;
  std::vector<Fault> faults;  // The first few.
  double milliseconds = 0;
  bool Passed() const { return faultCount == 0; }
};

/** Follows a run, so that its findings are not lost when a driver ends the process. */
class Listener {
 public:
  virtual ~Listener() = default;
  virtual void Begins(const CheckGroup& group) = 0;
  virtual void Begins(const Check& check) = 0;
  virtual void Ended(const CheckResult& result) = 0;
};

class Suite {
 public:
  /** only: names of groups; empty: all. */
  Suite(const std::vector<std::string>& only, bool quick);

  /** Needs a current context of the library. An error or a warning in the library's log is a fault of the check that
   * was running. */
  std::vector<CheckResult> Run(LogCapture& log, const std::vector<Listener*>& listeners) const;

 private:
  CheckResult _Run(const Check& check, LogCapture& log) const;

  std::vector<const CheckGroup*> groups_;
  bool quick_;
};

}  // namespace qvgtool::selftest
