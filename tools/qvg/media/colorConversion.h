// Converts decoded frames to what the library's uploads expect.
#pragma once

#include "media/frame.h"

namespace qvgtool {

/** How frames travel to the library. */
enum class UploadPath {
  // In their own format where the library has it; YUV that is limited-range or not BT.601 is first converted to
  // full-range BT.601 within that format.
  kNative,
  // RGB in its own format, YUV as RGBA: the library's YUV conversion samples planes up to a pixel beside the pixel's
  // middle, which softens a picture; the scaler's does not.
  kSharp
};

/** Converts frames between formats and colours; keeps its tables and its memory from frame to frame. The backend
 *  implements it. */
class ColorConverter {
 public:
  ColorConverter();
  ~ColorConverter();

  /** The frame in the wanted format, size and colours; its memory is overwritten by the next call. Throws Error. */
  const Frame& Convert(const Frame& source, PixelFormat format, int width, int height, const ColorTags& colors);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/** Converts decoded frames to what the library takes: full-range BT.601 or RGB, in one of its formats. */
class UploadConverter {
 public:
  explicit UploadConverter(UploadPath path) : path_(path) {}

  /** @return the frame itself when it can be uploaded, else a converted one, valid until the next call. Throws Error.
   */
  const Frame& Prepare(const Frame& frame);

 private:
  UploadPath path_;
  ColorConverter converter_;
};

}  // namespace qvgtool
