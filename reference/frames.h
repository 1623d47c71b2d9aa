// Frames of every format in memory, and the expected texture after their upload.
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
  std::array<int, 4> order;    // packed formats: the positions of R, G, B and A in a pixel; -1 for none
  bool yuv() const { return planes > 1; }
};

const std::vector<Format>& Formats();
const Format& FormatOf(int code);

/// One way to lay a frame out in memory.
struct Layout {
  int code, width, height;
  std::array<int, 3> stride;      // as in the descriptor
  int strideUnit[3] = {1, 1, 1};  // bytes per unit of the stride
  bool halfWidthChroma;
  std::string name;
};

/// All strides worth testing: tight, padded by whole texels, padded by bytes; for 16-bit frames also chroma at full
/// width and strides in texels.
std::vector<Layout> Layouts(int code, int width, int height);

/// A plane in memory.
struct Block {
  std::shared_ptr<uint8_t> bytes;
  size_t size;
};
/// Allocates memory for a frame.
using Memory = std::function<std::shared_ptr<uint8_t>(size_t size)>;
/// From the heap.
std::shared_ptr<uint8_t> HeapMemory(size_t size);

struct Frame {
  Layout layout;
  QVGPixelBuffer buffer = {};
  std::vector<Block> memory;  // each block ends with the last pixel of the last row
  std::vector<Image> planes;  // the samples, 0..1, channels in the order of memory
};

/// A sample of a plane.
using SampleAt = std::function<uint8_t(int plane, int channel, int x, int y)>;
Frame MakeFrame(const Memory& memory, const Layout& layout, const SampleAt& sample);
/// A frame with the seed's test picture.
Frame MakeFrame(const Memory& memory, const Layout& layout, int seed);
Frame MakeFrame(const Memory& memory, int code, int width, int height, int seed);
/// A packed frame with this picture.
Frame MakeFrame(const Memory& memory, const Layout& layout, const Image& picture);
Frame MakeFrame(const Memory& memory, int code, const Image& picture);

/// The content, width x height, of a texture after the upload, row 0 first.
Image ExpectedUpload(const Frame& frame, int width, int height);
/// The largest error allowed, in steps from the exact value. Packed frames are stored as they are, rounded once where
/// they have fewer bits. YUV frames give sums of samples times up to 1.772, and a driver that filters with 8 bits may
/// be a step off with each sample.
constexpr double kYuvUploadLimit = 3.3;
double UploadLimit(const Format& format);

/// A YUV frame with cells of one colour: inside a cell filtering changes nothing, so the formulas must be exact.
constexpr int kFlatWidth = 288, kFlatHeight = 48;
constexpr double kFlatLimit = 0.51;
Frame MakeFlatFrame(const Memory& memory, const Layout& layout);
/// The pixels to leave out of the comparison.
std::vector<bool> NotFlat();

/// The picture after its matte colour was made transparent.
Image Matted(const Image& image, const QVGColor& matte);

}  // namespace qvg::reference
