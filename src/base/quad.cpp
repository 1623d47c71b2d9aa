#include "base/quad.h"

#include "base/debugLabels.h"

namespace qvg {

Quad::Quad() {
  const bool made = vao_.Bind() && vbo_.SetPositions({-1, 1, 0, -1, -1, 0, 1, -1, 0, 1, 1, 0}) &&
                    SetTexCoords({glm::vec2(0, 1), glm::vec2(0, 0), glm::vec2(1, 0), glm::vec2(1, 1)}) && vbo_.Bind() &&
                    ebo_.LoadIndices({0, 1, 2, 2, 3, 0}) && ebo_.Bind();
  glBindBuffer(GL_ARRAY_BUFFER, 0);
  ready_ = vao_.UnBind() && made;
  if (ready_) LabelObject(GL_VERTEX_ARRAY, vao_.Id(), "quad");
}

bool Quad::SetTexCoords(const QuadCorners& corners) {
  if (corners == texCoords_) return true;
  texCoords_.reset();
  std::vector<float> values;
  for (const glm::vec2& coord : corners) values.insert(values.end(), {coord.x, coord.y});
  if (!vbo_.SetTexCoords(values)) return false;
  texCoords_ = corners;
  return true;
}

void Quad::Draw() {
  glBindVertexArray(vao_.Id());
  glDrawElements(ebo_.mode, ebo_.IndexCount(), GL_UNSIGNED_INT, nullptr);
}

}  // namespace qvg
