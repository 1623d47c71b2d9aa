// A self-test's report in words, printed line by line while it runs.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "selftest/report.h"

namespace qvgtool {

class SelftestText : public selftest::Listener {
 public:
  explicit SelftestText(std::FILE* file) : file_(file) {}

  /** Display and driver. */
  void Start(const selftest::Report& report);
  void Begins(const selftest::CheckGroup& group) override;
  void Begins(const selftest::Check& check) override;
  void Ended(const selftest::CheckResult& result) override;
  void Timed(const selftest::TimingResult& result);
  /** The verdict, and what to do; reportFile: where a report was written, empty for none. */
  void End(const selftest::Report& report, const std::string& reportFile);

  void Section(const std::string& title, const selftest::Facts& facts);
  void Section(const std::string& title, const std::vector<std::string>& lines);

 private:
  void _Print(const std::string& text);

  std::FILE* file_;
  bool timed_ = false;
};

}  // namespace qvgtool
