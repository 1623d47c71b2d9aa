#include "commands/progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

#include "commands/command.h"
#include "commands/json.h"
#include "media/error.h"

namespace qvgtool {
namespace {

constexpr std::chrono::milliseconds kPause(200);
constexpr int kStandardError = 2;

}  // namespace

std::string ClockText(double seconds) {
  const auto all = static_cast<int64_t>(std::lround(seconds));
  if (all >= 3600) return fmt::format("{}:{:02}:{:02}", all / 3600, all / 60 % 60, all % 60);
  return fmt::format("{}:{:02}", all / 60, all % 60);
}

Progress::Progress(const ProgressOptions& options)
    : json_(options.format == "json"), terminal_(options.format == "auto" && IsTerminal(kStandardError)) {
  if (!options.file.empty()) file_ = OpenFile(options.file, "w");
  if (!options.file.empty() && !file_) throw Error(fmt::format("cannot write {}: {}", options.file, strerror(errno)));
  Begin(0);
}

void Progress::Begin(int64_t total) {
  total_ = total;
  start_ = next_ = std::chrono::steady_clock::now();
}

double Progress::Seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

double Progress::_Rate() const { return static_cast<double>(done_) / std::max(1e-6, Seconds()); }

double Progress::_Remaining() const { return static_cast<double>(total_ - done_) / std::max(1e-6, _Rate()); }

std::string Progress::_Line() const {
  if (total_ < done_ || total_ <= 0) return fmt::format("{} frames, {:.1f} frames/s", done_, _Rate());
  return fmt::format("{} of {} frames, {:.1f} frames/s, {} left", done_, total_, _Rate(), ClockText(_Remaining()));
}

std::string Progress::_Json() const {
  const bool known = total_ >= done_ && total_ > 0;
  return fmt::format(
      "{{\"frame\": {}, \"total\": {}, \"time\": {:.3f}, \"fps\": {:.2f}, \"elapsed\": {:.3f}, "
      "\"remaining\": {}",
      done_, known ? std::to_string(total_) : "null", time_, _Rate(), Seconds(),
      known && done_ > 0 ? fmt::format("{:.3f}", _Remaining()) : "null");
}

// A closed terminal and a reader that left are no reason to stop.
void Progress::_Tell(const std::string& text) const {
  std::FILE* const told = file_ ? file_.get() : stderr;
  std::fputs(text.c_str(), told);
  std::fflush(told);
}

void Progress::Update(int64_t done, double seconds) {
  done_ = done;
  time_ = seconds;
  const auto now = std::chrono::steady_clock::now();
  if (!(terminal_ || json_) || now < next_) return;
  next_ = now + kPause;
  _Tell(json_ ? _Json() + ", \"done\": false}\n" : "\r\033[K" + _Line());
  shown_ = terminal_;
}

void Progress::Clear() {
  if (!shown_) return;
  _Tell("\r\033[K");
  shown_ = false;
}

void Progress::End(int exitCode, const std::string& error) {
  if (!json_) return;
  const char* const outcome = exitCode == kDone ? "finished" : exitCode == kInterrupted ? "interrupted" : "failed";
  _Tell(fmt::format("{}, \"done\": true, \"outcome\": \"{}\", \"exit\": {}, \"error\": {}}}\n", _Json(), outcome,
                    exitCode, error.empty() ? "null" : JsonQuoted(error)));
}

}  // namespace qvgtool
