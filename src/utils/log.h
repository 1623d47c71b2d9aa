#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "utils/sourceLocation.h"

namespace qvg {

template <class T>
class NeverDestroyed;

enum LogLevel : int32_t { kLogError = 0, kLogWarning = 1, kLogInfo = 2, kLogDebug = 3 };

/// Receives a complete line. The default sink writes it to standard output and the platform's debugger output.
using LogSink = void (*)(const std::string& message, int32_t level, intptr_t userContext);

/// The process-wide logger. A line is passed on when its level is at most the threshold, which is the debug level
/// unless the environment's QVG_LOG_LEVEL names another (error, warning, info, debug; off: no line at all).
class Logger {
 public:
  static Logger& Instance();

  void Log(const std::string& message, int32_t level);
  /// Replaces the sink; null drops every line.
  void SetSink(LogSink sink, intptr_t userContext);
  void SetThreshold(int32_t threshold);

 private:
  template <class T>
  friend class NeverDestroyed;
  Logger();

  std::mutex mutex_;
  LogSink sink_;
  intptr_t userContext_ = 0;
  int32_t threshold_;
};

/// Writes prefix and message as one line; an empty message writes nothing. Levels outside LogLevel get no prefix.
void DefaultLogSink(const std::string& message, int32_t level, intptr_t userContext);

/// The threshold that a value of QVG_LOG_LEVEL stands for; that of debug lines for null and for unknown values.
int32_t ThresholdNamed(const char* name);

/// Local time with milliseconds, "2025-03-31.08:05:09.007".
std::string LogTimestamp(std::chrono::system_clock::time_point time);

// Neither throws: without memory for it a line is lost.

/// One line that says where it was written: timestamp, message, source line, function signature, source file.
void LogLocated(int32_t level, std::string_view message, SourceLocation where = SourceLocation::current()) noexcept;

/// One line with timestamp and message alone.
void LogShort(int32_t level, std::string_view message) noexcept;

}  // namespace qvg
