// Composes one picture with the library: background, shadow, frame.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "media/colorConversion.h"
#include "picture/effect.h"
#include "picture/renderer.h"

namespace qvgtool {

struct Layout {
  double scale = 1;   // Relative to the frame fitted into the output.
  double rotate = 0;  // Degrees, clockwise as seen.
  double opacity = 1;
  std::array<double, 2> move{0, 0};  // Pixels to the right and down.
  std::string blend;                 // Empty: normal, over the background.
  std::string background;            // Image file; empty: none.
  QVGColor backgroundColor = {0, 0, 0, 0};
  double shadow = 0;  // Opacity of a soft shadow behind the frame.
};

/** Names for --blend, in the order of the help text. */
std::vector<std::string> BlendNames();

class Compositor {
 public:
  /** width, height: the output's. Throws Error. */
  Compositor(const Renderer& renderer, const Layout& layout, int width, int height, UploadPath upload);

  /** From now on this picture, cropped to the output's aspect ratio, fills the background. Throws Error. */
  void SetBackground(const Frame& image);

  /** Every frame goes through the effect first, which must outlive this object; null: no effect. */
  void SetEffect(const Effect* effect) { effect_ = effect; }

  /** Draws a frame. @return the finished picture, valid until the next call. Throws Error. */
  const Texture& Draw(const Frame& frame, int quarterTurns, bool alpha);

 private:
  Texture _Upload(const Frame& frame, bool premultiplied);
  void _DrawShadow(int width, int height, double scale, const QVGDrawTextureParams& place);
  void _DrawShadowOf(const Texture& picture, int width, int height, const QVGDrawTextureParams& place);
  void _DrawInto(const Texture& texture, const QVGDrawTextureParams& params);

  const Renderer& renderer_;
  Layout layout_;
  int width_, height_;
  int blendType_ = QVG_BLEND_NORMAL;
  UploadConverter converter_;
  ColorConverter toRGBA_, toBackground_;
  Texture target_;
  FrameBuffer frameBuffer_;
  const Effect* effect_ = nullptr;
  Texture background_, shadow_;
  bool backgroundCovers_ = false;  // It is opaque everywhere.
  int shadowWidth_ = 0, shadowHeight_ = 0;
  // The keyed picture, small and smaller; black; black with the alpha of the smallest.
  std::vector<Texture> reduced_;
  Texture black_, keyedShadow_;
};

}  // namespace qvgtool
