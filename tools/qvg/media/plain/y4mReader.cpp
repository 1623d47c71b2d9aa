#include "media/plain/y4mReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace qvgtool {
namespace {

constexpr size_t kLongestLine = 4096;
constexpr char kFrame[] = "FRAME";
constexpr int64_t kBareFrameLine = sizeof kFrame;  // With the newline.
constexpr int kLargest = 1 << 15;

Rational ParsedRatio(const std::string& text) {
  Rational ratio;
  return std::sscanf(text.c_str(), "%d:%d", &ratio.num, &ratio.den) == 2 ? ratio : Rational{};
}

int64_t SizeOf(const YuvFormat& layout, int width, int height) {
  int64_t samples = 0;
  for (size_t plane = 0; plane < layout.Planes(); ++plane) {
    samples += int64_t{layout.Width(width, plane)} * layout.Height(height, plane);
  }
  return samples * static_cast<int64_t>(layout.BytesOfSample());
}

}  // namespace

Y4mReader::Y4mReader(ByteInput input, const ReadOptions& options) : input_(std::move(input)), stop_(options.stop) {
  _ReadHeader(options);
  if (options.from <= 0) return;
  start_ = static_cast<int64_t>(std::ceil(options.from * Value(format_.frameRate) - 1e-6));
  if (format_.frameCount > 0) format_.frameCount = std::max<int64_t>(0, format_.frameCount - start_);
  // An input that can't seek is read from its beginning.
  if (!_GoTo(start_)) {
    while (next_ < start_ && _ReadNext()) {
    }
  }
}

void Y4mReader::_ReadHeader(const ReadOptions& options) {
  std::istringstream fields(input_.ReadLine(kLongestLine));
  std::string field;
  fields >> field;
  while (fields >> field) _TakeField(field[0], field.substr(1), options);
  if (!layout_) layout_ = FindYuv(PixelFormat::kI420);
  if (format_.width < 1 || format_.height < 1 || format_.width > kLargest || format_.height > kLargest) {
    throw Error(input_.Name() + ": damaged: the stream's header says no size");
  }
  colors_.matrix = GuessedMatrix(format_.height);
  format_.timeBase = Inverse(format_.frameRate);
  header_ = input_.Position();
  frameSize_ = SizeOf(*layout_, format_.width, format_.height);
  if (input_.Size() > 0) format_.frameCount = (input_.Size() - header_) / (frameSize_ + kBareFrameLine);
}

void Y4mReader::_TakeField(char key, const std::string& value, const ReadOptions& options) {
  constexpr char kRange[] = "COLORRANGE=";
  switch (key) {
    case 'W':
      format_.width = std::atoi(value.c_str());
      break;
    case 'H':
      format_.height = std::atoi(value.c_str());
      break;
    case 'F':
      if (const Rational rate = ParsedRatio(value); rate.num > 0 && rate.den > 0) format_.frameRate = rate;
      break;
    case 'A':
      if (const Rational aspect = ParsedRatio(value); aspect.den > 0) format_.pixelAspect = aspect;
      break;
    case 'I':
      if (options.deinterlace && (value == "t" || value == "b" || value == "m")) {
        throw Error(input_.Name() +
                    ": interlaced pictures can't be made whole here: ffmpeg -vf bwdif does it before, or "
                    "--no-deinterlace keeps the lines");
      }
      break;
    case 'C': {
      const auto known = YuvFormats();
      const auto row = std::find_if(known.begin(), known.end(), [&](const YuvFormat& f) { return value == f.name; });
      if (row == known.end()) {
        throw Error(
            fmt::format("{}: pictures of the kind {} can't be read here (ffmpeg -pix_fmt yuv420p gives those "
                        "that can)",
                        input_.Name(), value));
      }
      layout_ = &*row;
      break;
    }
    case 'X':
      if (value.starts_with(kRange)) colors_.fullRange = value.substr(sizeof kRange - 1) == "FULL";
      break;
    default:
      break;
  }
}

FramePtr Y4mReader::_ReadNext() {
  if (!damage_.empty()) return nullptr;
  const std::string line = input_.ReadLine(kLongestLine);
  if (line.empty() || _Stopped()) return nullptr;
  const auto fail = [&](const std::string& what) {
    damage_ = input_.Failure().empty() ? what : input_.Failure();
    return nullptr;
  };
  if (!line.starts_with(kFrame)) return fail("no picture begins where one should");
  FramePtr frame = NewYuvFrame(*layout_, format_.width, format_.height);
  // The planes are contiguous, in memory as in the stream.
  const size_t read = input_.Read(frame->data[0], static_cast<size_t>(frameSize_));
  if (read < static_cast<size_t>(frameSize_)) return _Stopped() ? nullptr : fail("the stream ends within a picture");
  frame->colors = colors_;
  frame->pts = next_++ - start_;
  return frame;
}

FramePtr Y4mReader::Read() { return _ReadNext(); }

bool Y4mReader::_GoTo(int64_t frame) {
  const int64_t before = input_.Position();
  const int64_t there = header_ + frame * (frameSize_ + kBareFrameLine);
  if (input_.Size() == 0) return false;
  // There is no frame line to check after the last picture.
  const bool ends = there >= input_.Size();
  if (!input_.GoTo(std::min(there, input_.Size())) || (!ends && !input_.BeginsWith(std::string(kFrame) + "\n"))) {
    input_.GoTo(before);
    return false;
  }
  next_ = frame;
  return true;
}

bool Y4mReader::Seek(double seconds) {
  return _GoTo(start_ + static_cast<int64_t>(std::ceil(std::max(0.0, seconds) * Value(format_.frameRate) - 1e-6)));
}

std::string Y4mReader::Damage() const {
  if (damage_.empty()) return {};
  return fmt::format("{}: damaged: reading ended after {} frames: {}", input_.Name(), next_ - start_, damage_);
}

}  // namespace qvgtool
