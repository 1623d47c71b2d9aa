// What the library's uploads expect, and how every decoded frame is brought there.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <optional>

#include "media/ffmpegPtr.h"

namespace qvgtool {

/** How frames travel to the library. */
enum class UploadPath {
  // In their own format where the library has it; YUV that is limited-range or not BT.601 is brought to full-range
  // BT.601
  // within that format first.
  kNative,
  // RGB in its own format, YUV as RGBA: the library's YUV conversion samples planes up to a pixel beside the pixel's
  // middle, which softens a picture; the scaler's does not.
  kSharp
};

/** The code under which the library takes this format; none when it takes it not at all. */
std::optional<QVGPixelFormat> UploadFormat(AVPixelFormat format);

/** Colours of a frame, guesses made: untagged YUV is limited-range, BT.601 up to 576 lines and BT.709 above. */
struct ColorTags {
  bool rgb = false;
  bool fullRange = false;
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  bool IsFullRange601() const;
};
ColorTags TagsOf(const AVFrame& frame);

/** Converts frames between formats and colours; keeps its scaler and its memory from frame to frame. */
class ColorConverter {
 public:
  /** The frame in the wanted format, size and colours; its memory is overwritten by the next call. Throws Error. */
  const AVFrame& Convert(const AVFrame& source, AVPixelFormat format, int width, int height, const ColorTags& colors);

 private:
  struct Key {
    int sourceFormat, sourceWidth, sourceHeight, format, width, height;
    int sourceMatrix, matrix;
    bool sourceFull, full, chromaLeft;
    bool operator==(const Key&) const = default;
  };
  void _MakeScaler(const Key& key);

  std::optional<Key> key_;
  ScalerPtr scaler_;
  FramePtr result_;
};

/** Brings decoded frames to what the library takes: full-range BT.601 or RGB, in one of its formats. */
class UploadConverter {
 public:
  explicit UploadConverter(UploadPath path) : path_(path) {}

  /** The frame itself when it fits, else a converted one, valid until the next call. Throws Error. */
  const AVFrame& Prepare(const AVFrame& frame);

 private:
  UploadPath path_;
  ColorConverter converter_;
};

}  // namespace qvgtool
