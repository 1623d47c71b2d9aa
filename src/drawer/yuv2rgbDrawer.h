#pragma once

#include <cstdint>

#include "drawer/drawer.h"

namespace qvg {

/// Turns a video frame held as plane textures into RGB in the scene's colour texture, with the full-range formulas of
/// ITU-R BT.601, and centres that texture's content.
class YUV2RGBDrawer : public Drawer {
 public:
  enum Format : int32_t {
    kPlanar8 = 1,    ///< Y, U, V planes.
    kNV12 = 2,       ///< Y plane and a plane of U,V pairs.
    kTwoPlane16 = 3  ///< The same with 16-bit integer texels, of which the high byte counts.
  };

  /// A plane's texture, with the plane at the origin of its storage, and the size of the plane in texels. Sampling then
  /// stays on the plane's own texels: the wrap mode keeps it from going below the first, the rate from beyond the last.
  struct Plane {
    Texture* texture = nullptr;
    int width = 0;
    int height = 0;
  };

  using Drawer::Drawer;

  bool Draw() override;
  bool BeginDraw() override;

  Plane planes[3];  ///< Y, U or UV, V.
  int32_t format = kPlanar8;
  bool fullRange = false;  ///< Handed to the program, which does not read it.
};

}  // namespace qvg
