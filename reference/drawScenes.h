// Pictures and placements that reach every branch of drawing.
#pragma once

#include <span>
#include <vector>

#include "qvGLRenderer/qvGLRenderer.h"
#include "reference/drawing.h"
#include "reference/image.h"

namespace qvg::reference {

/// In steps from the exact value: half a step for rounding the result and, for drivers that filter with 8 bits, one for
/// the sample's colour and one for its alpha in blending. A matte is filtered as well.
constexpr double kDrawLimit = 2.51, kMatteDrawLimit = kDrawLimit + 1;
/// Where samples involve no neighbouring texels.
constexpr double kCellLimit = 0.6;

/// The source, unchanged, in the middle of the target.
DrawScene MakeScene(const Image& source, const Image& target);

/// One way to place a picture.
struct Geometry {
  const char* name;
  int quarterTurns;
  void (*change)(QVGDrawTextureParams& params, QVGCamera& camera);
};
std::span<const Geometry> Geometries();
/// Places the source so that no pixel centre falls on a texel's centre, whatever the sizes.
void Place(DrawScene& scene, const Geometry& geometry);

/// Cells in which every colour and alpha of the source meets every one of the target.
struct BlendCells {
  Image source, target, matte;
  std::vector<bool> skip;  // all but the cells' centres
};
const BlendCells& EveryColour();
/// A picture with straight alpha, premultiplied as effects store it.
Image Multiplied(Image image);

/// A target with a cleared depth buffer.
struct DepthTarget {
  DepthTarget(int width, int height, const Color& clear);
  /// Draws the scene's source; its own target is ignored.
  void Draw(const DrawScene& scene);

  Image image;
  std::vector<double> depth;
  std::vector<bool> skip;  // either result is right
};
/// To be drawn one after the other: a plane, another one in the same place, one that crosses them and is as wide as the
/// target (which shows a depth buffer that lacks a corner), and one behind all, without the depth test.
std::vector<DrawScene> DepthScenes(int width, int height);

}  // namespace qvg::reference
