// Loops over the pixels of frames in memory, made for the compiler's vectors: what the table doesn't do.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qvgst {

/// A rectangle of pixels or samples in memory. The stride is in bytes.
template <class Byte>
struct Rows {
  Byte* first;
  ptrdiff_t stride;

  Byte* Row(int row) const { return first + row * stride; }
};
using ReadRows = Rows<const uint8_t>;
using WriteRows = Rows<uint8_t>;

/// Which byte of a four-byte pixel is alpha: 0 or 3.
bool AllOpaque(ReadRows pixels, int width, int height, int alphaByte);

/// Copies with every alpha at 255.
void CopyOpaque(ReadRows from, WriteRows to, int width, int height, int alphaByte);

/// Copies with each colour multiplied by its alpha, rounded to the nearest.
void CopyPremultiplied(ReadRows from, WriteRows to, int width, int height, int alphaByte);

/// The way back: each colour divided by its alpha, alpha being byte 3. What is transparent becomes 0.
void CopyStraight(ReadRows from, WriteRows to, int width, int height);

/// The first three bytes of each pixel of four.
void CopyWithoutAlpha(ReadRows from, WriteRows to, int width, int height);

/// How YCbCr becomes RGB: with y from black at 0, and cb and cr about 0, all in 255ths, R = y * luma + cr * redOfCr,
/// and so on. (ITU-R BT.601, BT.709, BT.2020, by their weights of red and blue.)
struct YuvMatrix {
  int black;
  double luma, redOfCr, greenOfCb, greenOfCr, blueOfCb;

  /// red, blue: their weights in luma. full: of the full range, else of the limited one.
  static YuvMatrix Of(double red, double blue, bool full);
};

/// A YUV frame. bytes: of a sample, 1, or 2 (little-endian, values in the high bits). step: from one sample of a chroma
/// plane to the next, in bytes. across, down: how many luma samples share one of chroma, 1 or 2. left: chroma lies at
/// the left one of the two, else between them; vertically it lies between them.
struct YuvFrame {
  int width, height, bytes, step, across, down;
  bool left;
  ReadRows luma, u, v;
};

/// Converts a frame to R, G, B, 255, with chroma interpolated linearly.
void ConvertToRGBA(const YuvMatrix& matrix, const YuvFrame& frame, WriteRows to);

}  // namespace qvgst
