#pragma once

#include <cstdint>

#include "drawer/drawer.h"

namespace qvg {

class Texture;

/// Turns a video frame held as plane textures into RGB in the scene's content, with the full-range formulas of ITU-R
/// BT.601.
class YUV2RGBDrawer : public Drawer {
 public:
  enum Format : int32_t {
    kPlanar8 = 1,    ///< Y, U, V planes.
    kNV12 = 2,       ///< Y plane and a plane of U,V pairs.
    kTwoPlane16 = 3  ///< The same with 16-bit integer texels, of which the high byte counts.
  };

  struct Parameters {
    int32_t format = kPlanar8;
    /// Y, U or UV, V. A plane is its texture's content and lies at the origin of the storage. So sampling stays on the
    /// plane's own texels: the wrap mode keeps it from going before the first, the rate from going beyond the last.
    const Texture* planes[3] = {};
  };

  using Drawer::Drawer;

  /// False after a GL error, without a scene, and for an unknown format.
  bool Draw(const Scene* scene, const Parameters& parameters);
};

}  // namespace qvg
