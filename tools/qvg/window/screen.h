// Composes what the window shows, in its size: the picture, the part of it without the effect, text over both.
#pragma once

#include <optional>
#include <utility>

#include "picture/renderer.h"

namespace qvgtool {

/** How the picture is shown: first flipped upside down, then turned clockwise. */
struct View {
  int width = 0, height = 0;  // The picture's, before it is turned.
  unsigned quarterTurns = 0;
  bool flipped = false;
};

/** Its place: as large as fits, centred. In pixels from the window's upper left corner. */
struct Place {
  int x = 0, y = 0, width = 0, height = 0;
};
Place PlaceOf(const View& view, int windowWidth, int windowHeight);

/** The point of the picture, coordinates from 0 to 1, that is shown there in the window; none outside the picture. */
std::optional<std::pair<double, double>> PointOf(const View& view, const Place& place, double x, double y);

class Screen {
 public:
  explicit Screen(const Renderer& renderer) : renderer_(renderer) {}

  /** before: shown left of the column, with a line between; null: not shown. text: over everything; may be empty.
   *  @return valid until the next call. Throws Error. */
  const Texture& Compose(int width, int height, const View& view, const Texture& picture, const Texture* before,
                         int column, const Texture& text);

 private:
  struct Layer {
    Texture texture;
    FrameBuffer frameBuffer;
    int width = 0, height = 0;
  };
  void _Clear(Layer& layer, int width, int height);
  void _Draw(const Texture& texture, const Layer& layer, const QVGDrawTextureParams& params);
  void _DrawPicture(const Texture& picture, const View& view, const Place& place, const Layer& layer);

  const Renderer& renderer_;
  Layer whole_, left_;
  Texture white_;
};

}  // namespace qvgtool
