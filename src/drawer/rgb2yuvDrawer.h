#pragma once

#include <span>

#include "drawer/drawer.h"

namespace qvg {

class Texture;

/// Renders a texture's content as a whole 4:2:0 frame. Luma and chroma weights are those of ITU-R BT.601.
class RGB2YUVDrawer : public Drawer {
 public:
  struct Parameters {
    const Texture* input = nullptr;
    bool nv12 = true;        ///< U and V in turn, column by column; otherwise all U and all V.
    bool flip = false;       ///< Last input row first.
    bool mirror = false;     ///< Last input column first.
    bool fullRange = false;  ///< Not for NV12, which is always limited. Chroma is then centred on 0.
  };

  using Drawer::Drawer;

  /// One byte per texel, for every size: luma in the first two thirds of the scene's rows, chroma in the last third, U
  /// left of V unless they alternate. The scene has the input's width and 3/2 of its height. The caller checks for GL
  /// errors.
  bool DrawBytes(const Scene* scene, const Parameters& parameters);

  /// Whether DrawBlocks can draw it.
  static bool FitsBlocks(const Parameters& parameters);
  /// Blocks of 4 x 2 pixels, one per texel, from texel 0, 0 of several targets: the luma bytes of the even rows, those
  /// of the odd rows, and the chroma bytes; for NV12 those are in one target, otherwise U and V are in two targets of
  /// two channels. Several times as fast. The caller checks for GL errors.
  /// @param target a frame buffer with the targets as its attachments; its content is what is drawn to.
  bool DrawBlocks(const RenderTarget& target, const Parameters& parameters);
};

}  // namespace qvg
