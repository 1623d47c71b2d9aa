#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/bo.h"

namespace qvg {

/// The 32-bit indices of a draw and its primitive mode.
class EBO {
 public:
  bool Bind();
  bool UnBind();
  bool LoadIndices(const std::vector<unsigned int>& indices);

  GLenum mode = GL_TRIANGLES;

  int32_t IndexCount() const { return count_; }

 private:
  std::unique_ptr<BO> bo_;
  int32_t count_ = 0;
};

}  // namespace qvg
