#include "core/log.h"

#include <mutex>
#include <utility>

#include "utils/log.h"

namespace qvgst {

GstDebugCategory* category = nullptr;

namespace {

// The library works on threads of its own, too: it starts on one.
std::mutex mutex;
std::string lastError;
thread_local std::string lastOfThread;

GstDebugLevel LevelOf(int32_t level) {
  switch (level) {
    case qvg::kLogError:
      return GST_LEVEL_ERROR;
    case qvg::kLogWarning:
      return GST_LEVEL_WARNING;
    case qvg::kLogInfo:
      return GST_LEVEL_INFO;
    default:
      return GST_LEVEL_DEBUG;
  }
}

void Receive(const std::string& message, int32_t level, intptr_t /*userContext*/) {
  GST_CAT_LEVEL_LOG(category, LevelOf(level), nullptr, "%s", message.c_str());
  if (level > qvg::kLogWarning) return;
  lastOfThread = message;
  if (level > qvg::kLogError) return;
  const std::lock_guard lock(mutex);
  lastError = message;
}

}  // namespace

void TakeLibraryLog() {
  GST_DEBUG_CATEGORY_INIT(category, "qvg", 0, "qvGLRenderer");
  qvg::Logger::Instance().SetSink(&Receive, 0);
}

std::string TakeFailureLine() {
  const std::lock_guard lock(mutex);
  std::string line = std::exchange(lastOfThread, {});
  if (line.empty()) line = lastError;
  lastError.clear();
  return line;
}

}  // namespace qvgst
