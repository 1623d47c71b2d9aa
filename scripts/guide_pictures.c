/*
 * Makes the guide's pictures of memory: each PPM shows the rows of a read-back in their order in memory. Called by
 * scripts/guide_pictures.sh.
 *
 *   pictures FRAME.ppm FOLDER      a frame in front of a green screen
 */
#include <math.h>
#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const QVGGLRendererInterface* gl;
static const char* folder;
static int width, height;
static const QVGColor kNoMatte = {0, 0, 0, 0};

static void* need(void* made, const char* what) {
  if (made) return made;
  fprintf(stderr, "pictures: %s failed\n", what);
  exit(EXIT_FAILURE);
}
static void check(bool ok, const char* what) { need(ok ? &width : NULL, what); }

static uint8_t* readPpm(const char* path) {
  FILE* file = need(fopen(path, "rb"), path);
  check(fscanf(file, "P6 %d %d 255", &width, &height) == 2 && fgetc(file) != EOF, path);
  uint8_t* rgb = need(malloc(3 * (size_t)width * (size_t)height), "malloc");
  check(fread(rgb, 3 * (size_t)width, (size_t)height, file) == (size_t)height, path);
  fclose(file);
  return rgb;
}

static void writePpm(const char* name, const uint8_t* rgb) {
  char path[512];
  snprintf(path, sizeof path, "%s/%s.ppm", folder, name);
  FILE* file = need(fopen(path, "wb"), path);
  fprintf(file, "P6\n%d %d\n255\n", width, height);
  check(fwrite(rgb, 3 * (size_t)width, (size_t)height, file) == (size_t)height, path);
  fclose(file);
}

/* R, G and B of a read-back, in which colours with alpha 0 are black. */
static void writeRgba(const char* name, const QVGPixelBuffer* rgba) {
  uint8_t* rgb = need(malloc(3 * (size_t)width * (size_t)height), "malloc");
  for (int i = 0; i < width * height; ++i) memcpy(rgb + 3 * i, rgba->plane[0] + 4 * i, 3);
  writePpm(name, rgb);
  free(rgb);
}

static void readBack(const char* name, QVGTexture* texture, bool flip) {
  QVGPixelBuffer rgba = {{NULL}, {0}, 0, 0, 0, 0, 0}, *result = &rgba;
  check(gl->TextureToRGBAPixelBuffer(texture, result, flip), name);
  writeRgba(name, result);
  gl->ReleasePixelBuffer(&result);
}

/* The luma plane, as grey. */
static void readBackLuma(const char* name, QVGTexture* texture, bool mirror) {
  QVGPixelBuffer nv12 = {{NULL}, {0}, 0, 0, 0, 0, 0}, *result = &nv12;
  check(gl->TextureToNV12PixelBuffer(texture, result, mirror), name);
  uint8_t* rgb = need(malloc(3 * (size_t)width * (size_t)height), "malloc");
  for (int i = 0; i < width * height; ++i) memset(rgb + 3 * i, nv12.plane[0][i], 3);
  writePpm(name, rgb);
  free(rgb);
  gl->ReleasePixelBuffer(&result);
}

static QVGTexture* upload(uint8_t* rgb) {
  const QVGPixelBuffer frame = {{rgb}, {3 * width}, width, height, 0, 0, QVG_FORMAT_RGB};
  return need(gl->UploadPixelBufferToNewTexture(&frame, false, false, kNoMatte), "upload");
}

static void set(QVGEffect* effect, const char* key, int64_t number) {
  QVGParamValue value = {QVG_PARAM_INTEGER, {0}};
  value.value.integer = number;
  check(gl->SetEffectParameter(effect, key, &value), key);
}

static QVGTexture* keyed(QVGTexture* frame) {
  QVGEffect* effect = need(gl->CreateEffect("general_eff"), "effect");
  QVGParamValue green = {QVG_PARAM_COLOR, {0}};
  green.value.color[0] = 0x22 / 255.0, green.value.color[1] = 0xaa / 255.0, green.value.color[2] = 0x41 / 255.0;
  check(gl->SetEffectParameter(effect, "color", &green), "color");
  set(effect, "enable_key", 1), set(effect, "similarity", 155), set(effect, "smoothness", 60);
  set(effect, "anti-spill", 75);
  QVGTexture* result = need(gl->ApplyEffect(effect, frame), "applying");
  gl->DestroyEffect(&effect);
  return result;
}

/* Draws the source over the target, upright or upside down. */
static void draw(QVGTexture* source, QVGTexture* target, double scaleY) {
  QVGFrameBuffer* frameBuffer = need(gl->CreateFrameBuffer(0, 0, false, false), "frame buffer");
  QVGDrawTextureParams params = QVG_DRAW_TEXTURE_PARAMS_INIT;
  params.blendType = QVG_BLEND_NORMAL;
  params.scale[1] = scaleY;
  check(gl->BindTextureToFrameBuffer(frameBuffer, target) && gl->DrawTexture(source, frameBuffer, &params), "drawing");
  gl->DestroyFrameBuffer(&frameBuffer);
}

static void orientation(uint8_t* rgb, uint8_t* background) {
  QVGTexture* frame = upload(rgb);
  readBack("upload-rgba", frame, false);
  readBack("upload-rgba-flip", frame, true);
  readBackLuma("upload-nv12", frame, false);
  readBackLuma("upload-nv12-mirror", frame, true);
  QVGTexture* effect = keyed(frame);
  readBack("effect-rgba", effect, false);
  readBack("effect-rgba-flip", effect, true);
  readBackLuma("effect-nv12", effect, false);
  const struct {
    const char* name;
    QVGTexture* source;
    double scaleY;
  } draws[] = {{"drawn-upload", frame, 1}, {"drawn-effect", effect, 1}, {"drawn-effect-turned", effect, -1}};
  for (size_t i = 0; i < sizeof draws / sizeof draws[0]; ++i) {
    QVGTexture* target = upload(background);
    draw(draws[i].source, target, draws[i].scaleY);
    readBack(draws[i].name, target, false);
    gl->ReleaseTexture(&target);
  }
  gl->ReleaseTexture(&effect);
  gl->ReleaseTexture(&frame);
}

/* The keyed picture over white, as a host computes it with either formula. */
static void alpha(uint8_t* rgb, const uint8_t* white) {
  QVGTexture *frame = upload(rgb), *effect = keyed(frame), *target = upload((uint8_t*)white);
  QVGPixelBuffer rgba = {{NULL}, {0}, 0, 0, 0, 0, 0}, *result = &rgba;
  check(gl->TextureToRGBAPixelBuffer(effect, result, true), "read-back");
  uint8_t* blended = need(malloc(3 * (size_t)width * (size_t)height), "malloc");
  for (int straight = 0; straight < 2; ++straight) {
    for (int i = 0; i < width * height; ++i) {
      const uint8_t* pixel = rgba.plane[0] + 4 * i;
      const double a = pixel[3] / 255.0;
      for (int c = 0; c < 3; ++c) {
        blended[3 * i + c] = (uint8_t)lround(pixel[c] * (straight ? a : 1) + white[3 * i + c] * (1 - a));
      }
    }
    writePpm(straight ? "alpha-straight" : "alpha-premultiplied", blended);
  }
  free(blended);
  gl->ReleasePixelBuffer(&result);
  draw(effect, target, -1);
  readBack("alpha-drawn", target, false);
  gl->ReleaseTexture(&target);
  gl->ReleaseTexture(&effect);
  gl->ReleaseTexture(&frame);
}

static uint8_t byteOf(double value) { return (uint8_t)lround(value < 0 ? 0 : value > 255 ? 255 : value); }

/* Limited-range video, uploaded as it is, and expanded to full range first. */
static void range(const uint8_t* rgb) {
  const size_t size = (size_t)width * (size_t)height;
  uint8_t* yuv = need(malloc(3 * size), "malloc");
  for (size_t i = 0; i < size; ++i) {
    const double r = rgb[3 * i], g = rgb[3 * i + 1], b = rgb[3 * i + 2], y = 0.299 * r + 0.587 * g + 0.114 * b;
    yuv[i] = byteOf(16 + y * 219 / 255);
    yuv[size + i] = byteOf(128 + (b - y) / 1.772 * 224 / 255);
    yuv[2 * size + i] = byteOf(128 + (r - y) / 1.402 * 224 / 255);
  }
  for (int expanded = 0; expanded < 2; ++expanded) {
    for (size_t i = 0; i < 3 * size && expanded; ++i) {
      yuv[i] = i < size ? byteOf((yuv[i] - 16) * 255 / 219.0) : byteOf(128 + (yuv[i] - 128) * 255 / 224.0);
    }
    const QVGPixelBuffer frame = {
        {yuv, yuv + size, yuv + 2 * size}, {width, width, width}, width, height, 0, 0, QVG_FORMAT_I444};
    QVGTexture* texture = need(gl->UploadPixelBufferToNewTexture(&frame, false, false, kNoMatte), "upload");
    readBack(expanded ? "range-expanded" : "range-limited", texture, false);
    gl->ReleaseTexture(&texture);
  }
  free(yuv);
}

int main(int argc, char** argv) {
  if (argc < 3) return EXIT_FAILURE;
  uint8_t* rgb = readPpm(argv[1]);
  folder = argv[2];
  uint8_t* plain = need(malloc(3 * (size_t)width * (size_t)height), "malloc");
  gl = QVG_GetGLRendererInterface(NULL);
  QVGGLContext* context = need(gl->GetSharedContext(), "context");
  check(gl->MakeCurrentContext(context, NULL), "context");

  /* Brighter at the top. */
  for (int i = 0; i < 3 * width * height; ++i) plain[i] = (uint8_t)(230 - 90 * (i / 3 / width) / height);
  orientation(rgb, plain);
  memset(plain, 255, 3 * (size_t)width * (size_t)height);
  alpha(rgb, plain);
  range(rgb);

  gl->ReleaseSharedContext(&context);
  QVG_ReleaseGLRendererInterface(&gl);
  free(plain);
  free(rgb);
  return EXIT_SUCCESS;
}
