/*
 * A host without a window, from file to file: keys out a green screen, draws the untouched picture small into a corner,
 * and writes the result with its transparency. Without an input it makes a picture of its own.
 *
 *   headless_file OUTPUT.pam [INPUT.ppm]
 */
#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const QVGColor kNoMatte = {0, 0, 0, 0};

/* A frame of R, G, B bytes, top row first; its pixels are null without memory. */
static QVGPixelBuffer makePicture(int width, int height) {
  QVGPixelBuffer picture = {{NULL, NULL, NULL}, {3 * width, 0, 0}, width, height, 0, 0, QVG_FORMAT_RGB};
  picture.plane[0] = malloc(3 * (size_t)width * (size_t)height);
  return picture;
}

/* A disc and a box in front of a green screen. */
static QVGPixelBuffer paintPicture(void) {
  enum { kWidth = 320, kHeight = 180 };
  static const uint8_t kScreen[3] = {35, 168, 68}, kDisc[3] = {220, 160, 130}, kBox[3] = {50, 70, 150};
  QVGPixelBuffer picture = makePicture(kWidth, kHeight);
  for (int i = 0; picture.plane[0] && i < kWidth * kHeight; ++i) {
    const int x = i % kWidth - kWidth / 2, y = i / kWidth - kHeight / 3;
    const bool disc = x * x + y * y<40 * 40, box = y> 45 && x > -60 && x < 60;
    memcpy(picture.plane[0] + 3 * i, disc ? kDisc : box ? kBox : kScreen, 3);
  }
  return picture;
}

/* A number of a PPM's header, behind blanks and comments; 0 when there is none. */
static int readNumber(FILE* file) {
  int number = 0;
  while (fscanf(file, " %d", &number) == 0) {
    int character = fgetc(file);
    if (character != '#') return 0;
    while (character != '\n' && character != EOF) character = fgetc(file);
  }
  return number;
}

/* A binary PPM with 8 bits a channel; its pixels are null when the file can't be read. */
static QVGPixelBuffer readPpm(const char* path) {
  QVGPixelBuffer picture = {{NULL, NULL, NULL}, {0, 0, 0}, 0, 0, 0, 0, QVG_FORMAT_RGB};
  FILE* file = fopen(path, "rb");
  if (!file) return picture;
  char type[2] = {0, 0};
  const bool known = fread(type, 1, 2, file) == 2 && memcmp(type, "P6", 2) == 0;
  const int width = known ? readNumber(file) : 0, height = readNumber(file), largest = readNumber(file);
  const bool fits = width > 0 && width <= 16384 && height > 0 && height <= 16384 && largest == 255;
  if (fits && fgetc(file) != EOF) picture = makePicture(width, height);
  const size_t rowBytes = 3 * (size_t)width;
  if (picture.plane[0] && fread(picture.plane[0], rowBytes, (size_t)height, file) != (size_t)height) {
    free(picture.plane[0]);
    picture.plane[0] = NULL;
  }
  fclose(file);
  return picture;
}

static bool writePam(const char* path, const QVGPixelBuffer* rgba) {
  FILE* file = fopen(path, "wb");
  if (!file) return false;
  fprintf(file, "P7\nWIDTH %d\nHEIGHT %d\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n", (int)rgba->width,
          (int)rgba->height);
  bool ok = true;
  for (int y = 0; ok && y < rgba->height; ++y) {
    ok = fwrite(rgba->plane[0] + (size_t)y * (size_t)rgba->stride[0], 4, (size_t)rgba->width, file) ==
         (size_t)rgba->width;
  }
  return fclose(file) == 0 && ok;
}

static bool setInteger(const QVGGLRendererInterface* gl, QVGEffect* effect, const char* key, int64_t number) {
  QVGParamValue value = {QVG_PARAM_INTEGER, {0}};
  value.value.integer = number;
  return gl->SetEffectParameter(effect, key, &value);
}

/* The picture with its green screen transparent: a new texture. */
static QVGTexture* keyOut(const QVGGLRendererInterface* gl, QVGTexture* picture) {
  QVGEffect* effect = gl->CreateEffect("general_eff");
  QVGParamValue green = {QVG_PARAM_COLOR, {0}};
  green.value.color[0] = 35 / 255.0;
  green.value.color[1] = 168 / 255.0;
  green.value.color[2] = 68 / 255.0;
  QVGTexture* keyed = NULL;
  if (effect && setInteger(gl, effect, "enable_key", 1) && gl->SetEffectParameter(effect, "color", &green) &&
      setInteger(gl, effect, "similarity", 150) && setInteger(gl, effect, "smoothness", 60)) {
    keyed = gl->ApplyEffect(effect, picture);
  }
  gl->DestroyEffect(&effect);
  return keyed;
}

/* Both pictures into the target, whose rows begin at the bottom as those of the keyed one do. */
static bool compose(const QVGGLRendererInterface* gl, QVGTexture* keyed, QVGTexture* picture, QVGTexture* target) {
  const double width = gl->GetTextureWidth(target), height = gl->GetTextureHeight(target);
  QVGDrawTextureParams corner = QVG_DRAW_TEXTURE_PARAMS_INIT;
  corner.blendType = QVG_BLEND_NORMAL;
  /* The upload's rows begin at the top: turned over it stands upright here. */
  corner.scale[0] = 0.25;
  corner.scale[1] = -0.25;
  corner.translation[0] = width * 0.375 - 8;
  corner.translation[1] = height * 0.375 - 8;
  QVGFrameBuffer* frameBuffer = gl->CreateFrameBuffer(0, 0, false, false);
  const bool ok = frameBuffer && gl->BindTextureToFrameBuffer(frameBuffer, target) &&
                  gl->DrawTexture(keyed, frameBuffer, NULL) && gl->DrawTexture(picture, frameBuffer, &corner);
  gl->DestroyFrameBuffer(&frameBuffer);
  return ok;
}

/* With a context current. Says what went wrong, or returns null. */
static const char* render(const QVGGLRendererInterface* gl, const QVGPixelBuffer* input, const char* output) {
  const char* error = NULL;
  QVGPixelBuffer rgba = {{NULL, NULL, NULL}, {0, 0, 0}, 0, 0, 0, 0, 0}, *result = &rgba;
  QVGTexture* picture = gl->UploadPixelBufferToNewTexture(input, false, false, kNoMatte);
  QVGTexture* keyed = picture ? keyOut(gl, picture) : NULL;
  QVGTexture* target = gl->AcquireTexture((uint32_t)input->width, (uint32_t)input->height);
  if (!picture || !keyed || !target) {
    error = "no textures";
  } else if (!compose(gl, keyed, picture, target)) {
    error = "drawing failed";
  } else if (!gl->TextureToRGBAPixelBuffer(target, result, true)) {
    error = "reading back failed";
  } else if (!writePam(output, result)) {
    error = "the output can't be written";
  }
  gl->ReleasePixelBuffer(&result);
  gl->ReleaseTexture(&target);
  gl->ReleaseTexture(&keyed);
  gl->ReleaseTexture(&picture);
  return error;
}

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: headless_file OUTPUT.pam [INPUT.ppm]\n");
    return EXIT_FAILURE;
  }
  QVGPixelBuffer input = argc > 2 ? readPpm(argv[2]) : paintPicture();
  if (!input.plane[0]) {
    fprintf(stderr, "headless_file: the input can't be read\n");
    return EXIT_FAILURE;
  }
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  QVGGLContext* context = gl->GetSharedContext();
  const bool current = context && gl->MakeCurrentContext(context, NULL);
  const char* error = current ? render(gl, &input, argv[1]) : "no OpenGL context; the log says why";
  gl->ReleaseSharedContext(&context);
  QVG_ReleaseGLRendererInterface(&gl);
  free(input.plane[0]);
  if (error) fprintf(stderr, "headless_file: %s\n", error);
  return error ? EXIT_FAILURE : EXIT_SUCCESS;
}
