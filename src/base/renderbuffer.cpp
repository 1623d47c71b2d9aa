#include "base/renderbuffer.h"

#include "base/contextState.h"
#include "base/debugLabels.h"
#include "base/glError.h"

namespace qvg {

RenderBuffer::~RenderBuffer() {
  if (!allocated_ || id == 0) return;
  DeleteSharedObject({SharedObject::kRenderBuffer, id});
}

bool RenderBuffer::Allocate(const RenderBufferSetting& wanted) {
  glGenRenderbuffers(1, &id);
  glBindRenderbuffer(GL_RENDERBUFFER, id);
  if (wanted.samples >= 1) {
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, wanted.samples, wanted.internalFormat, wanted.width,
                                     wanted.height);
  } else {
    glRenderbufferStorage(GL_RENDERBUFFER, wanted.internalFormat, wanted.width, wanted.height);
  }
  // If it stayed bound, it would survive its deletion on another context.
  glBindRenderbuffer(GL_RENDERBUFFER, 0);
  if (!CheckGLError() || id == 0) {
    glDeleteRenderbuffers(1, &id);
    id = 0;
    return false;
  }
  LabelObject(GL_RENDERBUFFER, id, "pooled render buffer {} x {}, {}", wanted.width, wanted.height,
              debug_labels::FormatName(wanted.internalFormat));
  setting = wanted;
  allocated_ = true;
  return true;
}

}  // namespace qvg
