#include "base/vao.h"

#include "base/ebo.h"
#include "base/glError.h"
#include "base/vbo.h"
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
  if (CurrentContextId() != owner_) {
    LogLocated(kLogError, "vertex array belongs to another context");
    return false;
  }
  glBindVertexArray(id_);
  return CheckGLError();
}

bool VAO::UnBind() {
  glBindVertexArray(0);
  return CheckGLError();
}

bool DrawElements(VBO& vbo, EBO& ebo, std::source_location where) {
  VAO vao;
  vao.Bind();
  vbo.Bind();
  ebo.Bind();
  glDrawElements(ebo.mode, ebo.IndexCount(), GL_UNSIGNED_INT, nullptr);
  const bool ok = CheckGLError(where);
  vbo.UnBind();
  ebo.UnBind();
  vao.UnBind();
  return ok;
}

}  // namespace qvg
