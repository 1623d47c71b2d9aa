#include "base/gpuFence.h"

#include "base/gl.h"

namespace qvg {

GpuFence::~GpuFence() {
  if (sync_ != nullptr && CurrentContextId() != 0) glDeleteSync(static_cast<GLsync>(sync_));
}

GpuFence GpuFence::Insert() {
  GpuFence fence;
  fence.context_ = CurrentContextId();
  if (fence.context_ == 0) return fence;
  fence.sync_ = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  // Without a flush another context could wait for a fence that never reaches the GPU.
  glFlush();
  return fence;
}

void GpuFence::Wait() {
  if (sync_ == nullptr) return;
  const ContextId current = CurrentContextId();
  if (current == 0) return;
  if (current != context_) glWaitSync(static_cast<GLsync>(sync_), 0, GL_TIMEOUT_IGNORED);
  glDeleteSync(static_cast<GLsync>(sync_));
  sync_ = nullptr;
}

}  // namespace qvg
