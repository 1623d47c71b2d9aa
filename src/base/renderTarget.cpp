#include "base/renderTarget.h"

#include "base/bo.h"
#include "base/contextState.h"
#include "base/glError.h"
#include "base/texture.h"

namespace qvg {

RenderTarget RenderTarget::On(const Texture& texture) {
  ContextState* const context = CurrentContext();
  if (context == nullptr) return {};
  return {context->targets.FrameBufferOf(texture), texture.Content(), &texture};
}

void SetDrawState() {
  for (const GLenum capability : {GL_BLEND, GL_SCISSOR_TEST, GL_CULL_FACE, GL_COLOR_LOGIC_OP, GL_RASTERIZER_DISCARD,
                                  GL_DEPTH_TEST, GL_STENCIL_TEST, GL_PRIMITIVE_RESTART}) {
    glDisable(capability);
  }
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

bool ClearTarget(const RenderTarget& target, const float color[4], bool depth) {
  ContextState* const context = CurrentContext();
  if (context != nullptr && target.texture != nullptr) target.texture->NoteDrawn(*context);
  const ContentRect& content = target.content;
  SetDrawState();
  glBindFramebuffer(GL_FRAMEBUFFER, target.frameBuffer);
  glClearColor(color[0], color[1], color[2], color[3]);
  if (depth) {
    // Everywhere, since the next texture may have its content at another place.
    glDepthMask(GL_TRUE);
    glClearDepth(1);
    glClear(GL_DEPTH_BUFFER_BIT);
  }
  glEnable(GL_SCISSOR_TEST);
  glScissor(content.x, content.y, content.width, content.height);
  glClear(GL_COLOR_BUFFER_BIT);
  glDisable(GL_SCISSOR_TEST);
  return CheckGLError();
}

bool CopyContent(const RenderTarget& from, const Texture& to) {
  const RenderTarget destination = RenderTarget::On(to);
  ContextState* const context = CurrentContext();
  if (context == nullptr || from.frameBuffer == 0 || destination.frameBuffer == 0) return false;
  if (from.texture != nullptr) from.texture->SettleForReading(*context);
  to.NoteDrawn(*context);
  SetDrawState();
  glBindFramebuffer(GL_READ_FRAMEBUFFER, from.frameBuffer);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, destination.frameBuffer);
  glReadBuffer(GL_COLOR_ATTACHMENT0);
  const ContentRect& source = from.content;
  const ContentRect& target = destination.content;
  glBlitFramebuffer(source.x, source.y, source.x + source.width, source.y + source.height, target.x, target.y,
                    target.x + source.width, target.y + source.height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  return CheckGLError();
}

bool SubmitReads(std::span<const PixelRead> reads, const BO& buffer) {
  glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer.Id());
  GLint bound = 0;
  glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &bound);
  if (bound == 0 || static_cast<GLuint>(bound) != buffer.Id()) return false;
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glPixelStorei(GL_PACK_SKIP_ROWS, 0);
  glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
  for (const PixelRead& read : reads) {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, read.frameBuffer);
    glReadBuffer(read.attachment);
    glPixelStorei(GL_PACK_ROW_LENGTH, read.rowLength);
    glReadPixels(read.x, read.y, read.width, read.height, read.format, GL_UNSIGNED_BYTE,
                 reinterpret_cast<void*>(read.offset));
  }
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
  return true;
}

}  // namespace qvg
