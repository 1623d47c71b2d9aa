// Tells how far a command has come: in a line on the terminal, or as JSON for programs.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "platform/files.h"

namespace qvgtool {

struct ProgressOptions {
  std::string format = "auto";  // "auto": a line when standard error is a terminal; "json"; "none".
  std::string file;             // For JSON; empty: standard error.
};

/** "0:07", "1:02:03" */
std::string ClockText(double seconds);

class Progress {
 public:
  /** Throws Error when the file can't be written. */
  explicit Progress(const ProgressOptions& options);
  ~Progress() { Clear(); }

  /** The clock starts. total: frames expected, 0 when unknown. */
  void Begin(int64_t total);
  /** seconds: the frame's time in the clip. */
  void Update(int64_t done, double seconds);
  /** Removes the line, to make room for another. */
  void Clear();
  /** The last word for programs. error: what went wrong, if anything did. */
  void End(int exitCode, const std::string& error);

  /** Since the beginning. */
  double Seconds() const;

 private:
  double _Rate() const;
  double _Remaining() const;
  std::string _Line() const;
  std::string _Json() const;
  void _Tell(const std::string& text) const;

  bool json_, terminal_;
  bool shown_ = false;
  FilePtr file_;
  int64_t total_ = 0, done_ = 0;
  double time_ = 0;
  std::chrono::steady_clock::time_point start_, next_;
};

}  // namespace qvgtool
