#include "core/log.h"

#include <mutex>
#include <utility>

#include "utils/log.h"

namespace qvgst {

GstDebugCategory* category = nullptr;

namespace {

// The library works on threads of its own, too: it starts on one.
std::mutex mutex;
std::string linesOfAll;
thread_local std::string linesOfThread;

// The first ones: what follows is mostly what comes of them.
void Append(std::string& lines, const std::string& line) {
  constexpr size_t kMost = 2000;
  if (lines.size() < kMost) lines += (lines.empty() ? "" : "\n") + line;
}

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
  Append(linesOfThread, message);
  const std::lock_guard lock(mutex);
  Append(linesOfAll, message);
}

}  // namespace

void TakeLibraryLog() {
  GST_DEBUG_CATEGORY_INIT(category, "qvg", 0, "qvGLRenderer");
  qvg::Logger::Instance().SetSink(&Receive, 0);
}

std::string TakeFailureLines() {
  const std::lock_guard lock(mutex);
  const std::string ofAll = std::exchange(linesOfAll, {});
  const std::string ofThread = std::exchange(linesOfThread, {});
  return ofThread.empty() ? ofAll : ofThread;
}

}  // namespace qvgst
