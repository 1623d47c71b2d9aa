// The library as C++ objects: started, its handles owned, its failures thrown.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <utility>

#include "media/error.h"
#include "media/frame.h"

namespace qvgtool {

/** Owns one handle of the library and gives it back through the slot. */
template <class T, auto Release>
class Handle {
 public:
  Handle() = default;
  Handle(const QVGGLRendererInterface* gl, T* handle) : gl_(gl), handle_(handle) {}
  Handle(Handle&& other) noexcept : gl_(other.gl_), handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(gl_, other.gl_);
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Handle() {
    if (handle_) (gl_->*Release)(&handle_);
  }
  T* get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

 private:
  const QVGGLRendererInterface* gl_ = nullptr;
  T* handle_ = nullptr;
};

using Context = Handle<QVGGLContext, &QVGGLRendererInterface::ReleaseSharedContext>;
using Texture = Handle<QVGTexture, &QVGGLRendererInterface::ReleaseTexture>;
using FrameBuffer = Handle<QVGFrameBuffer, &QVGGLRendererInterface::DestroyFrameBuffer>;

/** The running library with a context current on the thread that made this object. */
class Renderer {
 public:
  Renderer();
  ~Renderer();
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

  /** False when the driver gave no context: then only the slots for any thread may be used. */
  bool Ready() const { return static_cast<bool>(context_); }
  const QVGGLRendererInterface& Table() const { return *gl_; }

  /** A frame that UploadConverter prepared, as a texture whose row 0 is the picture's top. Throws Error. */
  Texture Upload(const Frame& frame) const;

  /** A texture of a size and a frame buffer that draws into it, the picture's top in row 0. Throws Error. */
  Texture NewTarget(int width, int height) const;
  FrameBuffer NewFrameBuffer(const Texture& target) const;

  /** The picture as NV12 or I420 (limited-range BT.601) or RGBA. The frame lends the library's memory and gives it
   *  back when its last reference goes, at the latest before this object. RGBA comes in the order of the texture's
   * rows, with flip the other way round. Throws Error. */
  FramePtr ReadBack(const Texture& texture, PixelFormat format, bool flip = false) const;

 private:
  const QVGGLRendererInterface* gl_;
  Context context_;
};

}  // namespace qvgtool
