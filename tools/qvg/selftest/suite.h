// Runs checks on the running library, one after the other.
#pragma once

#include <string>
#include <vector>

#include "picture/logCapture.h"
#include "selftest/check.h"

namespace qvgtool::selftest {

struct CheckResult {
  std::string group, name;
  double limit = 0, largest = 0;  // in steps of 1/255
  size_t compared = 0;            // pixels
  size_t faultCount = 0;
  std::vector<Fault> faults;  // the first few
  double milliseconds = 0;
  bool Passed() const { return faultCount == 0; }
};

/** Is told how far a run is, so that what was found is not lost where a driver ends the process. */
class Listener {
 public:
  virtual ~Listener() = default;
  virtual void Begins(const CheckGroup& group) = 0;
  virtual void Begins(const Check& check) = 0;
  virtual void Ended(const CheckResult& result) = 0;
};

class Suite {
 public:
  /** only: names of groups; none: all. */
  Suite(const std::vector<std::string>& only, bool quick);

  /** Needs a current context of the library. An error or a warning in the library's log is a fault of the check during
   *  which it came. */
  std::vector<CheckResult> Run(LogCapture& log, const std::vector<Listener*>& listeners) const;

 private:
  CheckResult _Run(const Check& check, LogCapture& log) const;

  std::vector<const CheckGroup*> groups_;
  bool quick_;
};

}  // namespace qvgtool::selftest
