// Puts one picture together through the library: background, shadow, frame.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "media/colorConversion.h"
#include "picture/effect.h"
#include "picture/renderer.h"

namespace qvgtool {

struct Layout {
  double scale = 1;   // After the frame has been fitted into the output.
  double rotate = 0;  // Degrees, clockwise as seen.
  double opacity = 1;
  std::array<double, 2> move{0, 0};  // Pixels to the right and down.
  std::string blend;                 // Empty: over the background.
  std::string background;            // Image file; empty: none.
  QVGColor backgroundColor = {0, 0, 0, 0};
  double shadow = 0;  // Opacity of a soft shadow below the frame.
};

/** Names for --blend, in the order of the help text. */
std::vector<std::string> BlendNames();

class Compositor {
 public:
  /** width, height: of the output. Throws Error. */
  Compositor(const Renderer& renderer, const Layout& layout, int width, int height, UploadPath upload);

  /** From now on this picture, cut to the output's shape, fills the output below everything. Throws Error. */
  void SetBackground(const Frame& image);

  /** Every frame goes through the effect first, which must live as long as this object; null: through none. */
  void SetEffect(const Effect* effect) { effect_ = effect; }

  /** Draws a frame. @return the finished picture, in force until the next call. Throws Error. */
  const Texture& Draw(const Frame& frame, int quarterTurns, bool alpha);

 private:
  Texture _Upload(const Frame& frame, bool premultiplied);
  void _DrawShadow(int width, int height, double scale, const QVGDrawTextureParams& place);
  void _DrawShadowOf(const Texture& picture, int width, int height, const QVGDrawTextureParams& place);
  void _DrawInto(const Texture& texture, const QVGDrawTextureParams& params);

  const Renderer& renderer_;
  Layout layout_;
  int width_, height_;
  int blendType_;
  UploadConverter converter_;
  ColorConverter toRGBA_, toBackground_;
  Texture target_;
  FrameBuffer frameBuffer_;
  const Effect* effect_ = nullptr;
  Texture background_, shadow_;
  bool backgroundCovers_ = false;  // Nothing shines through.
  int shadowWidth_ = 0, shadowHeight_ = 0;
  // A keyed picture small, and smaller; black; cut out of it what the smallest shows.
  std::vector<Texture> reduced_;
  Texture black_, keyedShadow_;
};

}  // namespace qvgtool
