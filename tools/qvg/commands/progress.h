// A line on the terminal that tells how far a command has come.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace qvgtool {

/** "0:07", "1:02:03" */
std::string ClockText(double seconds);

class Progress {
 public:
  /** total: frames expected, 0 when unknown. Shows nothing unless standard error is a terminal. */
  explicit Progress(int64_t total);
  ~Progress() { Clear(); }

  void Update(int64_t done);
  /** Removes the line, to make room for another. */
  void Clear();

  double Seconds() const;

 private:
  int64_t total_;
  bool terminal_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point start_, next_;
};

}  // namespace qvgtool
