#include "picture/logCapture.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <stdexcept>

#include "media/complain.h"
#include "platform/files.h"

namespace qvgtool {
namespace {

// Written into the pipe after everything logged so far, to know when that has arrived.
constexpr char kMark[] = "\x01qvg-mark";

LogLine Parse(const std::string& raw) {
  LogLine line;
  line.raw = line.message = raw;
  constexpr std::pair<const char*, LogLine::Level> kPrefixes[] = {{"[ERROR] ", LogLine::kError},
                                                                  {"[WARNING] ", LogLine::kWarning},
                                                                  {"[INFO] ", LogLine::kOther},
                                                                  {"[DEBUG] ", LogLine::kOther}};
  for (const auto& [prefix, level] : kPrefixes) {
    if (!line.message.starts_with(prefix)) continue;
    line.level = level;
    line.message.erase(0, std::string(prefix).size());
    break;
  }
  if (line.message.starts_with('[')) line.message.erase(0, line.message.find(']') + 1);
  line.message.erase(std::min(line.message.size(), line.message.rfind(",line=")));
  return line;
}

}  // namespace

LogCapture::LogCapture() {
  int ends[2];
  std::fflush(stdout);
  realStdout_ = dup(STDOUT_FILENO);
  if (realStdout_ < 0 || !OpenPipe(ends)) throw std::runtime_error("no file descriptors left");
  dup2(ends[1], STDOUT_FILENO);
  close(ends[1]);
  reader_ = std::thread([this, pipe = ends[0]] { _ReadLines(pipe); });
}

LogCapture::~LogCapture() {
  std::fflush(stdout);
  dup2(realStdout_, STDOUT_FILENO);
  close(realStdout_);
  reader_.join();
}

void LogCapture::_ReadLines(int pipe) {
  std::string pending;
  char block[4096];
  for (ssize_t size; (size = read(pipe, block, sizeof block)) != 0;) {
    if (size < 0 && errno != EINTR) break;
    pending.append(block, static_cast<size_t>(std::max<ssize_t>(size, 0)));
    for (size_t end; (end = pending.find('\n')) != std::string::npos; pending.erase(0, end + 1)) {
      std::string text = pending.substr(0, end);
      const std::scoped_lock lock(mutex_);
      if (text.ends_with('\r')) text.pop_back();
      if (text == kMark) {
        ++marks_;
        marked_.notify_all();
      } else if (!text.empty()) {
        lines_.push_back(Parse(text));
        if (forward_) _Print(lines_.back());
      }
    }
  }
  close(pipe);
}

void LogCapture::_Print(const LogLine& line) const {
  if (verbose_) {
    std::fputs((line.raw + "\n").c_str(), stderr);
  } else if (line.level != LogLine::kOther) {
    Complain("library: " + line.message);
  }
}

void LogCapture::Forward(bool verbose) {
  const auto before = Lines();
  const std::scoped_lock lock(mutex_);
  forward_ = true;
  verbose_ = verbose;
  if (!verbose) return;
  for (const LogLine& line : before) _Print(line);
}

std::vector<LogLine> LogCapture::Lines() {
  std::fflush(stdout);
  std::unique_lock lock(mutex_);
  const int wanted = marks_ + 1;
  const std::string mark = std::string(kMark) + "\n";
  if (write(STDOUT_FILENO, mark.data(), mark.size()) > 0) {
    marked_.wait_for(lock, std::chrono::seconds(2), [&] { return marks_ >= wanted; });
  }
  return lines_;
}

std::string NoContextReason(LogCapture& log) {
  std::string reason;
  for (const LogLine& line : log.Lines()) {
    if (line.level == LogLine::kError && reason.empty()) reason = line.message;
  }
  return "the library could not start" + (reason.empty() ? "" : ": " + reason) + " (qvg info tells more)";
}

}  // namespace qvgtool
