#include "media/plain/imageCodec.h"

#include <algorithm>
#include <cctype>
#include <climits>

#include "media/error.h"
#include "platform/paths.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_NO_STDIO
#define STBI_NO_HDR
#define STBI_NO_LINEAR
#include <stb/stb_image.h>
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

namespace qvgtool {
namespace {

void Append(void* file, void* bytes, int size) {
  const auto* begin = static_cast<const uint8_t*>(bytes);
  auto& to = *static_cast<std::vector<uint8_t>*>(file);
  to.insert(to.end(), begin, begin + size);
}

bool EncodePng(std::vector<uint8_t>& file, int width, int height, int channels, const uint8_t* pixels, int) {
  return stbi_write_png_to_func(Append, &file, width, height, channels, pixels, width * channels) != 0;
}

// quality: 0 best to 51 smallest, mapped to the encoder's 100 to 1.
bool EncodeJpeg(std::vector<uint8_t>& file, int width, int height, int channels, const uint8_t* pixels, int quality) {
  return stbi_write_jpg_to_func(Append, &file, width, height, channels, pixels, 100 - quality * 99 / 51) != 0;
}

bool EncodeBmp(std::vector<uint8_t>& file, int width, int height, int channels, const uint8_t* pixels, int) {
  return stbi_write_bmp_to_func(Append, &file, width, height, channels, pixels) != 0;
}

bool EncodeTga(std::vector<uint8_t>& file, int width, int height, int channels, const uint8_t* pixels, int) {
  return stbi_write_tga_to_func(Append, &file, width, height, channels, pixels) != 0;
}

constexpr ImageEncoder kEncoders[] = {{".png", "png", true, &EncodePng},
                                      {".jpg", "jpeg", false, &EncodeJpeg},
                                      {".jpeg", "jpeg", false, &EncodeJpeg},
                                      {".bmp", "bmp", false, &EncodeBmp},
                                      {".tga", "tga", true, &EncodeTga}};

}  // namespace

FramePtr DecodeImage(const std::vector<uint8_t>& file, const std::string& name) {
  int width = 0, height = 0, channels = 0;
  const int size = static_cast<int>(std::min<size_t>(file.size(), INT_MAX));
  if (stbi_info_from_memory(file.data(), size, &width, &height, &channels) == 0) {
    throw Error(name +
                ": no image that can be read here, and no Y4M stream (ffmpeg -i FILE -f yuv4mpegpipe - gives one)");
  }
  const bool alpha = channels == 2 || channels == 4;
  const int wanted = alpha ? 4 : 3;
  uint8_t* const pixels = stbi_load_from_memory(file.data(), size, &width, &height, &channels, wanted);
  if (!pixels) throw Error(name + ": damaged: " + stbi_failure_reason());
  auto frame = std::make_unique<Frame>();
  frame->memory.reset(pixels, stbi_image_free);
  frame->format = alpha ? PixelFormat::kRGBA : PixelFormat::kRGB;
  frame->width = width;
  frame->height = height;
  frame->data[0] = pixels;
  frame->stride[0] = wanted * width;
  frame->alpha = alpha;
  frame->colors = kRgbColors;
  return frame;
}

const ImageEncoder* FindImageEncoder(const std::string& path) {
  std::string ending = NameOf(PathOf(path).extension());
  std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) { return std::tolower(c); });
  const auto* row = std::find_if(std::begin(kEncoders), std::end(kEncoders),
                                 [&](const ImageEncoder& candidate) { return ending == candidate.ending; });
  return row == std::end(kEncoders) ? nullptr : row;
}

}  // namespace qvgtool
