#include "base/quad.h"

namespace qvg {

Quad::Quad() {
  vao_.Bind();
  vbo_.SetPositions({-1, 1, 0, -1, -1, 0, 1, -1, 0, 1, 1, 0});
  SetTexCoords({glm::vec2(0, 1), glm::vec2(0, 0), glm::vec2(1, 0), glm::vec2(1, 1)});
  vbo_.Bind();
  ebo_.LoadIndices({0, 1, 2, 2, 3, 0});
  ebo_.Bind();
  vao_.UnBind();
  glBindBuffer(GL_ARRAY_BUFFER, 0);
}

bool Quad::SetTexCoords(const QuadCorners& corners) {
  if (corners == texCoords_) return true;
  std::vector<float> values;
  for (const glm::vec2& coord : corners) values.insert(values.end(), {coord.x, coord.y});
  const bool set = vbo_.SetTexCoords(values);
  if (set) texCoords_ = corners;
  return set;
}

void Quad::Draw() {
  glBindVertexArray(vao_.Id());
  glDrawElements(ebo_.mode, ebo_.IndexCount(), GL_UNSIGNED_INT, nullptr);
}

}  // namespace qvg
