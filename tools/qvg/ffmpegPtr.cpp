#include "ffmpegPtr.h"

#include <mutex>

namespace qvgtool {
namespace {

std::mutex logMutex;
std::string lastMessage;
bool printAll = false;

void OnLog(void* object, int level, const char* format, va_list arguments) {
  if (printAll) {
    va_list copy;
    va_copy(copy, arguments);
    av_log_default_callback(object, level, format, copy);
    va_end(copy);
  }
  if (level > AV_LOG_ERROR) return;
  char line[512];
  int prefix = 0;
  av_log_format_line2(object, level, format, arguments, line, sizeof line, &prefix);
  std::string text = line;
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  const std::scoped_lock lock(logMutex);
  if (!text.empty()) lastMessage = text.substr(text.rfind("] ") == std::string::npos ? 0 : text.rfind("] ") + 2);
}

}  // namespace

FramePtr NewFrame(AVPixelFormat format, int width, int height) {
  FramePtr frame = NewFrame();
  frame->format = format;
  frame->width = width;
  frame->height = height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

std::string FfmpegError(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  const std::scoped_lock lock(logMutex);
  std::string result = text;
  if (!lastMessage.empty() && lastMessage.find(result) == std::string::npos) result += " (" + lastMessage + ")";
  lastMessage.clear();
  return result;
}

void CatchFfmpegLog(bool verbose) {
  printAll = verbose;
  av_log_set_callback(OnLog);
}

}  // namespace qvgtool
