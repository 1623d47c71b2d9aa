// Frames in memory of every format, and what a texture must hold after their upload.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "qvGLRenderer/qvGLRenderer.h"
#include "reference/image.h"

namespace qvg::reference {

struct Format {
  int code;
  const char* name;
  int planes;
  std::array<int, 3> channels;  // per plane
  int bytesPerChannel;
  bool halfWidth, halfHeight;  // of the chroma planes
  std::array<int, 4> order;    // packed formats: where R, G, B and A lie in a pixel; -1 for none
  bool yuv() const { return planes > 1; }
};

const std::vector<Format>& Formats();
const Format& FormatOf(int code);

/// One way to lay a frame out in memory.
struct Layout {
  int code, width, height;
  std::array<int, 3> stride;      // as the descriptor tells it
  int strideUnit[3] = {1, 1, 1};  // bytes that one count of it means
  bool halfWidthChroma;
  std::string name;
};

/// Every stride that is worth trying: tight, padded by whole texels, padded by bytes; for 16-bit frames also chroma at
/// full width and strides that count texels.
std::vector<Layout> Layouts(int code, int width, int height);

/// A plane in memory.
struct Block {
  std::shared_ptr<uint8_t> bytes;
  size_t size;
};
/// Gives memory of a size, for frames to lie in.
using Memory = std::function<std::shared_ptr<uint8_t>(size_t size)>;
/// Of the heap.
std::shared_ptr<uint8_t> HeapMemory(size_t size);

struct Frame {
  Layout layout;
  QVGPixelBuffer buffer = {};
  std::vector<Block> memory;  // each ends with the last pixel of the last row
  std::vector<Image> planes;  // the samples, 0..1, channels in the order of memory
};

/// The sample at a place of a plane.
using SampleAt = std::function<uint8_t(int plane, int channel, int x, int y)>;
Frame MakeFrame(const Memory& memory, const Layout& layout, const SampleAt& sample);
/// A frame with the test picture of the seed.
Frame MakeFrame(const Memory& memory, const Layout& layout, int seed);
Frame MakeFrame(const Memory& memory, int code, int width, int height, int seed);
/// A packed frame with this picture.
Frame MakeFrame(const Memory& memory, const Layout& layout, const Image& picture);
Frame MakeFrame(const Memory& memory, int code, const Image& picture);

/// What a texture with a content of width x height holds after the upload, row 0 first.
Image ExpectedUpload(const Frame& frame, int width, int height);
/// How far it may be off, in steps from the exact value. Packed frames are stored as they come, rounded once where they
/// have fewer bits. A YUV frame is the sum of samples times up to 1.772; a driver that filters with 8 bits may be a
/// step off with each.
constexpr double kYuvUploadLimit = 3.3;
double UploadLimit(const Format& format);

/// A YUV frame of cells of one colour each: inside of them no filtering blurs the figures, and the formulas must be
/// exact.
constexpr int kFlatWidth = 288, kFlatHeight = 48;
constexpr double kFlatLimit = 0.51;
Frame MakeFlatFrame(const Memory& memory, const Layout& layout);
/// The pixels to leave out.
std::vector<bool> NotFlat();

/// The picture after keying.
Image Matted(const Image& image, const QVGColor& matte);

}  // namespace qvg::reference
