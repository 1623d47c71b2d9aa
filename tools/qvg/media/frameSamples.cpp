#include "media/frameSamples.h"

#include "media/colorConversion.h"
#include "media/filters.h"

namespace qvgtool {
namespace {

constexpr int kSamples = 6;
constexpr int kFramesAhead = 31;  // A second or so; every sixth of them is looked at.

FramePtr Sample(const AVFrame& frame, int quarterTurns) {
  const FramePtr upright = Upright(frame, quarterTurns);
  ColorConverter converter;
  return Checked(FramePtr(av_frame_clone(&converter.Convert(*upright, AV_PIX_FMT_RGBA, upright->width, upright->height,
                                                            {.rgb = true, .fullRange = true}))));
}

}  // namespace

std::vector<FramePtr> SamplesOf(const std::string& path, const ReadOptions& options) {
  std::vector<FramePtr> samples;
  double seconds = 0;
  for (int i = 0; i < kSamples; ++i) {
    // The last one lies a little before the end, where every clip has a frame.
    MediaReader reader(path, {.from = options.from + seconds * i / (kSamples - 0.8), .sound = false});
    const FramePtr frame = reader.Read();
    if (frame) samples.push_back(Sample(*frame, reader.Format().quarterTurns));
    if (i == 0) seconds = static_cast<double>(reader.Format().frameCount) * av_q2d(av_inv_q(reader.Format().frameRate));
    if (reader.Format().still || seconds <= 0) break;
  }
  if (samples.empty()) throw Error(path + ": no picture could be decoded");
  return samples;
}

std::vector<FramePtr> ReadAhead::Samples() {
  std::vector<FramePtr> samples;
  for (int i = 0; i < kFramesAhead; ++i) {
    FramePtr frame = source_->Read();
    if (!frame) break;
    if (i % kSamples == 0) samples.push_back(Sample(*frame, Format().quarterTurns));
    frames_.push_back(std::move(frame));
  }
  return samples;
}

FramePtr ReadAhead::Read() {
  if (frames_.empty()) return source_->Read();
  FramePtr frame = std::move(frames_.front());
  frames_.pop_front();
  return frame;
}

}  // namespace qvgtool
