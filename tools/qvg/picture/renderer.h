// The library as the tool uses it: started, with failures thrown as errors.
#pragma once

#include <qvGLRenderer/qvGLRenderer.hpp>

#include "media/error.h"
#include "media/frame.h"

namespace qvgtool {

using qvg::FrameBuffer;
using qvg::Texture;

/** Runs the library, with a context current on the thread that made this object. */
class Renderer {
 public:
  Renderer();

  /** False when the driver gave no context: then only slots that need none may be used. */
  bool Ready() const { return static_cast<bool>(current_); }

  /** Uploads a frame from UploadConverter to a texture whose row 0 is the picture's top. Throws Error. */
  Texture Upload(const Frame& frame) const;

  /** A texture of this size for drawing into, with the picture's top in row 0. Throws Error. */
  Texture NewTarget(int width, int height) const;
  FrameBuffer NewFrameBuffer(const Texture& target) const;

  /** The picture as NV12 or I420 (limited-range BT.601) or RGBA. The frame holds the library's memory, so all
   * references to it have to go before this object. RGBA comes in the order of the texture's rows, with flip in the
   * opposite one. Throws Error. */
  FramePtr ReadBack(const Texture& texture, PixelFormat format, bool flip = false) const;

 private:
  qvg::Library library_;
  qvg::Context context_;
  qvg::CurrentContext current_;
};

}  // namespace qvgtool
