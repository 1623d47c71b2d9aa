#include "selftest/suite.h"

#include <algorithm>
#include <chrono>
#include <exception>

namespace qvgtool::selftest {
namespace {

size_t CountLines(LogCapture& log) { return log.Lines().size(); }

}  // namespace

Suite::Suite(const std::vector<std::string>& only, bool quick) : quick_(quick) {
  for (const CheckGroup& group : CheckGroups()) {
    if (only.empty() || std::find(only.begin(), only.end(), group.name) != only.end()) groups_.push_back(&group);
  }
}

std::vector<CheckResult> Suite::Run(LogCapture& log, const std::vector<Listener*>& listeners) const {
  std::vector<CheckResult> results;
  for (const CheckGroup* group : groups_) {
    for (Listener* listener : listeners) listener->Begins(*group);
    for (const Check& check : group->make()) {
      for (Listener* listener : listeners) listener->Begins(check);
      results.push_back(_Run(check, log));
      for (Listener* listener : listeners) listener->Ended(results.back());
    }
  }
  return results;
}

CheckResult Suite::_Run(const Check& check, LogCapture& log) const {
  const size_t linesBefore = CountLines(log);
  const auto begin = std::chrono::steady_clock::now();
  Comparison comparison(check.limit, quick_);
  try {
    check.run(comparison);
    if (comparison.errors.compared == 0) comparison.Record("nothing was compared");
  } catch (const std::exception& error) {
    comparison.Record(error.what());
  }
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
  comparison.Case("the library's log");
  const std::vector<LogLine> lines = log.Lines();
  for (size_t i = linesBefore; i < lines.size(); ++i) {
    if (lines[i].level != LogLine::kOther) comparison.Record(lines[i].message);
  }
  return {check.group,           check.name,        check.limit,  comparison.errors.largest, comparison.errors.compared,
          comparison.faultCount, comparison.faults, taken.count()};
}

}  // namespace qvgtool::selftest
