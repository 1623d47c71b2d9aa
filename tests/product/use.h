/* What every host does: uploads a frame, draws it over another one, and reads it back. */
#ifndef QVG_PRODUCT_USE_H
#define QVG_PRODUCT_USE_H

#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <string.h>

/* With up to 256 x 64 pixels, on the current context. kept: receives the read-back, which then is not given back; may
   be null. Prints nothing: the process may be ending. Returns 0 when all went well. */
static int renderFrame(const QVGGLRendererInterface* gl, int width, int height, QVGPixelBuffer* kept) {
  uint8_t pixels[4 * 256 * 64];
  for (size_t i = 0; i < sizeof pixels; ++i) pixels[i] = i % 4 == 3 ? 255 : (uint8_t)(i * 7 / 3);
  QVGPixelBuffer frame = {{0}, {0}, 0, 0, 0, 0, 0};
  frame.plane[0] = pixels;
  frame.stride[0] = 4 * width;
  frame.width = width;
  frame.height = height;
  frame.format = QVG_FORMAT_RGBA;
  const QVGColor none = {0, 0, 0, 0};
  QVGTexture* source = gl->UploadPixelBufferToNewTexture(&frame, false, false, none);
  QVGTexture* target = gl->AcquireTexture((uint32_t)width, (uint32_t)height);
  QVGFrameBuffer* frameBuffer = gl->CreateFrameBuffer((uint32_t)width, (uint32_t)height, false, false);
  QVGPixelBuffer back = {{0}, {0}, 0, 0, 0, 0, 0};
  QVGPixelBuffer* result = kept ? kept : &back;
  int failed = !gl->BindTextureToFrameBuffer(frameBuffer, target) || !gl->DrawTexture(source, frameBuffer, NULL) ||
               !gl->TextureToRGBAPixelBuffer(target, result, false);
  for (int y = 0; y < height && !failed; ++y) {
    failed = memcmp(result->plane[0] + y * result->stride[0], pixels + 4 * y * width, 4 * (size_t)width) != 0;
  }
  if (!kept) gl->ReleasePixelBuffer(&result);
  gl->DestroyFrameBuffer(&frameBuffer);
  gl->ReleaseTexture(&source);
  gl->ReleaseTexture(&target);
  return failed;
}

/* The same on a context of its own, which stays current when keepContext is true. */
static inline int useRenderer(const QVGGLRendererInterface* gl, bool keepContext) {
  QVGGLContext* context = gl->GetSharedContext();
  const int failed = !context || !gl->MakeCurrentContext(context, NULL) || renderFrame(gl, 5, 3, NULL) ||
                     (!keepContext && !gl->ReleaseSharedContext(&context));
  if (failed) fprintf(stderr, "no frame came back as it was\n");
  return failed;
}

#endif
