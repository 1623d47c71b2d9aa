#include "alpha.h"

#include <algorithm>

namespace qvgtool {
namespace {

// change(value, alpha) for each colour value of an RGBA frame.
template <class Change>
FramePtr Changed(const AVFrame& source, const Change& change) {
  FramePtr result = NewFrame(AV_PIX_FMT_RGBA, source.width, source.height);
  for (int y = 0; y < source.height; ++y) {
    const uint8_t* in = source.data[0] + static_cast<ptrdiff_t>(y) * source.linesize[0];
    uint8_t* out = result->data[0] + static_cast<ptrdiff_t>(y) * result->linesize[0];
    for (int x = 0; x < source.width; ++x, in += 4, out += 4) {
      for (int i = 0; i < 3; ++i) out[i] = static_cast<uint8_t>(change(in[i], in[3]));
      out[3] = in[3];
    }
  }
  result->pts = source.pts;
  result->color_range = AVCOL_RANGE_JPEG;
  result->colorspace = AVCOL_SPC_RGB;
  return result;
}

}  // namespace

FramePtr Premultiplied(const AVFrame& straight) {
  return Changed(straight, [](int value, int alpha) { return (value * alpha + 127) / 255; });
}

FramePtr Unpremultiplied(const AVFrame& premultiplied) {
  return Changed(premultiplied, [](int value, int alpha) {
    return alpha == 0 ? 0 : std::min(255, (value * 255 + alpha / 2) / alpha);
  });
}

}  // namespace qvgtool
