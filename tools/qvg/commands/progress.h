// Shows how far a command has come: as a line on the terminal, or as JSON for programs.
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

  /** Starts the clock. total: the expected number of frames, 0 when unknown. */
  void Begin(int64_t total);
  /** seconds: the frame's time in the clip. */
  void Update(int64_t done, double seconds);
  /** Removes the line, to make room for another text. */
  void Clear();
  /** Writes the last object. error: what went wrong, if anything did. */
  void End(int exitCode, const std::string& error);

  /** Since Begin. */
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
