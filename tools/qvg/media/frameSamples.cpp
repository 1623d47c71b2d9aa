#include "media/frameSamples.h"

#include "media/colorConversion.h"
#include "media/frameEdits.h"

namespace qvgtool {
namespace {

constexpr int kSamples = 6;
constexpr int kFramesAhead = 31;  // About a second; every sixth frame is sampled.

}  // namespace

FramePtr Sample(const Frame& frame, int quarterTurns) {
  const FramePtr upright = Upright(frame, quarterTurns);
  ColorConverter converter;
  return SharedCopy(converter.Convert(*upright, PixelFormat::kRGBA, upright->width, upright->height, kRgbColors));
}

// Opens the clip for each sample and takes the frame that is quickest to reach. When that is no later than the previous
// sample, the previous reader goes on instead: no frame is decoded twice.
std::vector<FramePtr> SamplesOf(const std::string& path, const ReadOptions& options) {
  std::vector<FramePtr> samples;
  std::unique_ptr<FrameSource> last;
  double seconds = 0, lastStart = 0, lastTime = -1;
  for (int i = 0; i < kSamples; ++i) {
    // The last sample lies a little before the end, where every clip has a frame.
    const double start = options.from + seconds * i / (kSamples - 0.8);
    const auto timeOf = [](const Frame& frame, const FrameSource& reader, double begin) {
      return begin + static_cast<double>(frame.pts) * Value(reader.Format().timeBase);
    };
    auto reader = OpenMedia(path, {.from = start, .sound = false, .exactly = i == 0});
    FramePtr frame = reader->Read();
    if (last && (!frame || timeOf(*frame, *reader, start) <= lastTime)) {
      reader = std::move(last);
      do frame = reader->Read();
      while (frame && timeOf(*frame, *reader, lastStart) < start);
    } else {
      lastStart = start;
    }
    if (!frame) break;
    lastTime = timeOf(*frame, *reader, lastStart);
    last = std::move(reader);
    const VideoFormat& format = last->Format();
    samples.push_back(Sample(*frame, format.quarterTurns));
    if (i == 0) seconds = static_cast<double>(format.frameCount) * Value(Inverse(format.frameRate));
    if (format.still || seconds <= 0) break;
  }
  if (samples.empty()) throw Error(path + ": no picture could be decoded");
  return samples;
}

std::vector<FramePtr> ReadAhead::Samples() {
  std::vector<FramePtr> samples;
  for (int i = 0; i < kFramesAhead; ++i) {
    FramePtr frame = Source().Read();
    if (!frame) break;
    if (i % kSamples == 0) samples.push_back(Sample(*frame, Format().quarterTurns));
    frames_.push_back(std::move(frame));
  }
  return samples;
}

FramePtr ReadAhead::Read() {
  if (frames_.empty()) return Source().Read();
  FramePtr frame = std::move(frames_.front());
  frames_.pop_front();
  return frame;
}

}  // namespace qvgtool
