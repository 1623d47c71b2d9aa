#include "picture/compositor.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "media/frameEdits.h"

namespace qvgtool {
namespace {

constexpr struct {
  const char* name;
  int type;
} kBlends[] = {
    {"none", QVG_BLEND_NONE},
    {"normal", QVG_BLEND_NORMAL},
    {"add", QVG_BLEND_ADD},
    {"luminosity", QVG_BLEND_LUMINOSITY},
    {"color-burn", QVG_BLEND_COLOR_BURN},
    {"color-dodge", QVG_BLEND_COLOR_DODGE},
    {"darken", QVG_BLEND_DARKEN},
    {"darker-color", QVG_BLEND_DARKER_COLOR},
    {"hard-light", QVG_BLEND_HARD_LIGHT},
    {"lighten", QVG_BLEND_LIGHTEN},
    {"multiply", QVG_BLEND_MULTIPLY},
    {"overlay", QVG_BLEND_OVERLAY},
    {"screen", QVG_BLEND_SCREEN},
    {"erase-alpha", QVG_BLEND_ERASE_ALPHA},
    {"erase-luma", QVG_BLEND_ERASE_LUMA},
    {"soft-light", QVG_BLEND_SOFT_LIGHT},
    {"mask-alpha", QVG_BLEND_MASK_ALPHA},
    {"mask-luma", QVG_BLEND_MASK_LUMA},
};

// The coverage of a blurred edge at a distance into the picture, in units of the blur's radius.
double Inside(double distance) { return 0.5 * (1 + std::erf(distance)); }

}  // namespace

std::vector<std::string> BlendNames() {
  std::vector<std::string> names;
  for (const auto& blend : kBlends) names.emplace_back(blend.name);
  return names;
}

Compositor::Compositor(const Renderer& renderer, const Layout& layout, int width, int height, UploadPath upload)
    : renderer_(renderer),
      layout_(layout),
      width_(width),
      height_(height),
      converter_(upload),
      target_(renderer.NewTarget(width, height)),
      frameBuffer_(renderer.NewFrameBuffer(target_)) {
  for (const auto& blend : kBlends) {
    if (layout.blend == blend.name) blendType_ = blend.type;
  }
}

void Compositor::SetBackground(const Frame& image) {
  // Scaled here, not on the GPU, which would sample only a few texels of a picture much larger than the output.
  backgroundCovers_ = !image.alpha;
  Frame cut = image;
  CutTo(cut, width_, height_);
  background_ = renderer_.Upload(toBackground_.Convert(cut, PixelFormat::kRGBA, width_, height_, kRgbColors));
}

const Texture& Compositor::Draw(const Frame& frame, int quarterTurns, bool alpha) {
  const Effect* effect = effect_ && effect_->On() ? effect_ : nullptr;
  Texture picture = _Upload(frame, alpha && effect);
  // The library counts quarter turns counter-clockwise where y points up, as in an effect's result; in the targets of
  // this class y points down.
  picture.SetRotation(static_cast<uint32_t>(effect ? quarterTurns : (4 - quarterTurns) % 4));
  if (effect) picture = effect->Apply(picture);
  const bool premultiplied = effect && effect->Transparent(alpha);
  const bool lying = quarterTurns % 2 != 0;
  const int width = lying ? frame.height : frame.width;
  const int height = lying ? frame.width : frame.height;

  qvg::DrawParams params;
  double fit = std::min(static_cast<double>(width_) / width, static_cast<double>(height_) / height);
  // When the output lacks the picture's odd row or column, the pixels stay where they are.
  const int lostX = width - width_, lostY = height - height_;
  const bool sameSize = lostX >= 0 && lostX <= 1 && lostY >= 0 && lostY <= 1;
  if (sameSize) {
    fit = 1;
    params.translation[0] = lostX * 0.5;
    params.translation[1] = lostY * 0.5;
  }
  // Row 0 is the picture's top, so the y axis, which leads to the last row, points down on the screen, and a positive
  // angle about z turns clockwise.
  params.translation[0] += layout_.move[0];
  params.translation[1] += layout_.move[1];
  params.scale[0] = params.scale[1] = fit * layout_.scale;
  params.rotation[2] = layout_.rotate;
  if (effect) params.scale[1] *= -1;  // An effect's result is upside down.

  const bool covers =
      sameSize && layout_.scale == 1 && layout_.rotate == 0 && layout_.move[0] == 0 && layout_.move[1] == 0;
  params.opacity = layout_.opacity;
  const bool opaque = !premultiplied && (!alpha || effect) && layout_.opacity == 1;
  const bool replaces = layout_.blend.empty() && opaque;
  params.blendType = replaces ? static_cast<int>(QVG_BLEND_NONE) : blendType_;

  if (!covers || params.blendType != QVG_BLEND_NONE) {
    if (!backgroundCovers_ && !frameBuffer_.Clear(layout_.backgroundColor)) throw Error("clearing failed");
    if (background_) {
      _DrawInto(background_, qvg::DrawParams().Blend(backgroundCovers_ ? QVG_BLEND_NONE : QVG_BLEND_NORMAL));
    }
    if (layout_.shadow > 0) {
      premultiplied ? _DrawShadowOf(picture, width, height, params)
                    : _DrawShadow(width, height, fit * layout_.scale, params);
    }
  }
  _DrawInto(picture, params);
  return target_;
}

Texture Compositor::_Upload(const Frame& frame, bool premultiplied) {
  if (!premultiplied) return renderer_.Upload(converter_.Prepare(frame));
  return renderer_.Upload(
      *Premultiplied(toRGBA_.Convert(frame, PixelFormat::kRGBA, frame.width, frame.height, kRgbColors)));
}

void Compositor::_DrawShadow(int width, int height, double scale, const QVGDrawTextureParams& place) {
  constexpr int kReduce = 4;        // Few pixels are enough for something blurred.
  constexpr double kMargin = 0.15;  // Share of the height, on each side.
  const int margin = std::max(2, static_cast<int>(height * kMargin / kReduce));
  if (!shadow_ || shadowWidth_ != width || shadowHeight_ != height) {
    const int innerWidth = std::max(1, width / kReduce), innerHeight = std::max(1, height / kReduce);
    const FramePtr image = NewPackedFrame(PixelFormat::kRGBA, innerWidth + 2 * margin, innerHeight + 2 * margin);
    const double radius = margin * 0.5;
    for (int y = 0; y < image->height; ++y) {
      uint8_t* row = Row(*image, y);
      const double top = y + 0.5 - margin;
      const double vertical = Inside(top / radius) * Inside((innerHeight - top) / radius);
      for (int x = 0; x < image->width; ++x) {
        const double left = x + 0.5 - margin;
        const double cover = vertical * Inside(left / radius) * Inside((innerWidth - left) / radius);
        const uint8_t pixel[4] = {0, 0, 0, static_cast<uint8_t>(std::lround(255 * cover))};
        std::copy_n(pixel, 4, row + static_cast<ptrdiff_t>(x) * 4);
      }
    }
    shadow_ = renderer_.Upload(*image);
    shadowWidth_ = width;
    shadowHeight_ = height;
  }
  QVGDrawTextureParams params = place;
  params.blendType = QVG_BLEND_NORMAL;
  params.opacity = layout_.shadow * layout_.opacity;
  params.scale[0] = params.scale[1] = scale * kReduce;
  params.translation[1] += height * scale * 0.03;
  _DrawInto(shadow_, params);
}

// The shadow of what is not transparent: the picture, reduced, which blurs it, and made black.
void Compositor::_DrawShadowOf(const Texture& picture, int width, int height, const QVGDrawTextureParams& place) {
  constexpr int kHalvings = 4;
  const auto small = [&](int halvings) {
    return renderer_.NewTarget(std::max(1, width >> halvings), std::max(1, height >> halvings));
  };
  if (!black_) {
    for (int i = 1; i <= kHalvings; ++i) reduced_.push_back(small(i));
    black_ = small(kHalvings);
    keyedShadow_ = small(kHalvings);
    if (!black_.Clear({0, 0, 0, 1})) throw Error("clearing failed");
  }
  const auto drawAlone = [&](const Texture& texture, const Texture& target, const QVGDrawTextureParams& params) {
    const FrameBuffer frameBuffer = renderer_.NewFrameBuffer(target);
    if (!frameBuffer.Clear({0, 0, 0, 0}) || !frameBuffer.Draw(texture, params)) throw Error("drawing failed");
  };
  const Texture* from = &picture;
  double fromWidth = width, fromHeight = height, upsideDown = -1;
  for (const Texture& half : reduced_) {
    drawAlone(*from, half, qvg::DrawParams().Scale(half.Width() / fromWidth, upsideDown * half.Height() / fromHeight));
    from = &half;
    fromWidth = half.Width();
    fromHeight = half.Height();
    upsideDown = 1;
  }
  drawAlone(black_, keyedShadow_, qvg::DrawParams().Matte(*from, QVG_MATTE_ALPHA));
  QVGDrawTextureParams params = place;
  params.blendType = QVG_BLEND_NORMAL;
  params.opacity = layout_.shadow * layout_.opacity;
  params.scale[0] = std::abs(place.scale[0]) * width / fromWidth;
  params.scale[1] = std::abs(place.scale[1]) * height / fromHeight;
  params.translation[1] += height * std::abs(place.scale[1]) * 0.03;
  _DrawInto(keyedShadow_, params);
}

void Compositor::_DrawInto(const Texture& texture, const QVGDrawTextureParams& params) {
  if (!frameBuffer_.Draw(texture, params)) throw Error("drawing failed");
}

}  // namespace qvgtool
