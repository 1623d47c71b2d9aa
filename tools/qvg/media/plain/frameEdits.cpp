#include "media/frameEdits.h"

#include <algorithm>
#include <cmath>

#include "media/colorConversion.h"
#include "media/plain/font.h"
#include "media/plain/yuvFormat.h"

namespace qvgtool {
namespace {

struct Pen {
  uint8_t color[3];
  float opacity;
};
constexpr Pen kPlain{{0xd8, 0xdb, 0xe2}, 1}, kWhite{{255, 255, 255}, 1}, kBox{{0, 0, 0}, 0.72f};

// Alpha is straight, before and after.
void Blend(uint8_t* pixel, bool alpha, const Pen& pen, float cover) {
  const float over = pen.opacity * cover, before = alpha ? static_cast<float>(pixel[3]) / 255 : 1.0f;
  const float after = over + before * (1 - over);
  if (after <= 0) return;
  for (int i = 0; i < 3; ++i) {
    const float mixed = static_cast<float>(pen.color[i]) * over + static_cast<float>(pixel[i]) * before * (1 - over);
    pixel[i] = static_cast<uint8_t>(std::lround(mixed / after));
  }
  if (alpha) pixel[3] = static_cast<uint8_t>(std::lround(after * 255));
}

class Easel {
 public:
  explicit Easel(Frame& picture) : picture_(picture), alpha_(picture.format == PixelFormat::kRGBA) {}

  void Fill(int x, int y, int width, int height, const Pen& pen) {
    for (int row = std::max(0, y); row < std::min(picture_.height, y + height); ++row) {
      for (int column = std::max(0, x); column < std::min(picture_.width, x + width); ++column) {
        Blend(_Pixel(column, row), alpha_, pen, 1);
      }
    }
  }
  void Draw(const LetteredText& text, int x, int y, const Pen& pen) {
    for (int row = std::max(0, -y); row < std::min(text.height, picture_.height - y); ++row) {
      for (int column = std::max(0, -x); column < std::min(text.width, picture_.width - x); ++column) {
        const uint8_t cover = *(text.cover.begin() + ptrdiff_t{row} * text.width + column);
        if (cover > 0) Blend(_Pixel(x + column, y + row), alpha_, pen, static_cast<float>(cover) / 255);
      }
    }
  }

 private:
  uint8_t* _Pixel(int x, int y) { return Row(picture_, y) + ptrdiff_t{alpha_ ? 4 : 3} * x; }

  Frame& picture_;
  bool alpha_;
};

}  // namespace

// No source of this backend is turned.
FramePtr Upright(const Frame& frame, int) { return SharedCopy(frame); }

FramePtr Widened(const Frame& frame, int width) {
  ColorConverter converter;
  return SharedCopy(converter.Convert(frame, PixelFormat::kRGBA, width, frame.height, kRgbColors));
}

void CutTo(Frame& frame, int width, int height) {
  if (width < 1 || height < 1) return;
  const double shape = static_cast<double>(width) / height;
  const int keptWidth = std::clamp(static_cast<int>(std::lround(frame.height * shape)), 1, frame.width);
  const int keptHeight = std::clamp(static_cast<int>(std::lround(frame.width / shape)), 1, frame.height);
  int left = (frame.width - keptWidth) / 2, top = (frame.height - keptHeight) / 2;
  const YuvFormat* const yuv = FindYuv(frame.format);
  if (yuv) {
    left -= left % yuv->chromaX;
    top -= top % yuv->chromaY;
  }
  for (size_t plane = 0; plane < 3 && frame.data[plane]; ++plane) {
    const int x = yuv && plane > 0 ? left / yuv->chromaX : left, y = yuv && plane > 0 ? top / yuv->chromaY : top;
    const size_t pixel = yuv ? yuv->BytesOfSample() : frame.format == PixelFormat::kRGB ? 3 : 4;
    frame.data[plane] = Row(frame, y, plane) + static_cast<ptrdiff_t>(pixel) * x;
  }
  frame.width = keptWidth;
  frame.height = keptHeight;
}

FramePtr WithCaptions(const Frame& picture, const std::vector<Caption>& captions, std::string& reason) {
  if (captions.empty()) return SharedCopy(picture);
  ColorConverter converter;
  FramePtr result =
      SharedCopy(converter.Convert(picture, picture.format, picture.width, picture.height, picture.colors));
  Easel easel(*result);
  for (const Caption& caption : captions) {
    const bool boxed = caption.place != Caption::kAt;
    const auto text = Lettered(caption.text, caption.size, boxed, reason);
    if (!text) return nullptr;
    if (!boxed) {
      easel.Draw(*text, caption.x, caption.y, kPlain);
      continue;
    }
    const int x = (picture.width - text->width) / 2, border = static_cast<int>(caption.size * 0.6);
    const int y = caption.place == Caption::kMiddle
                      ? (picture.height - text->height) / 2
                      : picture.height - text->height - static_cast<int>(caption.size * 1.5);
    easel.Fill(x - border, y - border, text->width + 2 * border, text->height + 2 * border, kBox);
    easel.Draw(*text, x, y, kWhite);
  }
  return result;
}

}  // namespace qvgtool
