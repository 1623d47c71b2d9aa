#include "media/plain/writers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "media/numberedNames.h"
#include "media/plain/yuvFormat.h"

namespace qvgtool {
namespace {

Error NotWritten(const std::string& path) { return Error(fmt::format("cannot write {}: {}", path, strerror(errno))); }

}  // namespace

ImageWriter::ImageWriter(const std::string& path, const WriteOptions& options, const ImageEncoder& encoder)
    : path_(path), encoder_(encoder), quality_(options.quality), numbered_(NumberedName(path, 0).has_value()) {}

void ImageWriter::Open(const VideoFormat& format, const Frame&, FrameSource*, double) {
  format_ = format;
  alpha_ = format.alpha && encoder_.alpha;
}

void ImageWriter::Write(FramePtr frame) {
  const PixelFormat format = alpha_ ? PixelFormat::kRGBA : PixelFormat::kRGB;
  const Frame& picture = converter_.Convert(*frame, format, frame->width, frame->height, kRgbColors);
  const int channels = alpha_ ? 4 : 3;
  std::vector<uint8_t> rows, bytes;
  rows.reserve(static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height * channels));
  for (int y = 0; y < picture.height; ++y) {
    rows.insert(rows.end(), Row(picture, y), Row(picture, y) + ptrdiff_t{channels} * picture.width);
  }
  const std::string path = numbered_ ? *NumberedName(path_, ++written_) : path_;
  if (!encoder_.encode(bytes, picture.width, picture.height, channels, rows.data(), quality_)) {
    throw Error(fmt::format("{}: {} does not take {} x {}", path, encoder_.name, picture.width, picture.height));
  }
  const FilePtr file = OpenFile(path, "w");
  if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() || std::fflush(file.get()) != 0) {
    throw NotWritten(path);
  }
  seconds_ = static_cast<double>(frame->pts) * Value(format_.timeBase) + Value(Inverse(format_.frameRate));
}

Y4mWriter::Y4mWriter(std::string path, const WriteOptions& options)
    : path_(std::move(path)), standardOutput_(options.standardOutput) {}

void Y4mWriter::Open(const VideoFormat& format, const Frame&, FrameSource*, double) {
  format_ = format;
  own709_ = GuessedMatrix(format.height) == kMatrix709;
  file_ = path_ == "-" ? OpenDescriptor(standardOutput_) : OpenFile(path_, "w");
  if (!file_) throw NotWritten(path_);
  const Rational aspect = format.pixelAspect.num > 0 ? format.pixelAspect : Rational{0, 0};
  const std::string header =
      fmt::format("YUV4MPEG2 W{} H{} F{}:{} Ip A{}:{} C420jpeg XCOLORRANGE=LIMITED\n", format.width, format.height,
                  format.frameRate.num, format.frameRate.den, aspect.num, aspect.den);
  if (std::fputs(header.c_str(), file_.get()) < 0) _Fail();
}

void Y4mWriter::_Fail() const {
  throw Error(fmt::format("cannot write {}: {}: it ends after {:.1f} s", path_, strerror(errno), seconds_));
}

void Y4mWriter::_WritePicture(const Frame& i420) {
  std::FILE* const file = file_.get();
  if (std::fputs("FRAME\n", file) < 0) _Fail();
  for (size_t plane = 0; plane < 3; ++plane) {
    const int half = plane == 0 ? 1 : 2;
    const auto width = static_cast<size_t>(i420.width / half);
    for (int y = 0; y < i420.height / half; ++y) {
      if (std::fwrite(Row(i420, y, plane), 1, width, file) != width) _Fail();
    }
  }
}

void Y4mWriter::Write(FramePtr frame) {
  const Frame* picture = frame.get();
  if (frame->format == PixelFormat::kRGBA) {
    if (!converted_) converted_ = NewYuvFrame(*FindYuv(PixelFormat::kI420), format_.width, format_.height);
    EncodeI420(*frame, kMatrix709, *converted_);
    picture = converted_.get();
  }
  _WritePicture(*picture);
  ++written_;
  seconds_ = static_cast<double>(written_) * Value(Inverse(format_.frameRate));
}

void Y4mWriter::Finish(bool) {
  if (!file_) return;
  const bool written = std::fflush(file_.get()) == 0;
  if (!written) _Fail();
  file_.reset();
}

}  // namespace qvgtool
