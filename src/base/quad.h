#pragma once

#include "base/content.h"
#include "base/ebo.h"
#include "base/vao.h"
#include "base/vbo.h"

namespace qvg {

/// The rectangle that passes draw, from -1 to 1 in x and y, with texture coordinates from 0 to 1: buffers and vertex
/// array of one context.
class Quad {
 public:
  Quad();

  /// Corner by corner, in the order of QuadCorners. Costs nothing when they are so already.
  bool SetTexCoords(const QuadCorners& corners);
  /// Leaves the vertex array bound.
  void Draw();

 private:
  VAO vao_;
  VBO vbo_;
  EBO ebo_;
  QuadCorners texCoords_ = {};
};

}  // namespace qvg
