#include "base/bo.h"

#include "base/contextState.h"
#include "base/debugLabels.h"
#include "base/glError.h"

namespace qvg {

BO::~BO() {
  if (id_ != 0) DeleteSharedObject({SharedObject::kBuffer, id_});
}

bool BO::Allocate(int64_t size, GLenum usage, const void* data) {
  if (allocated_) return true;
  if (id_ == 0) glGenBuffers(1, &id_);
  glBindBuffer(target_, id_);
  glBufferData(target_, size, data, usage);
  glBindBuffer(target_, 0);
  if (!CheckGLError()) return false;
  LabelObject(GL_BUFFER, id_, "buffer of {} bytes", size);
  size_ = size;
  usage_ = usage;
  allocated_ = true;
  return true;
}

bool BO::UpdateData(int64_t offset, int64_t size, const void* data) {
  glBindBuffer(target_, id_);
  glBufferSubData(target_, offset, size, data);
  glBindBuffer(target_, 0);
  return CheckGLError();
}

bool BO::Bind(GLenum bindingPoint) {
  glBindBuffer(bindingPoint, id_);
  if (!CheckGLError()) return false;
  target_ = bindingPoint;
  bound_ = true;
  return true;
}

bool BO::UnBind() {
  glBindBuffer(target_, 0);
  if (!CheckGLError()) return false;
  bound_ = false;
  return true;
}

void* BO::Map(GLbitfield access) {
  glBindBuffer(target_, id_);
  void* const address = glMapBufferRange(target_, 0, size_, access);
  glBindBuffer(target_, 0);
  if (CheckGLError()) return address;
  if (address != nullptr) UnMap();
  return nullptr;
}

bool BO::UnMap() {
  glBindBuffer(target_, id_);
  const bool kept = glUnmapBuffer(target_) == GL_TRUE;
  glBindBuffer(target_, 0);
  // The call itself reports a failure, so that unmapping after every read-back needs no error check.
  if (!kept) CheckGLError();
  usable_ = usable_ && kept;
  return kept;
}

}  // namespace qvg
