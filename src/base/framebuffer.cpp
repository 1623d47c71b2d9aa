#include "base/framebuffer.h"

#include "base/bo.h"
#include "base/debugLabels.h"
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
    if (CurrentContext() != nullptr) CheckGLError();
  }
  _ReleaseBuffers();
}

void FrameBuffer::_ReleaseBuffers() {
  if (colorBuffer_ != nullptr) surfaces_.ReleaseRenderBuffer(colorBuffer_);
  if (depthBuffer_ != nullptr) surfaces_.ReleaseRenderBuffer(depthBuffer_);
}

bool FrameBuffer::_OnOwnContext(SourceLocation where) const {
  if (owner_ != 0 && CurrentContextId() == owner_) return true;
  LogLocated(kLogError, "framebuffer belongs to another context", where);
  return false;
}

bool FrameBuffer::_Complete(SourceLocation where) const {
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
  // On a thread that makes its context current only once, names that were given up elsewhere would wait for a long
  // time.
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
  LabelObject(GL_FRAMEBUFFER, fbo_, "the host's frame buffer {} x {}", setting.width, setting.height);
  allocated_ = attached_ = true;
  setting_ = setting;
  width_ = setting.width;
  height_ = setting.height;
  return true;
}

bool FrameBuffer::BindColorTexture(Texture* texture) {
  if (texture == nullptr) {
    UnbindColorTexture();
    return false;
  }
  if (!_OnOwnContext()) return false;
  const ContentRect& content = texture->Content();
  const bool ownBuffers = setting_.depthStencil || setting_.colorRenderBuffer;
  if (ownBuffers && (content.width != setting_.width || content.height != setting_.height)) {
    LogLocated(kLogError, "color texture size not equal frambuffer size");
    return false;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, fbo_);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, texture->Target(), texture->Id(), 0);
  // A smaller depth buffer would clip the picture in recycled larger storage.
  const TextureSetting& storage = texture->Setting();
  const bool depthCovers =
      !setting_.depthStencil || (depthBuffer_ != nullptr && depthBuffer_->setting.width >= storage.width &&
                                 depthBuffer_->setting.height >= storage.height);
  colorTexture_ = texture;
  const bool complete = (depthCovers || _AttachDepth(storage.width, storage.height)) && _Complete();
  if (!CheckGLError() || !complete) {
    // It is not known what is attached now.
    if (!depthCovers && depthBuffer_ != nullptr) surfaces_.ReleaseRenderBuffer(depthBuffer_);
    UnbindColorTexture();
    attached_ = false;
    return false;
  }
  attached_ = true;
  width_ = content.width;
  height_ = content.height;
  return true;
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
  const bool ownBuffers = colorBuffer_ != nullptr || depthBuffer_ != nullptr;
  width_ = ownBuffers ? setting_.width : 0;
  height_ = ownBuffers ? setting_.height : 0;
  attached_ = CheckGLError();
  return attached_;
}

ContentRect FrameBuffer::Content() const {
  if (colorTexture_ != nullptr) return colorTexture_->Content();
  if (colorBuffer_ == nullptr) return {};
  const RenderBufferSetting& buffer = colorBuffer_->setting;
  return ContentRect::Centred(buffer.width, buffer.height, buffer.contentWidth, buffer.contentHeight);
}

Scene FrameBuffer::AsScene() const {
  if (!allocated_) {
    LogLocated(kLogError, "not allocated framebuffer");
    return {};
  }
  if (!attached_) LogLocated(kLogError, "framebuffer has lost its attachments");
  if (!attached_ || !_OnOwnContext()) return {};
  const ContentRect content = Content();
  return {{fbo_, content, colorTexture_}, cameraFollows ? Camera::ForCanvas(content.width, content.height) : camera};
}

bool FrameBuffer::Bind() {
  if (!allocated_) {
    LogLocated(kLogError, "not allocated framebuffer");
    return false;
  }
  if (!_OnOwnContext()) return false;
  const ContentRect content = Content();
  if (colorTexture_ != nullptr) {
    // An upload in the meantime may have changed the content.
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
  // Where it can't be bound (another context), clearing would hit what is bound there.
  const RenderTarget target = AsScene().target;
  if (target.frameBuffer == 0) return false;
  bound_ = true;
  return ClearTarget(target, color, true);
}

bool FrameBuffer::BlitToTexture(Texture* destination) {
  if (destination == nullptr) {
    LogLocated(kLogError, "ERROR:: Fail to blit to texture");
    return false;
  }
  if (!_OnOwnContext()) return false;
  GLint previousReader = 0;
  GLint previousDrawer = 0;
  glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &previousReader);
  glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &previousDrawer);
  const GLuint drawer = RenderTarget::On(*destination).frameBuffer;
  if (drawer == 0) return false;
  if (colorTexture_ != nullptr) colorTexture_->SettleForReading(*CurrentContext());
  SetDrawState();
  glBindFramebuffer(GL_READ_FRAMEBUFFER, fbo_);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, drawer);
  const ContentRect from = Content();
  const ContentRect& to = destination->Content();
  glBlitFramebuffer(from.x, from.y, width_, height_, to.x, to.y, width_, height_, GL_COLOR_BUFFER_BIT, GL_NEAREST);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(previousReader));
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(previousDrawer));
  return CheckGLError();
}

bool FrameBuffer::BlitToPbo(BO* buffer, int x, int y, int width, int height, int64_t offset, GLenum format) {
  if (buffer == nullptr) {
    LogLocated(kLogError, "ERROR:: Fail to resolve to pbo");
    return false;
  }
  if (!_OnOwnContext()) return true;
  if (colorTexture_ != nullptr) colorTexture_->SettleForReading(*CurrentContext());
  if (width < 1) width = width_;
  if (height < 1) height = height_;
  const ContentRect content = Content();
  if (colorBuffer_ == nullptr || colorBuffer_->setting.samples < 1) {
    const PixelRead read = {fbo_, GL_COLOR_ATTACHMENT0, content.x + x, content.y + y, width, height, format, offset};
    SubmitReads({&read, 1}, *buffer);
    CheckGLError();
    return true;
  }
  Texture* resolved = surfaces_.AcquireTexture(width, height, GL_RGBA8);
  if (resolved == nullptr) return true;
  const RenderTarget target = RenderTarget::On(*resolved);
  SetDrawState();
  glBindFramebuffer(GL_READ_FRAMEBUFFER, fbo_);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target.frameBuffer);
  glBlitFramebuffer(content.x + x, content.y + y, width, height, target.content.x, target.content.y, width, height,
                    GL_COLOR_BUFFER_BIT, GL_NEAREST);
  const PixelRead read = {
      target.frameBuffer, GL_COLOR_ATTACHMENT0, target.content.x, target.content.y, width, height, format, offset};
  SubmitReads({&read, 1}, *buffer);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  CheckGLError();
  surfaces_.ReleaseTexture(resolved);
  return true;
}

}  // namespace qvg
