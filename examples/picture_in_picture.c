/*
 * A host in plain C: lays a small BGRA picture, turned and half transparent, over an NV12 camera frame, and reads the
 * result back as NV12 for an encoder and as RGBA for an image file.
 *
 *   picture_in_picture [OUTPUT.ppm]
 */
#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <stdlib.h>

enum { kWidth = 640, kHeight = 360, kSmallWidth = 160, kSmallHeight = 120 };

static const QVGColor kNoMatte = {0, 0, 0, 0};

/* Where a camera would deliver: a grey ramp with coloured corners. */
static QVGTexture* uploadCameraFrame(const QVGGLRendererInterface* gl) {
  static uint8_t luma[kHeight][kWidth];
  static uint8_t chroma[kHeight / 2][kWidth / 2][2];
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) luma[y][x] = (uint8_t)(40 + 170 * x / kWidth);
  }
  for (int y = 0; y < kHeight / 2; ++y) {
    for (int x = 0; x < kWidth / 2; ++x) {
      chroma[y][x][0] = (uint8_t)(90 + 76 * x / (kWidth / 2));
      chroma[y][x][1] = (uint8_t)(90 + 76 * y / (kHeight / 2));
    }
  }
  QVGPixelBuffer frame = {{luma[0], chroma[0][0], NULL}, {kWidth, kWidth, 0}, kWidth, kHeight, 0, 0, QVG_FORMAT_NV12};
  return gl->UploadPixelBufferToNewTexture(&frame, false, false, kNoMatte);
}

/* A chequered picture with a red top. */
static QVGTexture* uploadSmallPicture(const QVGGLRendererInterface* gl) {
  static uint8_t pixels[kSmallHeight][kSmallWidth][4];
  for (int y = 0; y < kSmallHeight; ++y) {
    for (int x = 0; x < kSmallWidth; ++x) {
      const uint8_t shade = (x / 16 + y / 16) % 2 ? 230 : 120;
      pixels[y][x][0] = y < 16 ? 30 : shade;
      pixels[y][x][1] = y < 16 ? 30 : shade;
      pixels[y][x][2] = shade;
      pixels[y][x][3] = 255;
    }
  }
  QVGPixelBuffer frame = {
      {pixels[0][0], NULL, NULL}, {4 * kSmallWidth, 0, 0}, kSmallWidth, kSmallHeight, 0, 0, QVG_FORMAT_BGRA};
  return gl->UploadPixelBufferToNewTexture(&frame, false, false, kNoMatte);
}

static bool writePpm(const char* path, const QVGPixelBuffer* rgba) {
  FILE* file = fopen(path, "wb");
  if (!file) return false;
  fprintf(file, "P6\n%d %d\n255\n", (int)rgba->width, (int)rgba->height);
  for (int y = 0; y < rgba->height; ++y) {
    const uint8_t* row = rgba->plane[0] + (size_t)y * (size_t)rgba->stride[0];
    for (int x = 0; x < rgba->width; ++x) fwrite(row + 4 * x, 1, 3, file);
  }
  return fclose(file) == 0;
}

static int fail(const char* what) {
  fprintf(stderr, "%s failed\n", what);
  return EXIT_FAILURE;
}

int main(int argc, char** argv) {
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  QVGGLContext* context = gl->GetSharedContext();
  if (!context || !gl->MakeCurrentContext(context, NULL)) return fail("making a context current");

  QVGTexture* camera = uploadCameraFrame(gl);
  QVGTexture* small = uploadSmallPicture(gl);
  QVGFrameBuffer* target = gl->CreateFrameBuffer(kWidth, kHeight, false, false);
  if (!camera || !small || !target || !gl->BindTextureToFrameBuffer(target, camera)) return fail("preparing");

  /* Drawn straight into the camera's texture, 24 pixels from two of its edges. */
  QVGDrawTextureParams params = QVG_DRAW_TEXTURE_PARAMS_INIT;
  params.blendType = QVG_BLEND_NORMAL;
  params.opacity = 0.75;
  params.rotation[2] = 8;
  params.translation[0] = (kWidth - kSmallWidth) / 2.0 - 24;
  params.translation[1] = (kHeight - kSmallHeight) / 2.0 - 24;
  if (!gl->DrawTexture(small, target, &params)) return fail("drawing");

  QVGPixelBuffer nv12 = {{NULL, NULL, NULL}, {0, 0, 0}, 0, 0, 0, 0, 0};
  QVGPixelBuffer rgba = nv12;
  if (!gl->TextureToNV12PixelBuffer(camera, &nv12, false) || !gl->TextureToRGBAPixelBuffer(camera, &rgba, false)) {
    return fail("reading back");
  }
  printf("NV12 %d x %d, strides %d and %d\n", (int)nv12.width, (int)nv12.height, (int)nv12.stride[0],
         (int)nv12.stride[1]);
  if (argc > 1 && !writePpm(argv[1], &rgba)) return fail("writing the image");

  /* Whatever is still held at the release becomes invalid, so everything goes back first. */
  QVGPixelBuffer *nv12Frame = &nv12, *rgbaFrame = &rgba;
  gl->ReleasePixelBuffer(&nv12Frame);
  gl->ReleasePixelBuffer(&rgbaFrame);
  gl->DestroyFrameBuffer(&target);
  gl->ReleaseTexture(&small);
  gl->ReleaseTexture(&camera);
  gl->ReleaseSharedContext(&context);
  QVG_ReleaseGLRendererInterface(&gl);
  return EXIT_SUCCESS;
}
