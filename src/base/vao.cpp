#include "base/vao.h"

#include "base/glError.h"
#include "utils/log.h"

namespace qvg {

VAO::VAO() : owner_(CurrentContextId()) {
  glGenVertexArrays(1, &id_);
  CheckGLError();
}

VAO::~VAO() {
  if (id_ != 0) DeleteContextObject(ContextObject::kVertexArray, id_, owner_);
}

bool VAO::Bind() {
  if (owner_ == 0 || CurrentContextId() != owner_) {
    LogLocated(kLogError, "vertex array belongs to another context");
    return false;
  }
  glBindVertexArray(id_);
  return CheckGLError() && id_ != 0;
}

bool VAO::UnBind() {
  glBindVertexArray(0);
  return CheckGLError();
}

}  // namespace qvg
