#include "window/overlay.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <utility>

#include "media/filters.h"
#include "media/text.h"

namespace qvgtool {
namespace {

// Of the fixed-width font, in units of its size.
constexpr double kLetterWidth = 0.61, kLineHeight = 1.35;
constexpr double kSmallest = 7;

// As large as is easy to read in such a window, and smaller where the text needs it.
double FontSize(const std::string& text, int width, int height) {
  size_t longest = 1, count = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line); ++count) longest = std::max(longest, line.size());
  const double fitting = std::min(width / ((static_cast<double>(longest) + 3) * kLetterWidth),
                                  height / ((static_cast<double>(count) + 2) * kLineHeight));
  return std::max(kSmallest, std::min(fitting, std::clamp(height / 36.0, 12.0, 28.0)));
}

// Line by line.
std::string InLines(const std::string& text) {
  constexpr size_t kColumns = 56;
  std::string wrapped;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) wrapped += (wrapped.empty() ? "" : "\n") + Wrapped(line, kColumns);
  return wrapped;
}

// y: a formula of FFmpeg's filter.
std::string TextBox(const std::string& text, int width, int height, const char* y) {
  const double size = FontSize(text, width, height);
  return fmt::format(
      "drawtext=font=DejaVu Sans Mono:fontsize={:.0f}:fontcolor=white:line_spacing={:.0f}:box=1:boxcolor=black@0.72"
      ":boxborderw={:.0f}:expansion=none:x=(w-text_w)/2:y={}:text={}",
      size, size * 0.2, size * 0.6, y, FilterText(text));
}

}  // namespace

void Overlay::Say(const std::string& line, double until) {
  line_ = InLines(line);
  until_ = until;
}

bool Overlay::Expire(double now) {
  if (line_.empty() || now < until_) return false;
  line_.clear();
  return true;
}

const Texture& Overlay::Draw(int width, int height) {
  std::string chain;
  if (!help_.empty()) chain = TextBox(help_, width, height, "(h-text_h)/2");
  if (!line_.empty()) chain += (chain.empty() ? "" : ",") + TextBox(line_, width, height, "h-text_h-1.5*lh");
  const std::string wanted = fmt::format("{} {} {}", width, height, chain);
  if (wanted == drawn_) return texture_;
  drawn_ = wanted;
  texture_ = {};
  if (chain.empty()) return texture_;
  const FramePtr empty = NewFrame(AV_PIX_FMT_RGBA, width, height);
  std::memset(empty->data[0], 0, static_cast<size_t>(empty->linesize[0]) * static_cast<size_t>(height));
  if (const FramePtr text = Filtered(*empty, chain)) {
    texture_ = renderer_.Upload(*text);
  } else if (!std::exchange(failureTold_, true)) {
    fmt::print(stderr, "qvg: no text in the window: {}\n", FfmpegError(AVERROR(ENOENT)));
  }
  return texture_;
}

}  // namespace qvgtool
