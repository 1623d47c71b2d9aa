#include "reference/frames.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qvg::reference {
namespace {

int Half(int value) { return (value + 1) / 2; }

struct PlaneSize {
  int width, height, rowBytes;
};

PlaneSize SizeOf(const Layout& layout, int plane) {
  const Format& format = FormatOf(layout.code);
  PlaneSize size{layout.width, layout.height, 0};
  if (plane > 0) {
    if (layout.halfWidthChroma) size.width = Half(size.width);
    if (format.halfHeight) size.height = Half(size.height);
  }
  size.rowBytes = size.width * format.channels[plane] * format.bytesPerChannel;
  return size;
}

// The texel that contains (i + 0.5) / size * (texels - 1); on a border, the lower one.
int Nearest(int i, int size, int texels) {
  return static_cast<int>((int64_t{2 * i + 1} * (texels - 1) - 1) / (2 * size));
}

// The nearest value that fewer bits can represent, for drivers may keep all bits.
uint8_t Level(uint8_t value, int most) {
  return static_cast<uint8_t>(std::lround(std::lround(value * most / 255.0) * 255.0 / most));
}

constexpr int kCell = 8, kLevels = 6;  // 0, 51, ... 255 of each of Y, U and V
static_assert(kFlatWidth == kLevels * kLevels * kCell && kFlatHeight == kLevels * kCell);

}  // namespace

std::shared_ptr<uint8_t> HeapMemory(size_t size) { return {new uint8_t[size], std::default_delete<uint8_t[]>()}; }

Frame MakeFrame(const Memory& memory, const Layout& layout, const SampleAt& sample) {
  const Format& format = FormatOf(layout.code);
  Frame frame{layout, {}, {}, {}};
  frame.buffer.width = layout.width;
  frame.buffer.height = layout.height;
  frame.buffer.format = layout.code;
  for (int p = 0; p < format.planes; ++p) {
    const PlaneSize size = SizeOf(layout, p);
    const size_t stride = static_cast<size_t>(layout.stride[p]) * layout.strideUnit[p];
    const size_t bytes = stride * (size.height - 1) + size.rowBytes;
    uint8_t* const data = frame.memory.emplace_back(Block{memory(bytes), bytes}).bytes.get();
    std::memset(data, 0xA5, bytes);
    Image& plane = frame.planes.emplace_back(size.width, size.height);
    for (int y = 0; y < size.height; ++y) {
      uint8_t* row = data + stride * y;
      for (int x = 0; x < size.width; ++x) {
        for (int c = 0; c < format.channels[p]; ++c) {
          const uint8_t value = sample(p, c, x, y);
          plane.at(x, y)[c] = value / 255.0;
          const int index = (x * format.channels[p] + c) * format.bytesPerChannel;
          if (format.bytesPerChannel == 2)
            row[index] = static_cast<uint8_t>(37 * x + 91 * y);  // the low byte must be ignored
          row[index + format.bytesPerChannel - 1] = value;
        }
      }
    }
    frame.buffer.plane[p] = data;
    frame.buffer.stride[p] = layout.stride[p];
  }
  return frame;
}

const std::vector<Format>& Formats() {
  static const std::array<int, 4> none = {-1, -1, -1, -1};
  static const std::vector<Format> formats = {
      {QVG_FORMAT_NV12, "NV12", 2, {1, 2, 0}, 1, true, true, none},
      {QVG_FORMAT_YUV16_SP, "YUV16_SP", 2, {1, 2, 0}, 2, true, true, none},
      {QVG_FORMAT_I444, "I444", 3, {1, 1, 1}, 1, false, false, none},
      {QVG_FORMAT_I420, "I420", 3, {1, 1, 1}, 1, true, true, none},
      {QVG_FORMAT_I422, "I422", 3, {1, 1, 1}, 1, true, false, none},
      {QVG_FORMAT_RGBA, "RGBA", 1, {4, 0, 0}, 1, false, false, {0, 1, 2, 3}},
      {QVG_FORMAT_ARGB, "ARGB", 1, {4, 0, 0}, 1, false, false, {1, 2, 3, 0}},
      {QVG_FORMAT_RGB, "RGB", 1, {3, 0, 0}, 1, false, false, {0, 1, 2, -1}},
      {QVG_FORMAT_BGRA, "BGRA", 1, {4, 0, 0}, 1, false, false, {2, 1, 0, 3}},
      {QVG_FORMAT_ABGR, "ABGR", 1, {4, 0, 0}, 1, false, false, {3, 2, 1, 0}},
      {QVG_FORMAT_BGR, "BGR", 1, {3, 0, 0}, 1, false, false, {2, 1, 0, -1}},
      {QVG_FORMAT_RGBX332, "RGBX332", 1, {4, 0, 0}, 1, false, false, {0, 1, 2, -1}},
      {QVG_FORMAT_J420, "J420", 3, {1, 1, 1}, 1, true, true, none},
      {QVG_FORMAT_J422, "J422", 3, {1, 1, 1}, 1, true, false, none},
      {QVG_FORMAT_J444, "J444", 3, {1, 1, 1}, 1, false, false, none},
  };
  return formats;
}

const Format& FormatOf(int code) {
  for (const Format& format : Formats())
    if (format.code == code) return format;
  return Formats().front();
}

std::vector<Layout> Layouts(int code, int width, int height) {
  const Format& format = FormatOf(code);
  std::vector<Layout> layouts;
  const auto add = [&](const char* name, bool half) -> Layout& {
    Layout& layout =
        layouts.emplace_back(Layout{code, width, height, {}, {1, 1, 1}, half, std::string(format.name) + ' ' + name});
    for (int p = 0; p < format.planes; ++p) layout.stride[p] = SizeOf(layout, p).rowBytes;
    return layout;
  };
  if (code == QVG_FORMAT_YUV16_SP) {
    add("half-width chroma", true);
    add("half-width chroma, padded by texels", true).stride = {2 * width + 6, 4 * Half(width) + 4};
    add("half-width chroma, padded by bytes", true).stride = {2 * width + 5, 4 * Half(width) + 3};
    add("full-width chroma", false);
    add("full-width chroma, padded by texels", false).stride = {2 * width + 2, 4 * width + 8};
    add("full-width chroma, padded by bytes", false).stride = {2 * width + 1, 4 * width + 5};
    for (const int pad : {0, 3}) {
      if (width + pad >= 2 * width) continue;
      Layout& layout = add(pad == 0 ? "strides in texels" : "padded strides in texels", false);
      layout.stride = {width + pad, width + (pad == 0 ? 0 : pad + 2), 0};
      layout.strideUnit[0] = 2;
      layout.strideUnit[1] = 4;
    }
    return layouts;
  }
  add("tight", format.halfWidth);
  for (const bool texels : {true, false}) {
    Layout& layout = add(texels ? "padded by texels" : "padded by bytes", format.halfWidth);
    for (int p = 0; p < format.planes; ++p)
      layout.stride[p] += texels ? (3 + 2 * p) * format.channels[p] : std::max(1, format.channels[p] / 2) + 2 * p;
  }
  return layouts;
}

Frame MakeFrame(const Memory& memory, const Layout& layout, int seed) {
  const Format& format = FormatOf(layout.code);
  return MakeFrame(memory, layout, [&](int plane, int channel, int x, int y) -> uint8_t {
    if (layout.code == QVG_FORMAT_RGBX332 && channel < 3) return Level(Wave(x, y, channel, seed), channel == 2 ? 3 : 7);
    if (plane == 0) return Wave(x, y, channel, seed);
    // Half the contrast, since most of the picture would be clipped otherwise.
    const int wave = Wave(layout.halfWidthChroma ? 2 * x : x, format.halfHeight ? 2 * y : y, plane + channel, seed);
    return static_cast<uint8_t>(64 + wave / 2);
  });
}

Frame MakeFrame(const Memory& memory, int code, int width, int height, int seed) {
  return MakeFrame(memory, Layouts(code, width, height).front(), seed);
}

Frame MakeFrame(const Memory& memory, const Layout& layout, const Image& picture) {
  const Format& format = FormatOf(layout.code);
  return MakeFrame(memory, layout, [&](int, int channel, int x, int y) -> uint8_t {
    for (int c = 0; c < 4; ++c)
      if (format.order[c] == channel) return static_cast<uint8_t>(std::lround(picture.at(x, y)[c] * 255));
    return 0x5A;
  });
}

Frame MakeFrame(const Memory& memory, int code, const Image& picture) {
  return MakeFrame(memory, Layouts(code, picture.width, picture.height).front(), picture);
}

Image ExpectedUpload(const Frame& frame, int width, int height) {
  const Format& format = FormatOf(frame.layout.code);
  if (!format.yuv()) {
    return MakeImage(width, height, [&](int x, int y) {
      Color color;
      for (int c = 0; c < 4; ++c) color[c] = format.order[c] < 0 ? 1 : frame.planes[0].at(x, y)[format.order[c]];
      return color;
    });
  }
  // A plane ends at the last texel's left edge, not at its right one. The rest is full-range BT.601.
  return MakeImage(width, height, [&](int x, int y) -> Color {
    const auto sample = [&](int p) {
      const Image& plane = frame.planes[p];
      if (format.bytesPerChannel == 2)
        return plane.at(Nearest(x, width, plane.width), Nearest(y, height, plane.height));
      return SampleLinear(plane, (x + 0.5) / width * (plane.width - 1), (y + 0.5) / height * (plane.height - 1));
    };
    const double luma = sample(0)[0];
    const Color chroma = sample(1);
    const double u = chroma[0] - 0.5;
    const double v = (format.planes == 3 ? sample(2)[0] : chroma[1]) - 0.5;
    return {luma + 1.402 * v, luma - 0.34414 * u - 0.71414 * v, luma + 1.772 * u, 1};
  });
}

double UploadLimit(const Format& format) {
  if (format.bytesPerChannel == 2) return 0.51;  // Not filtered.
  if (format.yuv()) return kYuvUploadLimit;
  return format.code == QVG_FORMAT_RGBX332 ? 0.51 : 0.01;
}

Frame MakeFlatFrame(const Memory& memory, const Layout& layout) {
  return MakeFrame(memory, layout, [&](int plane, int channel, int x, int y) -> uint8_t {
    const int cellX = x / (plane > 0 && layout.halfWidthChroma ? kCell / 2 : kCell);
    const int cellY = y / (plane > 0 && FormatOf(layout.code).halfHeight ? kCell / 2 : kCell);
    const int levels[] = {cellY, cellX / kLevels, cellX % kLevels};
    return static_cast<uint8_t>(51 * levels[plane + channel]);
  });
}

std::vector<bool> NotFlat() {
  std::vector<bool> skip;
  skip.reserve(kFlatWidth * kFlatHeight);
  for (int i = 0; i < kFlatWidth * kFlatHeight; ++i)
    skip.push_back(i % kFlatWidth % kCell != kCell / 2 || i / kFlatWidth % kCell != kCell / 2);
  return skip;
}

Image Matted(const Image& image, const QVGColor& matte) {
  const Color key = {matte.r, matte.g, matte.b, matte.a};
  Image result = image;
  for (Color& color : result.texels) {
    bool equal = true;
    for (int c = 0; c < 4; ++c) equal = equal && std::abs(color[c] - key[c]) < 0.003;
    color = equal ? Color{} : Color{color[0], color[1], color[2], 1};
  }
  return result;
}

}  // namespace qvg::reference
