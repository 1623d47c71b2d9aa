#include "window/overlay.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <utility>

#include "media/complain.h"
#include "media/frameEdits.h"
#include "media/text.h"

namespace qvgtool {
namespace {

// Of the fixed-width font, in units of its size.
constexpr double kLetterWidth = 0.61, kLineHeight = 1.35;
constexpr double kSmallest = 7;

// Large enough to be easy to read in the window, smaller where the text would not fit.
double FontSize(const std::string& text, int width, int height) {
  size_t longest = 1, count = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line); ++count) longest = std::max(longest, line.size());
  const double fitting = std::min(width / ((static_cast<double>(longest) + 3) * kLetterWidth),
                                  height / ((static_cast<double>(count) + 2) * kLineHeight));
  return std::max(kSmallest, std::min(fitting, std::clamp(height / 36.0, 12.0, 28.0)));
}

// Wrapped line by line.
std::string InLines(const std::string& text) {
  constexpr size_t kColumns = 56;
  std::string wrapped;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) wrapped += (wrapped.empty() ? "" : "\n") + Wrapped(line, kColumns);
  return wrapped;
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
  const std::string wanted = fmt::format("{} {} {}\n{}", width, height, help_, line_);
  if (wanted == drawn_) return texture_;
  drawn_ = wanted;
  texture_ = {};
  std::vector<Caption> captions;
  for (const auto& [text, place] : {std::pair(&help_, Caption::kMiddle), std::pair(&line_, Caption::kBelow)}) {
    if (!text->empty()) captions.push_back({place, *text, FontSize(*text, width, height)});
  }
  if (captions.empty()) return texture_;
  const FramePtr empty = NewPackedFrame(PixelFormat::kRGBA, width, height);
  std::memset(empty->data[0], 0, static_cast<size_t>(empty->stride[0]) * static_cast<size_t>(height));
  std::string reason;
  if (const FramePtr text = WithCaptions(*empty, captions, reason)) {
    texture_ = renderer_.Upload(*text);
  } else if (!std::exchange(failureTold_, true)) {
    Complain("no text in the window: " + reason);
  }
  return texture_;
}

}  // namespace qvgtool
