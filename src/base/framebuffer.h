#pragma once

#include <atomic>
#include <cstdint>

#include "base/content.h"
#include "base/contextState.h"
#include "base/gl.h"
#include "base/scene.h"
#include "utils/sourceLocation.h"

namespace qvg {

class BO;
class RenderBuffer;
class SurfaceSource;
class Texture;

struct FrameBufferSetting {
  int width = 0;
  int height = 0;
  int32_t stored = 0;
  bool depthStencil = false;       ///< Attach a depth-stencil render buffer.
  bool colorRenderBuffer = false;  ///< Attach a colour render buffer.
};

/// A render target with its camera: a GL frame buffer whose colour attachment is a borrowed texture or a pooled render
/// buffer. Its GL name belongs to the context on which Allocate ran; on another one every operation fails.
class FrameBuffer {
 public:
  explicit FrameBuffer(SurfaceSource& surfaces) : surfaces_(surfaces) {}
  ~FrameBuffer();
  FrameBuffer(const FrameBuffer&) = delete;
  FrameBuffer& operator=(const FrameBuffer&) = delete;

  bool Allocate(const FrameBufferSetting& setting);
  /// Renders into the texture's content from now on. Without buffers of its own it takes the texture's size; with them
  /// the texture must have the size that it was made with. The texture stays the caller's and must
  /// outlive the binding as long as it is drawn to. A depth buffer may be replaced by a larger one: clear it
  /// afterwards. The frame buffer stays bound in GL.
  bool BindColorTexture(Texture* texture);
  bool UnbindColorTexture();
  /// Fills the content with a colour (r, g, b, a), and all of the depth buffer; the frame buffer stays bound in GL.
  bool Clear(const float color[4]);
  // Passes and read-backs bind what they need themselves; nothing in the library calls these four.
  /// Binds with a viewport on the content.
  bool Bind();
  bool UnBind();
  /// Copies the picture to a texture's content. Both rectangles end at the plain width and height, not at origin plus
  /// size: pictures away from the origin lose what lies beyond.
  bool BlitToTexture(Texture* destination);
  /// Starts reading a rectangle of the content, 8 bits a channel and rows tightly packed, into a pixel-pack buffer at a
  /// byte offset. width or height below 1: the whole. True whenever a buffer is given; GL errors are in the log.
  bool BlitToPbo(BO* buffer, int x, int y, int width, int height, int64_t offset, GLenum format);

  /// The content rectangle of the colour texture or render buffer; empty storage when there is neither.
  ContentRect Content() const;
  /// For drawers. Its name is 0, which is logged, when it can't be used on the current context.
  Scene AsScene() const;
  Texture* ColorTexture() const { return colorTexture_; }
  RenderBuffer* ColorBuffer() const { return colorBuffer_; }
  int Width() const { return width_; }
  int Height() const { return height_; }
  int32_t Stored() const { return setting_.stored; }

  Camera camera;
  /// Whether to replace the camera by one that shows the target in pixels, whatever its size.
  bool cameraFollows = false;

 private:
  // The last argument is the caller that a log line names.
  bool _OnOwnContext(SourceLocation where = SourceLocation::current()) const;
  bool _AttachDepth(int width, int height);
  bool _Complete(SourceLocation where = SourceLocation::current()) const;
  void _ReleaseBuffers();

  SurfaceSource& surfaces_;
  GLuint fbo_ = 0;
  ContextId owner_ = 0;
  Texture* colorTexture_ = nullptr;
  RenderBuffer* colorBuffer_ = nullptr;
  RenderBuffer* depthBuffer_ = nullptr;
  FrameBufferSetting setting_;
  int width_ = 0;  // of what is drawn to
  int height_ = 0;
  bool allocated_ = false;
  bool attached_ = false;  // what the members above say; false after an error, until a texture is bound
  std::atomic<bool> bound_ = false;
};

}  // namespace qvg
