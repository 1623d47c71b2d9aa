#include "base/framebuffer.h"

#include "base/bo.h"
#include "base/glError.h"
#include "base/renderbuffer.h"
#include "base/surfaceSource.h"
#include "base/texture.h"
#include "utils/log.h"

namespace qvg {

FrameBuffer::~FrameBuffer() {
  if (allocated_ && CurrentContextId() == owner_) {
    UnbindColorTexture();
    if (bound_.exchange(false)) {
      glBindFramebuffer(GL_FRAMEBUFFER, 0);
      CheckGLError();
    }
  }
  if (fbo_ != 0) {
    DeleteContextObject(ContextObject::kFrameBuffer, fbo_, owner_);
    if (CurrentContextId() != 0) CheckGLError();
  }
  _ReleaseBuffers();
}

void FrameBuffer::_ReleaseBuffers() {
  if (colorBuffer_ != nullptr) surfaces_.ReleaseRenderBuffer(colorBuffer_);
  if (depthBuffer_ != nullptr) surfaces_.ReleaseRenderBuffer(depthBuffer_);
}

bool FrameBuffer::_OnOwnContext(std::source_location where) const {
  if (CurrentContextId() == owner_) return true;
  LogLocated(kLogError, "framebuffer belongs to another context", where);
  return false;
}

bool FrameBuffer::_Complete(std::source_location where) const {
  if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) return true;
  LogLocated(kLogError, "FrameBuffer is not complete", where);
  return false;
}

bool FrameBuffer::_AttachDepth(int width, int height) {
  RenderBuffer* buffer = surfaces_.AcquireRenderBuffer(width, height, GL_DEPTH24_STENCIL8);
  if (buffer == nullptr) return false;
  if (depthBuffer_ != nullptr) surfaces_.ReleaseRenderBuffer(depthBuffer_);
  depthBuffer_ = buffer;
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, depthBuffer_->id);
  return true;
}

bool FrameBuffer::Allocate(const FrameBufferSetting& setting) {
  if (allocated_) {
    LogLocated(kLogWarning, "framebuffer already allocated");
    return true;
  }
  owner_ = CurrentContextId();
  if (owner_ == 0) return false;
  // Names that were given up elsewhere would wait for long on a thread that makes its context current but once.
  FlushContextObjects();
  glGenFramebuffers(1, &fbo_);
  if (fbo_ == 0) {
    CheckGLError();
    return false;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, fbo_);
  const GLenum drawBuffer = GL_COLOR_ATTACHMENT0;
  glDrawBuffers(1, &drawBuffer);
  if (!CheckGLError()) return false;

  int depthWidth = setting.width;
  int depthHeight = setting.height;
  if (setting.colorRenderBuffer) {
    colorBuffer_ = surfaces_.AcquireRenderBuffer(setting.width, setting.height, GL_RGBA8);
    if (colorBuffer_ == nullptr) return false;
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colorBuffer_->id);
    if (!_Complete()) {
      _ReleaseBuffers();
      return false;
    }
    if (!CheckGLError()) return false;
    // The content is centred in a colour buffer that may be larger: the depth buffer has to cover it.
    depthWidth = colorBuffer_->setting.width;
    depthHeight = colorBuffer_->setting.height;
  }
  if (setting.depthStencil) {
    // Without a colour attachment completeness shows only when a texture is bound.
    if (!_AttachDepth(depthWidth, depthHeight) || (setting.colorRenderBuffer && !_Complete())) {
      _ReleaseBuffers();
      return false;
    }
    if (!CheckGLError()) return false;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  allocated_ = true;
  width_ = setting.width;
  height_ = setting.height;
  stored_ = setting.stored;
  depthStencil_ = setting.depthStencil;
  colorRenderBuffer_ = setting.colorRenderBuffer;
  return true;
}

bool FrameBuffer::BindColorTexture(Texture* texture) {
  if (texture == nullptr) {
    UnbindColorTexture();
    return false;
  }
  if (!_OnOwnContext()) return false;
  if ((depthStencil_ || colorRenderBuffer_) && (texture->loadedWidth != width_ || texture->loadedHeight != height_)) {
    LogLocated(kLogError, "color texture size not equal frambuffer size");
    return false;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, fbo_);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, texture->target, texture->id, 0);
  // A smaller depth buffer would clip the picture in recycled larger storage.
  const TextureSetting& storage = texture->Setting();
  const bool depthCovers = !depthStencil_ || (depthBuffer_ != nullptr && depthBuffer_->setting.width >= storage.width &&
                                              depthBuffer_->setting.height >= storage.height);
  colorTexture_ = texture;
  if ((!depthCovers && !_AttachDepth(storage.width, storage.height)) || !_Complete()) {
    UnbindColorTexture();
    return false;
  }
  width_ = texture->loadedWidth;
  height_ = texture->loadedHeight;
  return CheckGLError();
}

bool FrameBuffer::UnbindColorTexture() {
  if (colorTexture_ == nullptr) return true;
  if (!_OnOwnContext()) return false;
  glBindFramebuffer(GL_FRAMEBUFFER, fbo_);
  // The texture may be gone already; without a name its target does not count.
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
  colorTexture_ = nullptr;
  if (colorBuffer_ != nullptr) {
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colorBuffer_->id);
  }
  if (colorBuffer_ == nullptr && depthBuffer_ == nullptr) {
    width_ = 0;
    height_ = 0;
  }
  return CheckGLError();
}

ContentRect FrameBuffer::Content() const {
  if (colorTexture_ != nullptr) return ContentRect::Of(*colorTexture_);
  if (colorBuffer_ == nullptr) return {};
  const RenderBufferSetting& buffer = colorBuffer_->setting;
  return {buffer.width,
          buffer.height,
          (buffer.width - buffer.contentWidth) / 2,
          (buffer.height - buffer.contentHeight) / 2,
          buffer.contentWidth,
          buffer.contentHeight};
}

bool FrameBuffer::Bind() {
  if (!allocated_) {
    LogLocated(kLogError, "not allocated framebuffer");
    return false;
  }
  if (!_OnOwnContext()) return false;
  const ContentRect content = Content();
  if (colorTexture_ != nullptr) {
    // An upload since may have changed the content.
    width_ = content.width;
    height_ = content.height;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, fbo_);
  glViewport(content.x, content.y, width_, height_);
  if (!CheckGLError()) return false;
  bound_ = true;
  return true;
}

bool FrameBuffer::UnBind() {
  if (!bound_) return true;
  // Another context has something else bound.
  if (!_OnOwnContext()) return false;
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  if (!CheckGLError()) return false;
  bound_ = false;
  return true;
}

bool FrameBuffer::Clear(const float color[4]) {
  // Where binding fails (another context), clearing would hit what is bound there.
  if (!Bind()) return false;
  const ContentRect content = Content();
  const bool part = content.width < content.storageWidth || content.height < content.storageHeight;
  glClearColor(color[0], color[1], color[2], color[3]);
  // Depth everywhere: the next texture may have its content at another place.
  glClear(part ? GL_DEPTH_BUFFER_BIT : GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  if (part) {
    glEnable(GL_SCISSOR_TEST);
    glScissor(content.x, content.y, width_, height_);
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
  }
  return CheckGLError();
}

bool FrameBuffer::_BlitTo(Texture* destination, int srcX1, int srcY1, int dstX1, int dstY1,
                          std::source_location where) {
  if (!_OnOwnContext(where)) return false;
  FrameBuffer target(surfaces_);
  target.Allocate({});
  target.BindColorTexture(destination);
  GLint reader = 0;
  GLint drawer = 0;
  glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &reader);
  glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &drawer);
  const ContentRect content = Content();
  glBindFramebuffer(GL_READ_FRAMEBUFFER, fbo_);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target.fbo_);
  glBlitFramebuffer(content.x, content.y, srcX1, srcY1, destination->offsetX, destination->offsetY, dstX1, dstY1,
                    GL_COLOR_BUFFER_BIT, GL_NEAREST);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(reader));
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(drawer));
  return CheckGLError(where);
}

bool FrameBuffer::BlitToTexture(Texture* destination) {
  if (destination == nullptr) {
    LogLocated(kLogError, "ERROR:: Fail to blit to texture");
    return false;
  }
  return _BlitTo(destination, width_, height_, width_, height_);
}

bool FrameBuffer::CopyContentTo(Texture& destination) {
  const ContentRect content = Content();
  return _BlitTo(&destination, content.x + width_, content.y + height_, destination.offsetX + width_,
                 destination.offsetY + height_);
}

bool FrameBuffer::BlitToPbo(BO* buffer, int x, int y, int width, int height, int64_t offset, GLenum format) {
  if (buffer == nullptr) {
    LogLocated(kLogError, "ERROR:: Fail to resolve to pbo");
    return false;
  }
  if (width < 1) width = width_;
  if (height < 1) height = height_;
  const ContentRect content = Content();
  const std::source_location where = std::source_location::current();
  const auto read = [&](int readX, int readY) {
    buffer->Bind(GL_PIXEL_PACK_BUFFER);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(readX, readY, width, height, format, GL_UNSIGNED_BYTE, reinterpret_cast<void*>(offset));
    CheckGLError(where);
    buffer->UnBind();
  };
  if (colorBuffer_ == nullptr || colorBuffer_->setting.samples < 1) {
    if (Bind()) read(content.x + x, content.y + y);
    return true;
  }
  if (!_OnOwnContext()) return true;
  FrameBuffer resolved(surfaces_);
  resolved.Allocate({});
  Texture* texture = surfaces_.AcquireTexture(width, height, GL_RGBA8);
  if (texture == nullptr) return true;
  resolved.BindColorTexture(texture);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, fbo_);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, resolved.fbo_);
  glBlitFramebuffer(content.x + x, content.y + y, width, height, texture->offsetX, texture->offsetY, width, height,
                    GL_COLOR_BUFFER_BIT, GL_NEAREST);
  if (resolved.Bind()) read(texture->offsetX, texture->offsetY);
  resolved.UnbindColorTexture();
  surfaces_.ReleaseTexture(texture);
  return true;
}

}  // namespace qvg
