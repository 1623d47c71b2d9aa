#include "media/alpha.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace qvgtool {

bool MayHaveAlpha(int pixelFormat) {
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(pixelFormat));
  return pixels && (pixels->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL)) != 0;
}

FramePtr Premultiplied(const AVFrame& straight) {
  FramePtr result = NewFrame(AV_PIX_FMT_RGBA, straight.width, straight.height);
  for (int y = 0; y < straight.height; ++y) {
    const uint8_t* in = straight.data[0] + static_cast<ptrdiff_t>(y) * straight.linesize[0];
    uint8_t* out = result->data[0] + static_cast<ptrdiff_t>(y) * result->linesize[0];
    for (int x = 0; x < straight.width; ++x, in += 4, out += 4) {
      for (int i = 0; i < 3; ++i) out[i] = static_cast<uint8_t>((in[i] * in[3] + 127) / 255);
      out[3] = in[3];
    }
  }
  result->pts = straight.pts;
  result->color_range = AVCOL_RANGE_JPEG;
  result->colorspace = AVCOL_SPC_RGB;
  return result;
}

}  // namespace qvgtool
