#include "media/imageFiles.h"

#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "media/colorConversion.h"
#include "media/frameEdits.h"
#include "media/mediaReader.h"

namespace qvgtool {
namespace {

// The callbacks get only a path: what else they need is kept here.
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

FramePtr FindImage(const State& state, const std::string& path) {
  if (const auto provided = state.provided.find(path); provided != state.provided.end()) {
    return SharedCopy(*provided->second);
  }
  FramePtr image = OpenMedia(path, {.sound = false})->Read();
  if (!image) throw Error(path + ": no picture could be decoded");
  return image;
}

QVGHostImage* DecodeImage(const char* path) {
  State& state = Shared();
  const std::scoped_lock lock(state.mutex);
  try {
    const FramePtr source = FindImage(state, path);
    ColorConverter converter;
    Frame frame = converter.Convert(*source, PixelFormat::kBGRA, source->width, source->height, kRgbColors);
    CutTo(frame, state.width, state.height);
    auto image = std::make_unique<OwnedImage>();
    for (int y = 0; y < frame.height; ++y) {
      image->memory.insert(image->memory.end(), Row(frame, y), Row(frame, y) + ptrdiff_t{4} * frame.width);
    }
    image->record.pixels = image->memory.data();
    image->record.width = frame.width;
    image->record.height = frame.height;
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
