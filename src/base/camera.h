#pragma once

#include <cstdint>
#include <glm/glm.hpp>

namespace qvg {

/// Projection and view of a frame buffer. The defaults are a canvas of 1920 x 1080 pixels centred on the origin, seen
/// from a distance of 1000.
struct Camera {
  static constexpr int32_t kOrthographic = 1;

  int32_t projection = kOrthographic;  ///< Any other value is perspective.
  float left = -960, right = 960, top = 540, bottom = -540, orthoNear = 0, orthoFar = 20000;
  float fovy = 0;  ///< Radians.
  float aspect = 1, perspectiveNear = 1, perspectiveFar = 20000;
  glm::vec3 eye = {0, 0, 1000};
  glm::vec3 centre = {0, 0, 0};
  glm::vec3 up = {0, 1, 0};

  /// For 2D drawing in pixels: one unit is one pixel in the plane z = 0 under both projections.
  static Camera ForCanvas(int width, int height);

  glm::mat4 Projection() const;
  glm::mat4 View() const;
};

/// Where a picture stands: scaled, then turned about z, y and x, then moved.
struct ModelTransform {
  glm::vec3 translation = {0, 0, 0};
  glm::vec3 scale = {1, 1, 1};
  glm::vec3 rotation = {0, 0, 0};  ///< Degrees about x, y and z.

  glm::mat4 Matrix() const;
};

}  // namespace qvg
