// What the window shows, put together in its size: the picture, half of it as it came in, text over both.
#pragma once

#include <optional>
#include <utility>

#include "picture/renderer.h"

namespace qvgtool {

/** How the picture lies in the window: flipped upside down, then turned clockwise. */
struct View {
  int width = 0, height = 0;  // Of the picture, before it is turned.
  unsigned quarterTurns = 0;
  bool flipped = false;
};

/** Where it lies: as large as fits, in the middle. In pixels from the window's upper left corner. */
struct Place {
  int x = 0, y = 0, width = 0, height = 0;
};
Place PlaceOf(const View& view, int windowWidth, int windowHeight);

/** The point of the picture, from 0 to 1 each way, that is seen there in the window; none beside it. */
std::optional<std::pair<double, double>> PointOf(const View& view, const Place& place, double x, double y);

class Screen {
 public:
  explicit Screen(const Renderer& renderer) : renderer_(renderer) {}

  /** before: shown left of the column, with a line between; null: nothing is. text: over all; may be empty. @return in
   *  force until the next call. Throws Error. */
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
