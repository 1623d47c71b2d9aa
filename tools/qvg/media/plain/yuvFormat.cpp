#include "media/plain/yuvFormat.h"

#include <algorithm>

namespace qvgtool {
namespace {

constexpr PixelFormat Own(int number) {
  return static_cast<PixelFormat>(static_cast<int>(PixelFormat::kOther) + number);
}

constexpr YuvFormat kFormats[] = {
    {PixelFormat::kI420, "420", 2, 2, 8},
    {PixelFormat::kI420, "420jpeg", 2, 2, 8},
    {PixelFormat::kI420, "420mpeg2", 2, 2, 8, false, true},
    {PixelFormat::kI420, "420paldv", 2, 2, 8, false, true},
    {PixelFormat::kI422, "422", 2, 1, 8, false, true},
    {PixelFormat::kI444, "444", 1, 1, 8},
    {Own(0), "411", 4, 1, 8, false, true},
    {Own(1), "mono", 1, 1, 8, true},
    {Own(2), "420p9", 2, 2, 9, false, true},
    {Own(3), "422p9", 2, 1, 9, false, true},
    {Own(4), "444p9", 1, 1, 9},
    {Own(5), "420p10", 2, 2, 10, false, true},
    {Own(6), "422p10", 2, 1, 10, false, true},
    {Own(7), "444p10", 1, 1, 10},
    {Own(8), "mono10", 1, 1, 10, true},
    {Own(9), "420p12", 2, 2, 12, false, true},
    {Own(10), "422p12", 2, 1, 12, false, true},
    {Own(11), "444p12", 1, 1, 12},
    {Own(12), "mono12", 1, 1, 12, true},
    {Own(13), "420p14", 2, 2, 14, false, true},
    {Own(14), "422p14", 2, 1, 14, false, true},
    {Own(15), "444p14", 1, 1, 14},
    {Own(16), "420p16", 2, 2, 16, false, true},
    {Own(17), "422p16", 2, 1, 16, false, true},
    {Own(18), "444p16", 1, 1, 16},
    {Own(19), "mono16", 1, 1, 16, true},
};

}  // namespace

std::span<const YuvFormat> YuvFormats() { return kFormats; }

const YuvFormat* FindYuv(PixelFormat format) {
  const auto* row = std::find_if(std::begin(kFormats), std::end(kFormats),
                                 [&](const YuvFormat& candidate) { return candidate.format == format; });
  return row == std::end(kFormats) ? nullptr : row;
}

FramePtr NewYuvFrame(const YuvFormat& layout, int width, int height) {
  auto frame = std::make_unique<Frame>();
  frame->format = layout.format;
  frame->width = width;
  frame->height = height;
  frame->chromaLeft = layout.chromaLeft;
  size_t offsets[3] = {}, size = 0;
  for (size_t plane = 0; plane < layout.Planes(); ++plane) {
    const size_t stride = static_cast<size_t>(layout.Width(width, plane)) * layout.BytesOfSample();
    frame->stride[plane] = static_cast<int>(stride);
    offsets[plane] = size;
    size += stride * static_cast<size_t>(layout.Height(height, plane));
  }
  const std::shared_ptr<uint8_t[]> memory(new uint8_t[size]);
  for (size_t plane = 0; plane < layout.Planes(); ++plane) frame->data[plane] = memory.get() + offsets[plane];
  frame->memory = memory;
  return frame;
}

}  // namespace qvgtool
