#pragma once

#include <optional>

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

  /// Whether all of it could be created. Drawing without it is undefined, and not even reported as an error.
  bool Ready() const { return ready_; }
  /// Corner by corner, in the order of QuadCorners. Costs nothing when nothing changes.
  bool SetTexCoords(const QuadCorners& corners);
  /// Leaves the vertex array bound.
  void Draw();

 private:
  VAO vao_;
  VBO vbo_;
  EBO ebo_;
  std::optional<QuadCorners> texCoords_;  // nothing: not known
  bool ready_ = false;
};

}  // namespace qvg
