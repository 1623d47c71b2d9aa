#include "frame/pixelFormat.h"

#include "utils/slotCall.h"

namespace qvg {

namespace {

int DivideUp(int value, int divisor) { return (value + divisor - 1) / divisor; }

// 16-bit frames come with strides in bytes or in texels, and with chroma at half or full width.
void ResolveTwoPlane16(PlaneView& luma, PlaneView& chroma) {
  if (luma.stride < luma.RowBytes()) {
    luma.stride *= luma.format.bytesPerTexel;
    chroma.stride *= chroma.format.bytesPerTexel;
  } else if (chroma.stride < 2 * luma.stride) {
    chroma.width = DivideUp(luma.width, 2);
  }
}

}  // namespace

std::optional<FrameView> ViewFrame(const QVGPixelBuffer& frame, int maxSize) {
  FrameView view;
  view.format = FindPixelFormat(frame.format);
  view.width = frame.width;
  view.height = frame.height;
  constexpr char kSize[] = "1 to the driver's texture limit";
  if (!Expect(view.format != nullptr, "source->format", "a QVGPixelFormat") ||
      !Expect(frame.width >= 1 && frame.width <= maxSize, "source->width", kSize) ||
      !Expect(frame.height >= 1 && frame.height <= maxSize, "source->height", kSize)) {
    return std::nullopt;
  }
  for (int i = 0; i < view.format->planeCount; ++i) {
    const PlaneFormat& format = view.format->planes[i];
    view.planes[i] = {frame.plane[i], DivideUp(frame.width, format.divideX), DivideUp(frame.height, format.divideY),
                      frame.stride[i], format};
  }
  if (view.format->yuvFormat == YUV2RGBDrawer::kTwoPlane16) ResolveTwoPlane16(view.planes[0], view.planes[1]);
  for (int i = 0; i < view.format->planeCount; ++i) {
    const PlaneView& plane = view.planes[static_cast<size_t>(i)];
    if (!Expect(plane.pixels != nullptr, "source->plane", "every plane that the format has") ||
        !Expect(plane.stride >= plane.RowBytes(), "source->stride", "at least the bytes of a row of each plane")) {
      return std::nullopt;
    }
  }
  return view;
}

}  // namespace qvg
