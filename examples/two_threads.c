/*
 * A host with two threads, each with a context of its own: one uploads frames and draws on them, the other reads them
 * back as an encoder would, and pastes them side by side into a picture. Textures go from one to the other.
 *
 *   two_threads OUTPUT.ppm
 */
#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "hostThread.h"

enum { kFrames = 8, kWidth = 80, kHeight = 60, kWaiting = 3 };

/* Textures on their way. A few at most: a renderer that runs ahead would only fill the GPU's memory. */
typedef struct Queue {
  HostLock guard;
  HostCondition changed;
  QVGTexture* textures[kWaiting];
  int count;
  bool closed; /* By whichever side ends first. */
} Queue;

typedef struct Host {
  const QVGGLRendererInterface* gl;
  Queue queue;
  uint8_t strip[kHeight][kFrames * kWidth][3];
  int read; /* Frames in the strip. */
} Host;

static bool push(Queue* queue, QVGTexture* texture) {
  lock(&queue->guard);
  while (queue->count == kWaiting && !queue->closed) waitFor(&queue->changed, &queue->guard);
  const bool taken = !queue->closed;
  if (taken) queue->textures[queue->count++] = texture;
  wakeAll(&queue->changed);
  unlock(&queue->guard);
  return taken;
}

/* Null when there are no more. */
static QVGTexture* pop(Queue* queue) {
  lock(&queue->guard);
  while (queue->count == 0 && !queue->closed) waitFor(&queue->changed, &queue->guard);
  QVGTexture* texture = NULL;
  if (queue->count > 0) {
    texture = queue->textures[0];
    --queue->count;
    for (int i = 0; i < queue->count; ++i) queue->textures[i] = queue->textures[i + 1];
  }
  wakeAll(&queue->changed);
  unlock(&queue->guard);
  return texture;
}

static void closeQueue(Queue* queue) {
  lock(&queue->guard);
  queue->closed = true;
  wakeAll(&queue->changed);
  unlock(&queue->guard);
}

/* Where a camera would deliver: each frame has a colour of its own. */
static QVGTexture* uploadFrame(const QVGGLRendererInterface* gl, int number) {
  uint8_t luma[kWidth * kHeight], chroma[kWidth * kHeight / 2];
  memset(luma, 120, sizeof luma);
  for (size_t i = 0; i < sizeof chroma; i += 2) {
    chroma[i] = (uint8_t)(80 + 12 * number);
    chroma[i + 1] = (uint8_t)(170 - 12 * number);
  }
  const QVGPixelBuffer frame = {{luma, chroma, NULL}, {kWidth, kWidth, 0}, kWidth, kHeight, 0, 0, QVG_FORMAT_NV12};
  const QVGColor noMatte = {0, 0, 0, 0};
  return gl->UploadPixelBufferToNewTexture(&frame, false, false, noMatte);
}

/* A white square, further to the right and down with each frame. */
static bool drawMark(const QVGGLRendererInterface* gl, QVGFrameBuffer* frameBuffer, QVGTexture* mark, int number) {
  QVGDrawTextureParams place = QVG_DRAW_TEXTURE_PARAMS_INIT;
  place.translation[0] = -30 + 8 * number;
  place.translation[1] = -20 + 5 * number;
  return gl->DrawTexture(mark, frameBuffer, &place);
}

static bool renderFrames(Host* host) {
  const QVGGLRendererInterface* const gl = host->gl;
  static const double kWhite[4] = {1, 1, 1, 1};
  QVGTexture* mark = gl->AcquireTexture(10, 10);
  QVGFrameBuffer* frameBuffer = gl->CreateFrameBuffer(kWidth, kHeight, false, false);
  bool ok = mark && frameBuffer && gl->ClearTexture(mark, kWhite);
  for (int number = 0; ok && number < kFrames; ++number) {
    QVGTexture* texture = uploadFrame(gl, number);
    ok = texture && gl->BindTextureToFrameBuffer(frameBuffer, texture) && drawMark(gl, frameBuffer, mark, number);
    /* The other thread may look at the texture only when all this is done. */
    if (ok) gl->Finish();
    ok = ok && push(&host->queue, texture);
    /* Handed over, it is the other thread's to release. */
    if (!ok) gl->ReleaseTexture(&texture);
  }
  gl->DestroyFrameBuffer(&frameBuffer);
  gl->ReleaseTexture(&mark);
  return ok;
}

static void paste(Host* host, const QVGPixelBuffer* rgba) {
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      memcpy(host->strip[y][host->read * kWidth + x], rgba->plane[0] + y * rgba->stride[0] + 4 * x, 3);
    }
  }
  ++host->read;
}

static bool readFrames(Host* host) {
  const QVGGLRendererInterface* const gl = host->gl;
  bool ok = true;
  for (QVGTexture* texture = pop(&host->queue); texture; texture = pop(&host->queue)) {
    QVGPixelBuffer rgba = {{NULL, NULL, NULL}, {0, 0, 0}, 0, 0, 0, 0, 0}, *frame = &rgba;
    ok = ok && gl->TextureToRGBAPixelBuffer(texture, frame, false);
    if (ok) paste(host, frame);
    gl->ReleasePixelBuffer(&frame);
    gl->ReleaseTexture(&texture);
    if (!ok) closeQueue(&host->queue);
  }
  return ok;
}

/* Both threads: a context of its own is current while a thread works, and given back before it ends. */
static void workOnContext(Host* host, bool (*work)(Host*), const char* name) {
  QVGGLContext* context = host->gl->GetSharedContext();
  if (!context || !host->gl->MakeCurrentContext(context, NULL) || !work(host)) {
    fprintf(stderr, "two_threads: %s failed\n", name);
  }
  closeQueue(&host->queue);
  host->gl->ReleaseSharedContext(&context);
}
static void render(void* host) { workOnContext(host, renderFrames, "rendering"); }
static void readBack(void* host) { workOnContext(host, readFrames, "reading back"); }

static bool writePpm(const char* path, const Host* host) {
  FILE* file = fopen(path, "wb");
  if (!file) return false;
  fprintf(file, "P6\n%d %d\n255\n", kFrames * kWidth, kHeight);
  const bool ok = fwrite(host->strip, sizeof host->strip, 1, file) == 1;
  return fclose(file) == 0 && ok;
}

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: two_threads OUTPUT.ppm\n");
    return EXIT_FAILURE;
  }
  static Host host = {.queue = {.guard = HOST_LOCK_INIT, .changed = HOST_CONDITION_INIT}};
  const QVGGLRendererInterface* gl = host.gl = QVG_GetGLRendererInterface(NULL);
  HostThread renderer, reader;
  HostWork rendering = {render, &host}, reading = {readBack, &host};
  if (!startThread(&renderer, &rendering)) return EXIT_FAILURE;
  const bool started = startThread(&reader, &reading);
  if (started) joinThread(&reader);
  closeQueue(&host.queue);
  joinThread(&renderer);
  /* Both threads are through: what they gave up is given back, and nothing of the library is in use any more. */
  for (QVGTexture* left = pop(&host.queue); left; left = pop(&host.queue)) gl->ReleaseTexture(&left);
  QVG_ReleaseGLRendererInterface(&gl);
  return host.read == kFrames && writePpm(argv[1], &host) ? EXIT_SUCCESS : EXIT_FAILURE;
}
