#include "media/plain/resize.h"

#include <new>

#define STB_IMAGE_RESIZE_IMPLEMENTATION
#define STB_IMAGE_RESIZE_STATIC
#include <stb/stb_image_resize.h>

namespace qvgtool {

void Resize(const Frame& from, int channels, Frame& to) {
  const bool smaller = to.width < from.width || to.height < from.height;
  const stbir_filter filter = smaller ? STBIR_FILTER_BOX : STBIR_FILTER_TRIANGLE;
  const int done = stbir_resize_uint8_generic(from.data[0], from.width, from.height, from.stride[0], to.data[0],
                                              to.width, to.height, to.stride[0], channels, STBIR_ALPHA_CHANNEL_NONE, 0,
                                              STBIR_EDGE_CLAMP, filter, STBIR_COLORSPACE_LINEAR, nullptr);
  if (done == 0) throw std::bad_alloc();
}

}  // namespace qvgtool
