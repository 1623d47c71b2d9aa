#include "media/plain/imageReader.h"

#include <algorithm>
#include <cmath>

#include "media/numberedNames.h"
#include "media/plain/imageCodec.h"
#include "platform/paths.h"

namespace qvgtool {
namespace {

bool IsThere(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(PathOf(path), error);
}

}  // namespace

ImageReader::ImageReader(ByteInput input) : first_(DecodeImage(input.ReadAll(), input.Name())) {
  _Describe();
  format_.still = true;
  format_.frameCount = 1;
}

ImageReader::ImageReader(const std::string& pattern, const ReadOptions& options) : pattern_(pattern) {
  const auto number = FirstNumber(pattern);
  if (!number) throw Error(pattern + ": no such files");
  format_.frameRate = options.imageRate > 0 ? NearestRational(options.imageRate, 100000) : Rational{25, 1};
  format_.timeBase = Inverse(format_.frameRate);
  start_ = *number + static_cast<int>(std::ceil(options.from * Value(format_.frameRate) - 1e-6));
  next_ = start_;
  int end = *number;
  while (IsThere(*NumberedName(pattern, end))) ++end;
  format_.frameCount = std::max(0, end - start_);
  const std::string name = *NumberedName(pattern, std::min(start_, end - 1));
  first_ = DecodeImage(ByteInput(name, nullptr).ReadAll(), name);
  _Describe();
}

void ImageReader::_Describe() {
  format_.width = first_->width;
  format_.height = first_->height;
  format_.alpha = first_->alpha;
}

FramePtr ImageReader::Read() {
  if (pattern_.empty()) return std::move(first_);
  const std::string name = *NumberedName(pattern_, next_);
  if (!IsThere(name)) return nullptr;
  FramePtr frame = next_ == start_ && first_ ? std::move(first_) : nullptr;
  try {
    if (!frame) frame = DecodeImage(ByteInput(name, nullptr).ReadAll(), name);
  } catch (const Error& error) {
    damage_ = error.what();
    return nullptr;
  }
  frame->pts = next_++ - start_;
  return frame;
}

bool ImageReader::Seek(double seconds) {
  if (pattern_.empty()) return false;
  next_ = start_ + static_cast<int>(std::ceil(std::max(0.0, seconds) * Value(format_.frameRate) - 1e-6));
  first_.reset();
  return true;
}

}  // namespace qvgtool
