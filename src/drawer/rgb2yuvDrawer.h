#pragma once

#include "drawer/drawer.h"

namespace qvg {

/// Renders a texture's content as a whole 4:2:0 frame: luma in the first two thirds of the scene's rows, chroma in the
/// last. The scene has 3/2 of the frame's height, and of its width the part that BytesPerTexel tells. Luma and chroma
/// weights are those of ITU-R BT.601.
class RGB2YUVDrawer : public Drawer {
 public:
  using Drawer::Drawer;

  bool Draw() override;
  bool BeginDraw() override;

  /// Values that one texel of the scene takes: 4, in r, g, b and a, where the frame's size and the flags allow it,
  /// which renders and reads back several times as fast; otherwise 1, in r.
  int BytesPerTexel() const;

  bool nv12 = true;  ///< U and V in turn, column by column; otherwise U in the left half and V in the right.
  Texture* input = nullptr;
  bool flip = false;       ///< Last input row first.
  bool mirror = false;     ///< Last input column first.
  bool fullRange = false;  ///< Not for NV12, which is always limited. Chroma is then centred on 0.

 private:
  bool _DrawBytes();
  bool _DrawPacked(const ProgramSource& source, int firstRow, int rows);
  void _SetInput();
};

}  // namespace qvg
