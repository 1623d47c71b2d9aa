#include "base/ebo.h"

#include "utils/log.h"

namespace qvg {

bool EBO::Bind() {
  if (bo_ == nullptr) {
    LogLocated(kLogError, "bo is null.");
    return false;
  }
  return bo_->Bind(GL_ELEMENT_ARRAY_BUFFER);
}

bool EBO::UnBind() {
  if (bo_ == nullptr) {
    LogLocated(kLogError, "bo is null.");
    return false;
  }
  return bo_->UnBind();
}

bool EBO::LoadIndices(const std::vector<unsigned int>& indices) {
  if (indices.empty()) {
    LogLocated(kLogError, "indices empty");
    return false;
  }
  const int64_t bytes = static_cast<int64_t>(indices.size()) * 4;
  bool ok = true;
  if (bo_ == nullptr) {
    bo_ = std::make_unique<BO>();
    ok = bo_->Allocate(bytes, GL_DYNAMIC_DRAW, indices.data());
  } else {
    ok = bo_->UpdateData(0, bytes, indices.data());
  }
  count_ = static_cast<int32_t>(indices.size());
  return ok;
}

}  // namespace qvg
