#include "base/vbo.h"

#include "base/glError.h"
#include "utils/log.h"

namespace qvg {

bool VBO::VertexAttribute::Bind() {
  if (bo == nullptr) {
    LogLocated(kLogError, "bo is null.");
    return false;
  }
  glEnableVertexAttribArray(location);
  if (!bo->Bind(GL_ARRAY_BUFFER)) return false;
  glVertexAttribPointer(location, static_cast<GLint>(components), GL_FLOAT, GL_FALSE, 0,
                        reinterpret_cast<const void*>(offset));
  return CheckGLError();
}

bool VBO::VertexAttribute::UnBind() {
  if (bo == nullptr) {
    LogLocated(kLogError, "bo is null.");
    return false;
  }
  glDisableVertexAttribArray(location);
  return CheckGLError();
}

bool VBO::VertexAttribute::Store(const float* values, int64_t bytes) {
  if (bo != nullptr) return bo->UpdateData(0, bytes, values);
  bo = std::make_unique<BO>();
  return bo->Allocate(bytes, GL_DYNAMIC_DRAW, values);
}

bool VBO::SetPositions(const std::vector<float>& positions) {
  const auto count = static_cast<int64_t>(positions.size() / 3);
  if (count == 0) return false;
  vertexCount_ = static_cast<int32_t>(count);
  VertexAttribute& attribute = attributes_[kPosition];
  attribute.components = 3;
  attribute.offset = 0;
  return attribute.Store(positions.data(), count * 12);
}

bool VBO::SetTexCoords(const std::vector<float>& texCoords) {
  VertexAttribute& attribute = attributes_[kTexCoord];
  attribute.components = 2;
  attribute.location = 1;
  return attribute.Store(texCoords.data(), static_cast<int64_t>(texCoords.size() / 2) * 8);
}

bool VBO::Bind() {
  if (!attributes_[kPosition].Bind()) return false;
  for (size_t slot = kPosition + 1; slot < attributes_.size(); ++slot) {
    if (attributes_[slot].bo != nullptr && !attributes_[slot].Bind()) return false;
  }
  return true;
}

bool VBO::UnBind() {
  if (!attributes_[kPosition].UnBind()) return false;
  for (size_t slot = kPosition + 1; slot < attributes_.size(); ++slot) {
    if (attributes_[slot].bo != nullptr && !attributes_[slot].UnBind()) return false;
  }
  return true;
}

}  // namespace qvg
