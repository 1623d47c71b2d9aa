// The expected results of drawing, computed on the CPU in double precision.
#pragma once

#include <vector>

#include "qvGLRenderer/qvGLRenderer.h"
#include "reference/image.h"

namespace qvg::reference {

/// The camera that a frame buffer of slot 41 gets.
QVGCamera DefaultCamera(int width, int height);
/// The defaults of DrawTexture.
QVGDrawTextureParams DefaultParams();

/// One draw. target and depth are the contents before it; params.matteTexture is not read.
struct DrawScene {
  Image source;
  int quarterTurns = 0;
  Image target;
  Image matte;  // empty for none
  bool premultipliedSource = false, premultipliedMatte = false;
  QVGCamera camera = {};
  QVGDrawTextureParams params = DefaultParams();
};

struct DrawResult {
  Image image;
  std::vector<bool> onEdge;   // pixel centres within 1/50 pixel of an edge of the quad: either result is right
  std::vector<double> depth;  // 0..1 where the quad is, 2 elsewhere
};

DrawResult ExpectedDraw(const DrawScene& scene);

}  // namespace qvg::reference
