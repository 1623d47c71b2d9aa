/* What the hosts with OpenGL of their own show: their own drawing, and what the library makes of a frame. The
 * platform's <GL/gl.h> is to be included before. */
#ifndef QVG_EXAMPLES_HOST_SCENE_H
#define QVG_EXAMPLES_HOST_SCENE_H

#include <qvGLRenderer/qvGLRenderer.h>
#include <stdbool.h>
#include <stdio.h>

enum { kWidth = 480, kHeight = 240, kFrameWidth = 200, kFrameHeight = 150 };

/* A texture of the host's, on the context that is current. */
static GLuint makePictureTexture(void) {
  GLuint picture = 0;
  glGenTextures(1, &picture);
  glBindTexture(GL_TEXTURE_2D, picture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kFrameWidth, kFrameHeight, 0, GL_RGBA, GL_UNSIGNED_BYTE, NULL);
  return picture;
}

/* Where a camera would deliver: a disc that moves from left to right in front of green,
   which is brighter below. */
static QVGTexture* uploadFrame(const QVGGLRendererInterface* gl, int number) {
  static uint8_t pixels[kFrameHeight][kFrameWidth][4];
  const int discX = 40 + 2 * number % (kFrameWidth - 80), discY = 50, radius = 30;
  for (int y = 0; y < kFrameHeight; ++y) {
    for (int x = 0; x < kFrameWidth; ++x) {
      const bool disc = (x - discX) * (x - discX) + (y - discY) * (y - discY) < radius * radius;
      pixels[y][x][0] = disc ? 40 : 60;
      pixels[y][x][1] = (uint8_t)(disc ? 200 : 90 + y);
      pixels[y][x][2] = disc ? 240 : 60;
      pixels[y][x][3] = 255;
    }
  }
  const QVGPixelBuffer frame = {
      {pixels[0][0], NULL, NULL}, {4 * kFrameWidth, 0, 0}, kFrameWidth, kFrameHeight, 0, 0, QVG_FORMAT_BGRA};
  const QVGColor noMatte = {0, 0, 0, 0};
  return gl->UploadPixelBufferToNewTexture(&frame, false, false, noMatte);
}

/* The library's part of a frame: it is uploaded, drawn small over itself, and read back. */
static bool renderFrame(const QVGGLRendererInterface* gl, int number, QVGPixelBuffer* rgba) {
  QVGTexture* texture = uploadFrame(gl, number);
  QVGFrameBuffer* frameBuffer = gl->CreateFrameBuffer(0, 0, false, false);
  QVGDrawTextureParams inset = QVG_DRAW_TEXTURE_PARAMS_INIT;
  inset.scale[0] = inset.scale[1] = 0.3;
  inset.translation[0] = 60;
  inset.translation[1] = 45;
  inset.rotation[2] = -10;
  const bool ok = texture && frameBuffer && gl->BindTextureToFrameBuffer(frameBuffer, texture) &&
                  gl->DrawTexture(texture, frameBuffer, &inset) && gl->TextureToRGBAPixelBuffer(texture, rgba, false);
  gl->DestroyFrameBuffer(&frameBuffer);
  gl->ReleaseTexture(&texture);
  return ok;
}

/* The host's own drawing: its state is as it left it, whatever the library did. */
static void drawWindow(GLuint picture, int number) {
  glClearColor(0.1f, 0.15f, 0.3f, 1);
  glClear(GL_COLOR_BUFFER_BIT);

  glLoadIdentity();
  glTranslatef(-0.5f, 0, 0);
  glScalef((GLfloat)kHeight / kWidth, 1, 1);
  glRotatef((GLfloat)(3 * number), 0, 0, 1);
  glColor3f(0.9f, 0.4f, 0.2f);
  glBegin(GL_TRIANGLES);
  glVertex2f(-0.3f, -0.4f);
  glVertex2f(0.3f, -0.4f);
  glVertex2f(0, 0.6f);
  glEnd();

  glLoadIdentity();
  glEnable(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, picture);
  glColor3f(1, 1, 1);
  glBegin(GL_QUADS);
  /* The read-back begins with the frame's top row, so that is where t is 0. */
  glTexCoord2f(0, 1), glVertex2f(0.1f, -0.625f);
  glTexCoord2f(1, 1), glVertex2f(0.1f + 2.0f * kFrameWidth / kWidth, -0.625f);
  glTexCoord2f(1, 0), glVertex2f(0.1f + 2.0f * kFrameWidth / kWidth, 0.625f);
  glTexCoord2f(0, 0), glVertex2f(0.1f, 0.625f);
  glEnd();
  glDisable(GL_TEXTURE_2D);
}

static bool writeWindow(const char* path) {
  static uint8_t pixels[kHeight][kWidth][3];
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, kWidth, kHeight, GL_RGB, GL_UNSIGNED_BYTE, pixels);
  FILE* file = fopen(path, "wb");
  if (!file) return false;
  fprintf(file, "P6\n%d %d\n255\n", kWidth, kHeight);
  bool ok = true;
  for (int y = kHeight - 1; ok && y >= 0; --y) ok = fwrite(pixels[y], sizeof pixels[y], 1, file) == 1;
  return fclose(file) == 0 && ok;
}

#endif
