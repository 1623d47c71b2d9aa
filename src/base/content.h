#pragma once

#include <array>
#include <cstdint>
#include <glm/glm.hpp>

namespace qvg {

/// Where a picture lies inside larger storage, in texels from column and row 0.
struct ContentRect {
  int storageWidth = 0;
  int storageHeight = 0;
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  /// A rectangle of that size in the middle of the storage, rounded down.
  static ContentRect Centred(int storageWidth, int storageHeight, int width, int height);

  /// Whether it has texels, and all of them lie in the storage.
  bool IsInside() const;
  /// First column and row of the content, as a fraction of the storage.
  glm::vec2 Origin() const;
  /// Size of the content, as a fraction of the storage.
  glm::vec2 Extent() const;
  /// Storage coordinates of the centres of the content's outermost texels (u and v smallest, u and v largest): what
  /// sampling has to stay within, so that no neighbour of the content shows.
  glm::vec4 SampleBounds() const;
};

/// Corners of a quad in the order top-left, bottom-left, bottom-right, top-right, y and v upwards.
using QuadCorners = std::array<glm::vec2, 4>;

/// Quarter turns as 0 to 3, taken modulo 4: -1 is 3.
inline int QuarterTurns(uint32_t rotation) { return static_cast<int>(rotation & 3u); }
inline bool IsOddTurn(uint32_t rotation) { return (rotation & 1u) != 0; }

/// Turns a coordinate of 0..1: 1 gives (1 - v, u), 2 gives (1 - u, 1 - v), 3 gives (v, 1 - u).
glm::vec2 TurnTexCoord(glm::vec2 coord, int quarterTurns);

/// Maps coordinates of 0..1 over a quad to storage coordinates of the content that is shown on it, turned and then, if
/// flipped, upside down. For column vectors: matrix * (u, v, 1).
glm::mat3 ContentTexMatrix(const ContentRect& content, int quarterTurns, bool flipped = false);

}  // namespace qvg
