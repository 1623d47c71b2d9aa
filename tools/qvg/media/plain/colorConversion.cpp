#include "media/colorConversion.h"

#include <algorithm>
#include <thread>
#include <vector>

#include "media/error.h"
#include "media/plain/resize.h"
#include "media/plain/yuvFormat.h"

namespace qvgtool {
namespace {

// The positions of the channels in a pixel; -1: no alpha.
struct Packing {
  PixelFormat format;
  int red, green, blue, alpha, size;
};
constexpr Packing kPackings[] = {
    {PixelFormat::kRGBA, 0, 1, 2, 3, 4}, {PixelFormat::kARGB, 1, 2, 3, 0, 4}, {PixelFormat::kBGRA, 2, 1, 0, 3, 4},
    {PixelFormat::kABGR, 3, 2, 1, 0, 4}, {PixelFormat::kRGB, 0, 1, 2, -1, 3}, {PixelFormat::kBGR, 2, 1, 0, -1, 3},
};

const Packing& PackingOf(PixelFormat format) {
  for (const Packing& row : kPackings) {
    if (row.format == format) return row;
  }
  throw Error("a picture of a format that can't be converted here");
}

// The weights of red and blue in luma.
struct Weights {
  float red, blue;
};
Weights WeightsOf(int matrix) {
  switch (matrix) {
    case kMatrix709:
      return {0.2126f, 0.0722f};
    case kMatrix2020:
      return {0.2627f, 0.0593f};
    default:
      return {0.299f, 0.114f};
  }
}

uint8_t Byte(float value) { return static_cast<uint8_t>(std::clamp(value + 0.5f, 0.0f, 255.0f)); }

// Calls work(begin, end) for ranges of rows, on a few threads.
template <class Work>
void OnRows(int rows, const Work& work) {
  constexpr int kLeastRows = 128;
  const int parts =
      std::clamp(rows / kLeastRows, 1, static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 4u)));
  std::vector<std::jthread> others;
  for (int part = 1; part < parts; ++part) {
    others.emplace_back([&, part] { work(rows * part / parts, rows * (part + 1) / parts); });
  }
  work(0, rows / parts);
}

template <class Sample>
class YuvToRgba {
 public:
  YuvToRgba(const Frame& yuv, const YuvFormat& layout) : yuv_(yuv), layout_(layout) {
    const auto [red, blue] = WeightsOf(yuv.colors.matrix);
    const float green = 1 - red - blue, most = static_cast<float>((1 << layout.bits) - 1);
    const auto unit = static_cast<float>(1 << (layout.bits - 8));
    lumaZero_ = yuv.colors.fullRange ? 0 : 16 * unit;
    lumaScale_ = 255 / (yuv.colors.fullRange ? most : 219 * unit);
    chromaZero_ = 128 * unit;
    const float chroma = 255 / (yuv.colors.fullRange ? most : 224 * unit);
    redV_ = chroma * 2 * (1 - red);
    blueU_ = chroma * 2 * (1 - blue);
    greenU_ = -blueU_ * blue / green;
    greenV_ = -redV_ * red / green;
  }

  void Rows(Frame& rgba, int begin, int end) const {
    const auto width = static_cast<size_t>(yuv_.width);
    std::vector<float> u(width, chromaZero_), v(width, chromaZero_);
    std::vector<float> narrow(static_cast<size_t>(layout_.Width(yuv_.width, 1)));
    for (int y = begin; y < end; ++y) {
      if (!layout_.gray) {
        _Chroma(1, y, narrow, u);
        _Chroma(2, y, narrow, v);
      }
      const auto* luma = reinterpret_cast<const Sample*>(Row(yuv_, y));
      uint8_t* out = Row(rgba, y);
      for (size_t x = 0; x < width; ++x) {
        const float light = (static_cast<float>(luma[x]) - lumaZero_) * lumaScale_;
        const float cb = u[x] - chromaZero_, cr = v[x] - chromaZero_;
        out[4 * x] = Byte(light + redV_ * cr);
        out[4 * x + 1] = Byte(light + greenU_ * cb + greenV_ * cr);
        out[4 * x + 2] = Byte(light + blueU_ * cb);
        out[4 * x + 3] = 255;
      }
    }
  }

 private:
  // One chroma plane along a row of pixels, interpolated between the two nearest values each way.
  void _Chroma(size_t plane, int y, std::vector<float>& narrow, std::vector<float>& wide) const {
    const int lastRow = layout_.Height(yuv_.height, plane) - 1;
    const float atY = (static_cast<float>(y) + 0.5f) / static_cast<float>(layout_.chromaY) - 0.5f;
    const int above = std::clamp(static_cast<int>(atY + 1) - 1, 0, lastRow), below = std::min(above + 1, lastRow);
    const float share = std::clamp(atY - static_cast<float>(above), 0.0f, 1.0f);
    const auto *a = reinterpret_cast<const Sample*>(Row(yuv_, above, plane)),
               *b = reinterpret_cast<const Sample*>(Row(yuv_, below, plane));
    for (size_t x = 0; x < narrow.size(); ++x) {
      narrow[x] = static_cast<float>(a[x]) * (1 - share) + static_cast<float>(b[x]) * share;
    }
    if (layout_.chromaX == 1) {
      std::copy(narrow.begin(), narrow.end(), wide.begin());
      return;
    }
    const auto step = static_cast<size_t>(layout_.chromaX);
    const float middle = yuv_.chromaLeft ? 0 : 0.5f * static_cast<float>(layout_.chromaX - 1);
    for (size_t x = 0; x < wide.size(); ++x) {
      const float at = (static_cast<float>(x) - middle) / static_cast<float>(step);
      const auto left = static_cast<size_t>(std::max(0.0f, at)), right = std::min(left + 1, narrow.size() - 1);
      const float rest = std::max(0.0f, at - static_cast<float>(left));
      wide[x] = narrow[left] + (narrow[right] - narrow[left]) * rest;
    }
  }

  const Frame& yuv_;
  const YuvFormat& layout_;
  float lumaZero_, lumaScale_, chromaZero_, redV_, greenU_, greenV_, blueU_;
};

void DecodeYuv(const Frame& yuv, const YuvFormat& layout, Frame& rgba) {
  OnRows(yuv.height, [&](int begin, int end) {
    layout.bits > 8 ? YuvToRgba<uint16_t>(yuv, layout).Rows(rgba, begin, end)
                    : YuvToRgba<uint8_t>(yuv, layout).Rows(rgba, begin, end);
  });
}

void Repack(const Frame& from, Frame& to) {
  const Packing &in = PackingOf(from.format), &out = PackingOf(to.format);
  for (int y = 0; y < from.height; ++y) {
    const uint8_t* source = Row(from, y);
    uint8_t* target = Row(to, y);
    for (int x = 0; x < from.width; ++x, source += in.size, target += out.size) {
      target[out.red] = source[in.red];
      target[out.green] = source[in.green];
      target[out.blue] = source[in.blue];
      if (out.alpha >= 0) target[out.alpha] = in.alpha >= 0 ? source[in.alpha] : uint8_t{255};
    }
  }
}

void Reuse(FramePtr& frame, PixelFormat format, int width, int height) {
  if (frame && frame->format == format && frame->width == width && frame->height == height) return;
  frame = NewPackedFrame(format, width, height);
}

}  // namespace

struct ColorConverter::State {
  FramePtr rgba, resized, result;
};

ColorConverter::ColorConverter() : state_(std::make_unique<State>()) {}
ColorConverter::~ColorConverter() = default;

const Frame& ColorConverter::Convert(const Frame& source, PixelFormat format, int width, int height,
                                     const ColorTags& colors) {
  if (!colors.rgb) throw Error("a picture can't be converted into YUV here");
  const Frame* stage = &source;
  if (const YuvFormat* yuv = FindYuv(source.format)) {
    Reuse(state_->rgba, PixelFormat::kRGBA, source.width, source.height);
    DecodeYuv(source, *yuv, *state_->rgba);
    stage = state_->rgba.get();
  }
  if (source.width != width || source.height != height) {
    Reuse(state_->resized, stage->format, width, height);
    Resize(*stage, PackingOf(stage->format).size, *state_->resized);
    stage = state_->resized.get();
  }
  // The result must not share memory with the source, since the caller may write to it.
  if (stage == &source || stage->format != format) {
    Reuse(state_->result, format, width, height);
    Repack(*stage, *state_->result);
  } else {
    std::swap(state_->result, stage == state_->rgba.get() ? state_->rgba : state_->resized);
  }
  Frame& result = *state_->result;
  result.alpha = source.alpha;
  result.pts = source.pts;
  return result;
}

void EncodeI420(const Frame& rgba, int matrix, Frame& i420) {
  const Weights weights = WeightsOf(matrix);
  const float red = weights.red, blue = weights.blue, green = 1 - red - blue;
  const float toLuma = 219.0f / 255, toU = 112.0f / 255 / (1 - blue), toV = 112.0f / 255 / (1 - red);
  OnRows(rgba.height / 2, [&](int begin, int end) {
    for (int y = 2 * begin; y < 2 * end; y += 2) {
      uint8_t *u = Row(i420, y / 2, 1), *v = Row(i420, y / 2, 2);
      for (int x = 0; x + 1 < rgba.width; x += 2) {
        float sumR = 0, sumG = 0, sumB = 0;
        for (int i = 0; i < 4; ++i) {
          const uint8_t* pixel = Row(rgba, y + i / 2) + ptrdiff_t{4} * (x + i % 2);
          const float r = pixel[0], g = pixel[1], b = pixel[2];
          Row(i420, y + i / 2)[x + i % 2] = Byte(16 + toLuma * (red * r + green * g + blue * b));
          sumR += r;
          sumG += g;
          sumB += b;
        }
        const float light = red * sumR + green * sumG + blue * sumB;
        u[x / 2] = Byte(128 + toU * (sumB - light) / 4);
        v[x / 2] = Byte(128 + toV * (sumR - light) / 4);
      }
    }
  });
}

}  // namespace qvgtool
