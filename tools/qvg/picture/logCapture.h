// Captures standard output, to which the library writes its log, while the object lives.
#pragma once

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace qvgtool {

/** One line of the library's log, taken apart. */
struct LogLine {
  enum Level { kError, kWarning, kOther } level = kOther;
  std::string message;  // Without time and place.
  std::string raw;
};

class LogCapture {
 public:
  LogCapture();
  /** Gives standard output back. */
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /** From now on warnings and errors go to standard error; with verbose all lines do, unchanged. */
  void Forward(bool verbose);

  /** A descriptor of the original standard output. */
  int StandardOutput() const { return realStdout_; }

  /** Every line so far. */
  std::vector<LogLine> Lines();

 private:
  void _ReadLines(int pipe);
  void _Print(const LogLine& line) const;

  int realStdout_ = -1;
  std::thread reader_;
  std::mutex mutex_;
  std::condition_variable marked_;
  int marks_ = 0;
  std::vector<LogLine> lines_;
  bool forward_ = false, verbose_ = false;
};

/** One line that says, from the log, why the library gave no context. */
std::string NoContextReason(LogCapture& log);

}  // namespace qvgtool
