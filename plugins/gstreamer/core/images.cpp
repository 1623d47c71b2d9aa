#include "core/images.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numeric>
#include <utility>

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_BMP
#define STBI_ONLY_TGA
#define STBI_FAILURE_USERMSG
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb/stb_image.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace qvgst {
namespace {

thread_local std::string failureOfThread;

struct Image {
  QVGHostImage record = {};
  std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> pixels{nullptr, &stbi_image_free};
};

// Leaves of an image its middle, in the given shape, with the bytes in the order that the library takes.
void CutAndSwap(Image& image, int across, int down) {
  QVGHostImage& record = image.record;
  const int64_t width = record.width, height = record.height;
  const auto cutWidth = static_cast<int>(std::clamp<int64_t>(height * across / down, 1, width));
  const auto cutHeight = static_cast<int>(std::clamp<int64_t>(width * down / across, 1, height));
  const int left = (record.width - cutWidth) / 2, top = (record.height - cutHeight) / 2;
  stbi_uc* to = image.pixels.get();
  for (int y = 0; y < cutHeight; ++y) {
    // Forwards: what is written lies before what is read.
    const stbi_uc* from = image.pixels.get() + ((top + y) * width + left) * 4;
    std::memmove(to, from, static_cast<size_t>(cutWidth) * 4);
    for (int x = 0; x < cutWidth; ++x, to += 4) std::swap(to[0], to[2]);
  }
  record.width = cutWidth;
  record.height = cutHeight;
  record.pixels = image.pixels.get();
}

QVGHostImage* Decode(const char* name) {
  int across = 0, down = 0, prefix = 0, channels = 0;
  const bool shaped = std::sscanf(name, "%d:%d:%n", &across, &down, &prefix) == 2 && across > 0 && down > 0;
  const char* path = name + (shaped ? prefix : 0);
  auto image = std::make_unique<Image>();
  image->pixels.reset(stbi_load(path, &image->record.width, &image->record.height, &channels, 4));
  if (!image->pixels) {
    failureOfThread = std::string(path) + ": " + stbi_failure_reason();
    return nullptr;
  }
  if (!shaped) {
    across = image->record.width;
    down = image->record.height;
  }
  CutAndSwap(*image, across, down);
  return &image.release()->record;
}

// The record is the owner's first member.
void Free(const char* /*path*/, QVGHostImage* image) { delete reinterpret_cast<Image*>(image); }

}  // namespace

std::string ShapePrefix(int width, int height) {
  const int divisor = std::gcd(width, height);
  return std::to_string(width / divisor) + ":" + std::to_string(height / divisor) + ":";
}

std::string TakeImageFailure() { return std::exchange(failureOfThread, {}); }

const QVGConfig kLibraryConfig = {{}, Decode, Free};

}  // namespace qvgst
