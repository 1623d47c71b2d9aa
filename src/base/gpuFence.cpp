#include "base/gpuFence.h"

#include "base/contextState.h"
#include "base/gl.h"

namespace qvg {

GpuFence::~GpuFence() {
  if (sync_ != nullptr) DeleteSharedObject({SharedObject::kSync, 0, sync_});
}

GpuFence GpuFence::Insert() {
  GpuFence fence;
  fence.sync_ = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  // Without a fence to wait for, the work has to be finished now.
  if (fence.sync_ == nullptr) glFinish();
  // Without a flush another context could wait for a fence that never reaches the GPU.
  glFlush();
  return fence;
}

void GpuFence::Wait() const {
  if (sync_ != nullptr) glWaitSync(static_cast<GLsync>(sync_), 0, GL_TIMEOUT_IGNORED);
}

}  // namespace qvg
