#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/bo.h"

namespace qvg {

/// The vertices of a draw: each attribute has a buffer of its own, tightly packed floats.
class VBO {
 public:
  struct VertexAttribute {
    std::unique_ptr<BO> bo;
    int64_t offset = 0;
    uint32_t components = 0;
    uint32_t location = 0;

    bool Bind();
    bool UnBind();
    /// Makes the buffer on first use, rewrites it later.
    bool Store(const float* values, int64_t bytes);
  };

  /// Three floats a vertex. False when there is no vertex.
  bool SetPositions(const std::vector<float>& positions);
  /// Two floats a vertex.
  bool SetTexCoords(const std::vector<float>& texCoords);

  /// Binds every attribute that has a buffer; stops at the first that fails.
  bool Bind();
  bool UnBind();

  int32_t VertexCount() const { return vertexCount_; }

 private:
  enum Slot { kPosition, kTexCoord, kColor, kSpare, kSlots };

  int32_t vertexCount_ = 0;
  std::array<VertexAttribute, kSlots> attributes_;
};

}  // namespace qvg
