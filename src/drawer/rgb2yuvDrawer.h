#pragma once

#include "drawer/drawer.h"

namespace qvg {

/// Renders a texture's content as a whole 4:2:0 frame, one value a pixel in red: luma in the first two thirds of the
/// scene's rows, chroma in the last. The scene has the width of the frame and 3/2 of its height. Luma and chroma
/// weights are those of ITU-R BT.601.
class RGB2YUVDrawer : public Drawer {
 public:
  using Drawer::Drawer;

  bool Draw() override;
  bool BeginDraw() override;

  bool nv12 = true;  ///< U and V in turn, column by column; otherwise U in the left half and V in the right.
  Texture* input = nullptr;
  bool flip = false;       ///< Last input row first.
  bool mirror = false;     ///< Last input column first.
  bool fullRange = false;  ///< Not for NV12, which is always limited. Chroma is then centred on 0.
};

}  // namespace qvg
