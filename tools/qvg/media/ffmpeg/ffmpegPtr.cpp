#include "media/ffmpeg/ffmpegPtr.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>

#include "media/mediaLog.h"

namespace qvgtool {
namespace {

std::mutex logMutex;
std::string lastMessage;
std::string demuxerMessage;
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
  if (text.empty()) return;
  if (const size_t end = text.rfind("] "); end != std::string::npos) text.erase(0, end + 2);
  lastMessage = text;
  const AVClass* kind = object ? *static_cast<const AVClass* const*>(object) : nullptr;
  const auto category = !kind ? AV_CLASS_CATEGORY_NA : kind->get_category ? kind->get_category(object) : kind->category;
  if (category == AV_CLASS_CATEGORY_DEMUXER) demuxerMessage = text;
}

}  // namespace

AvFramePtr NewAvFrame(AVPixelFormat format, int width, int height) {
  AvFramePtr frame = NewAvFrame();
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
  std::string result = code == AVERROR_EXIT ? "interrupted" : text;
  // The system's errors say enough; of FFmpeg's own these are too general.
  constexpr int kGeneral[] = {AVERROR_INVALIDDATA, AVERROR_EXTERNAL, AVERROR(EINVAL), AVERROR(EIO)};
  const bool general = std::find(std::begin(kGeneral), std::end(kGeneral), code) != std::end(kGeneral);
  if (general && !lastMessage.empty() && lastMessage.find(result) == std::string::npos)
    result += " (" + lastMessage + ")";
  lastMessage.clear();
  return result;
}

std::string TakeDemuxerError() {
  const std::scoped_lock lock(logMutex);
  return std::exchange(demuxerMessage, {});
}

void CatchMediaLog(bool verbose) {
  printAll = verbose;
  av_log_set_callback(OnLog);
}

}  // namespace qvgtool
