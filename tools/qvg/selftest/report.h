// The findings of a self-test.
#pragma once

#include <string>
#include <vector>

#include "picture/logCapture.h"
#include "selftest/machine.h"
#include "selftest/suite.h"
#include "selftest/timing.h"

namespace qvgtool::selftest {

struct Report {
  bool started = false;  // The library gave a context.
  bool quick = false;
  DisplayFacts display;
  Facts versions, environment, platform, driver, limits;
  std::vector<std::string> extensions;
  std::vector<CheckResult> checks;
  std::vector<TimingResult> timing;
  double seconds = 0;
  std::vector<LogLine> log;

  std::vector<const CheckResult*> Failed() const {
    std::vector<const CheckResult*> failed;
    for (const CheckResult& check : checks) {
      if (!check.Passed()) failed.push_back(&check);
    }
    return failed;
  }
  /** At least one check, and no fault. */
  bool Passed() const { return !checks.empty() && Failed().empty(); }
};

}  // namespace qvgtool::selftest
