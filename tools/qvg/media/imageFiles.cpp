#include "media/imageFiles.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "media/colorConversion.h"
#include "media/mediaReader.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace qvgtool {
namespace {

// The callbacks get nothing but a path: what else they need is kept here.
struct State {
  std::mutex mutex;
  std::map<std::string, FramePtr> provided;
  int width = 0, height = 0;
  std::string error;
};
State& Shared() {
  static State state;
  return state;
}

struct OwnedImage {
  QVGHostImage record = {};
  std::vector<uint8_t> memory;
};

QVGHostImage* DecodeImage(const char* path) {
  State& state = Shared();
  const std::scoped_lock lock(state.mutex);
  try {
    const auto provided = state.provided.find(path);
    const FramePtr source =
        provided != state.provided.end() ? Checked(FramePtr(av_frame_clone(provided->second.get()))) : ReadImage(path);
    ColorConverter converter;
    const FramePtr frame = Checked(FramePtr(av_frame_clone(&converter.Convert(
        *source, AV_PIX_FMT_BGRA, source->width, source->height, {.rgb = true, .fullRange = true}))));
    CutTo(*frame, state.width, state.height);
    auto image = std::make_unique<OwnedImage>();
    image->memory.resize(static_cast<size_t>(frame->width) * static_cast<size_t>(frame->height) * 4);
    av_image_copy_to_buffer(image->memory.data(), static_cast<int>(image->memory.size()), frame->data, frame->linesize,
                            AV_PIX_FMT_BGRA, frame->width, frame->height, 1);
    image->record.pixels = image->memory.data();
    image->record.width = frame->width;
    image->record.height = frame->height;
    // The record is the owner's first member.
    return &image.release()->record;
  } catch (const std::exception& error) {
    state.error = error.what();
    return nullptr;
  }
}

void FreeImage(const char*, QVGHostImage* image) { delete reinterpret_cast<OwnedImage*>(image); }

}  // namespace

const QVGConfig& LibraryConfig() {
  static const QVGConfig config = {{}, DecodeImage, FreeImage};
  return config;
}

void CutTo(AVFrame& frame, int width, int height) {
  if (width < 1 || height < 1) return;
  const double shape = static_cast<double>(width) / height;
  const int keptWidth = std::clamp(static_cast<int>(std::lround(frame.height * shape)), 1, frame.width);
  const int keptHeight = std::clamp(static_cast<int>(std::lround(frame.width / shape)), 1, frame.height);
  frame.crop_left = static_cast<size_t>(frame.width - keptWidth) / 2;
  frame.crop_right = static_cast<size_t>(frame.width - keptWidth) - frame.crop_left;
  frame.crop_top = static_cast<size_t>(frame.height - keptHeight) / 2;
  frame.crop_bottom = static_cast<size_t>(frame.height - keptHeight) - frame.crop_top;
  av_frame_apply_cropping(&frame, AV_FRAME_CROP_UNALIGNED);
}

void CutImagesTo(int width, int height) {
  const std::scoped_lock lock(Shared().mutex);
  Shared().width = width;
  Shared().height = height;
}

void ProvideImage(const std::string& name, FramePtr image) {
  const std::scoped_lock lock(Shared().mutex);
  Shared().provided[name] = std::move(image);
}

std::string TakeImageError() {
  const std::scoped_lock lock(Shared().mutex);
  return std::exchange(Shared().error, {});
}

}  // namespace qvgtool
