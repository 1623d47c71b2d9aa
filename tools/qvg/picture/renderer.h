// The library as the tool uses it: started, its failures thrown.
#pragma once

#include <qvGLRenderer/qvGLRenderer.hpp>

#include "media/error.h"
#include "media/frame.h"

namespace qvgtool {

using qvg::FrameBuffer;
using qvg::Texture;

/** The running library with a context current on the thread that made this object. */
class Renderer {
 public:
  Renderer();

  /** False when the driver gave no context: then only the slots for any thread may be used. */
  bool Ready() const { return static_cast<bool>(current_); }

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
  qvg::Library library_;
  qvg::Context context_;
  qvg::CurrentContext current_;
};

}  // namespace qvgtool
