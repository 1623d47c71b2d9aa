/* One round of what every host does: a frame up, the same frame back. */
#ifndef QVG_PRODUCT_USE_H
#define QVG_PRODUCT_USE_H

#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <string.h>

/* Leaves a context current on the calling thread when keepContext is true. Returns 0 when all went well. */
static int useRenderer(const QVGGLRendererInterface* gl, bool keepContext) {
  enum { kWidth = 5, kHeight = 3 };
  uint8_t pixels[kHeight][kWidth][4];
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const uint8_t pixel[4] = {(uint8_t)(40 * x + 7), (uint8_t)(60 * y + 11), (uint8_t)(30 * x + 20 * y), 255};
      memcpy(pixels[y][x], pixel, sizeof pixel);
    }
  }

  QVGGLContext* context = gl->GetSharedContext();
  if (!context || !gl->MakeCurrentContext(context, NULL)) {
    fprintf(stderr, "no context\n");
    return 1;
  }
  QVGPixelBuffer frame = {{0}, {0}, 0, 0, 0, 0, 0};
  frame.plane[0] = pixels[0][0];
  frame.stride[0] = sizeof pixels[0];
  frame.width = kWidth;
  frame.height = kHeight;
  frame.format = QVG_FORMAT_RGBA;
  const QVGColor none = {0, 0, 0, 0};
  QVGTexture* texture = gl->UploadPixelBufferToNewTexture(&frame, false, false, none);
  QVGPixelBuffer back = {{0}, {0}, 0, 0, 0, 0, 0};
  QVGPixelBuffer* result = &back;
  if (!texture || !gl->TextureToRGBAPixelBuffer(texture, result, false)) {
    fprintf(stderr, "no frame came back\n");
    return 1;
  }
  int differences = 0;
  for (int y = 0; y < kHeight; ++y) {
    differences += memcmp(back.plane[0] + y * back.stride[0], pixels[y], sizeof pixels[y]) != 0;
  }
  gl->ReleasePixelBuffer(&result);
  gl->ReleaseTexture(&texture);
  if (!keepContext && !gl->ReleaseSharedContext(&context)) {
    fprintf(stderr, "the context was not taken back\n");
    return 1;
  }
  if (differences) fprintf(stderr, "%d rows differ\n", differences);
  return differences != 0;
}

#endif
