#include "selftest/images.h"

#include <deque>
#include <vector>

namespace qvgtool::selftest {
namespace {

struct DecodedImage : QVGHostImage {
  std::vector<uint8_t> bytes;
};

// Paths are the images' numbers. The images stay until the program ends.
std::deque<DecodedImage>& Images() {
  static std::deque<DecodedImage> images;
  return images;
}

QVGHostImage* Decode(const char* path) {
  const auto index = static_cast<size_t>(std::atoi(path));
  return index < Images().size() ? &Images()[index] : nullptr;
}

}  // namespace

QVGConfig ImageConfig() {
  QVGConfig config = {};
  config.decodeImage = &Decode;
  return config;
}

std::string NewImage(const qvg::reference::Image& image) {
  DecodedImage& decoded = Images().emplace_back();
  decoded.bytes = Bytes(image, true);
  decoded.pixels = decoded.bytes.data();
  decoded.width = image.width;
  decoded.height = image.height;
  return std::to_string(Images().size() - 1);
}

}  // namespace qvgtool::selftest
