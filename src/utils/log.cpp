#include "utils/log.h"
#include "utils/format.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string_view>

#include "utils/neverDestroyed.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace qvg {

namespace {

struct LevelPrefix {
  int32_t level;
  const char* text;
};

constexpr LevelPrefix kPrefixes[] = {
    {kLogError, "[ERROR] "}, {kLogWarning, "[WARNING] "}, {kLogInfo, "[INFO] "}, {kLogDebug, "[DEBUG] "}};

constexpr struct {
  const char* name;
  int32_t threshold;
} kThresholds[] = {
    {"off", -1}, {"error", kLogError}, {"warning", kLogWarning}, {"info", kLogInfo}, {"debug", kLogDebug}};

const char* Prefix(int32_t level) {
  for (const LevelPrefix& prefix : kPrefixes) {
    if (prefix.level == level) return prefix.text;
  }
  return "";
}

std::tm LocalTime(std::time_t seconds) {
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &seconds);
#else
  localtime_r(&seconds, &local);
#endif
  return local;
}

/// The source's path below the root, without its ending. A compiler cache may have made it relative to the build's
/// folder.
std::string_view PlaceOf(std::string_view path) {
  while (path.starts_with("../")) path.remove_prefix(3);
  return path.substr(0, path.rfind('.'));
}

}  // namespace

Logger& Logger::Instance() {
  static NeverDestroyed<Logger> instance;
  return instance.Get();
}

Logger::Logger() : sink_(&DefaultLogSink), threshold_(ThresholdNamed(std::getenv("QVG_LOG_LEVEL"))) {}

void Logger::Log(const std::string& message, int32_t level) {
  LogSink sink = nullptr;
  intptr_t userContext = 0;
  {
    std::lock_guard lock(mutex_);
    if (threshold_ < level) return;
    sink = sink_;
    userContext = userContext_;
  }
  if (sink != nullptr) sink(message, level, userContext);
}

void Logger::SetSink(LogSink sink, intptr_t userContext) {
  std::lock_guard lock(mutex_);
  sink_ = sink;
  userContext_ = userContext;
}

void Logger::SetThreshold(int32_t threshold) {
  std::lock_guard lock(mutex_);
  threshold_ = threshold;
}

void DefaultLogSink(const std::string& message, int32_t level, intptr_t /*userContext*/) {
  if (message.empty()) return;
  static NeverDestroyed<std::mutex> mutex;
  std::lock_guard lock(mutex.Get());
  const char* prefix = Prefix(level);
  std::cout << prefix << message << std::endl;
#ifdef _WIN32
  OutputDebugStringA((prefix + message + "\n").c_str());
#endif
}

int32_t ThresholdNamed(const char* name) {
  for (const auto& [known, threshold] : kThresholds) {
    if (name != nullptr && std::string_view(name) == known) return threshold;
  }
  return kLogDebug;
}

std::string LogTimestamp(std::chrono::system_clock::time_point time) {
  using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
  const int64_t milliseconds = std::chrono::floor<Ticks>(time.time_since_epoch()).count() / 10'000;
  const std::tm local = LocalTime(static_cast<std::time_t>(milliseconds / 1000));
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d.%02d:%02d:%02d.%03d", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, static_cast<int>(milliseconds % 1000));
  return text;
}

void LogLocated(int32_t level, std::string_view message, SourceLocation where) noexcept {
  try {
    Logger::Instance().Log(Format("[{}]{},line={},func={},file={}", LogTimestamp(std::chrono::system_clock::now()),
                                  message, where.line(), where.function_name(), PlaceOf(where.file_name())),
                           level);
  } catch (...) {  // Without memory for a line there is nothing left to say.
  }
}

void LogShort(int32_t level, std::string_view message) noexcept {
  try {
    Logger::Instance().Log(Format("[{}]{}", LogTimestamp(std::chrono::system_clock::now()), message), level);
  } catch (...) {  // As above.
  }
}

}  // namespace qvg
