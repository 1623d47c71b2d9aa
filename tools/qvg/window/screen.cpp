#include "window/screen.h"

#include <algorithm>
#include <cstring>

namespace qvgtool {
namespace {

constexpr int kLineWidth = 2;

}  // namespace

// The same as in the library's window drawer.
Place PlaceOf(const View& view, int windowWidth, int windowHeight) {
  const bool lying = view.quarterTurns % 2 != 0;
  const double aspect = static_cast<double>(lying ? view.height : view.width) / (lying ? view.width : view.height);
  Place place = {0, 0, windowWidth, windowHeight};
  if (aspect * windowHeight >= windowWidth) {
    place.height = static_cast<int>(windowWidth / aspect + 0.5);
    place.y = windowHeight - place.height - (windowHeight - place.height) / 2;
  } else {
    place.width = static_cast<int>(windowHeight * aspect + 0.5);
    place.x = (windowWidth - place.width) / 2;
  }
  return place;
}

std::optional<std::pair<double, double>> PointOf(const View& view, const Place& place, double x, double y) {
  double across = (x - place.x) / std::max(1, place.width), down = (y - place.y) / std::max(1, place.height);
  if (across < 0 || across >= 1 || down < 0 || down >= 1) return std::nullopt;
  for (unsigned turn = 0; turn < view.quarterTurns % 4; ++turn) {
    across = 1 - across;
    std::swap(across, down);
  }
  return std::pair(across, view.flipped ? 1 - down : down);
}

void Screen::_Clear(Layer& layer, int width, int height) {
  if (layer.width != width || layer.height != height) {
    layer.frameBuffer = {};
    layer.texture = renderer_.NewTarget(width, height);
    layer.frameBuffer = renderer_.NewFrameBuffer(layer.texture);
    layer.width = width;
    layer.height = height;
  }
  if (!layer.frameBuffer.Clear({0, 0, 0, 1})) throw Error("clearing failed");
}

void Screen::_Draw(const Texture& texture, const Layer& layer, const QVGDrawTextureParams& params) {
  if (!layer.frameBuffer.Draw(texture, params)) throw Error("drawing failed");
}

void Screen::_DrawPicture(const Texture& picture, const View& view, const Place& place, const Layer& layer) {
  const bool lying = view.quarterTurns % 2 != 0;
  qvg::DrawParams params;
  params.blendType = QVG_BLEND_NORMAL;
  params.scale[0] = static_cast<double>(lying ? place.height : place.width) / view.width;
  params.scale[1] = static_cast<double>(lying ? place.width : place.height) / view.height * (view.flipped ? -1 : 1);
  params.rotation[2] = 90.0 * view.quarterTurns;
  params.translation[0] = place.x + 0.5 * (place.width - layer.width);
  params.translation[1] = place.y + 0.5 * (place.height - layer.height);
  _Draw(picture, layer, params);
}

const Texture& Screen::Compose(int width, int height, const View& view, const Texture& picture, const Texture* before,
                               int column, const Texture& text) {
  const Place place = PlaceOf(view, width, height);
  _Clear(whole_, width, height);
  _DrawPicture(picture, view, place, whole_);
  if (before) {
    const int cut = std::clamp(column, 1, width);
    _Clear(left_, cut, height);
    _DrawPicture(*before, view, place, left_);
    qvg::DrawParams params;
    params.translation[0] = 0.5 * (cut - width);
    _Draw(left_.texture, whole_, params);
    if (!white_) {
      white_ = renderer_.NewTarget(kLineWidth, kLineWidth);
      if (!white_.Clear({1, 1, 1, 1})) throw Error("clearing failed");
    }
    params.translation[0] = cut - 0.5 * width;
    params.scale[1] = static_cast<double>(place.height) / kLineWidth;
    _Draw(white_, whole_, params);
  }
  if (text) _Draw(text, whole_, qvg::DrawParams().Blend(QVG_BLEND_NORMAL));
  return whole_.texture;
}

}  // namespace qvgtool
