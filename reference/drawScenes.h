// Pictures and places that reach every branch of drawing.
#pragma once

#include <span>
#include <vector>

#include "qvGLRenderer/qvGLRenderer.h"
#include "reference/drawing.h"
#include "reference/image.h"

namespace qvg::reference {

/// In steps from the exact value: half a one for the rounding of the result and, for a driver that filters with 8 bits,
/// one for the sample's colour and one for its alpha where it blends. A matte is filtered as well.
constexpr double kDrawLimit = 2.51, kMatteDrawLimit = kDrawLimit + 1;
/// Where no neighbour takes part in a sample.
constexpr double kCellLimit = 0.6;

/// The source as it is, in the middle of the target.
DrawScene MakeScene(const Image& source, const Image& target);

/// One way to place a picture.
struct Geometry {
  const char* name;
  int quarterTurns;
  void (*change)(QVGDrawTextureParams& params, QVGCamera& camera);
};
std::span<const Geometry> Geometries();
/// Pixel centres meet texels off their centres, whatever the sizes.
void Place(DrawScene& scene, const Geometry& geometry);

/// Every colour and alpha of the source meets every one of the target, in cells.
struct BlendCells {
  Image source, target, matte;
  std::vector<bool> skip;  // all but the cells' middles
};
const BlendCells& EveryColour();
/// A straight picture as an effect stores it.
Image Multiplied(Image image);

/// A target with a depth buffer, which has been cleared.
struct DepthTarget {
  DepthTarget(int width, int height, const Color& clear);
  /// Draws the scene's source, whatever its target.
  void Draw(const DrawScene& scene);

  Image image;
  std::vector<double> depth;
  std::vector<bool> skip;  // either outcome is right
};
/// One after the other: a plane, another one at its place, one that crosses them and is as wide as the target (a depth
/// buffer that misses a corner shows), and one behind all, which is not tested.
std::vector<DrawScene> DepthScenes(int width, int height);

}  // namespace qvg::reference
