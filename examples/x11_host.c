/*
 * A host with a window, in plain C on X11: makes moving NV12 frames, as a camera would deliver them, and shows them
 * letterboxed in a window that can be resized, until it is closed or the given number of frames is through.
 *
 *   x11_host [FRAMES]
 */
#define _POSIX_C_SOURCE 199309L /* nanosleep */
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

enum { kWidth = 640, kHeight = 360, kNanosecondsPerFrame = 16666667 };

typedef struct HostWindow {
  Display* display;
  Window window;
  Atom deleteWindow;
  unsigned width, height;
  bool closed;
} HostWindow;

static uint8_t luma[kHeight][kWidth];
static uint8_t chroma[kHeight / 2][kWidth / 2][2];

/* Moving stripes behind a bright disc that crosses the picture, from left to right and back. */
static void paintFrame(int number) {
  const int period = 2 * kWidth, phase = number * 4 % period;
  const int discX = phase < kWidth ? phase : period - phase, discY = kHeight / 3, radius = kHeight / 6;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const int dx = x - discX, dy = y - discY;
      const bool disc = dx * dx + dy * dy < radius * radius;
      luma[y][x] = (uint8_t)(disc ? 235 : 40 + (x + y + 2 * number) % 128);
    }
  }
  for (int y = 0; y < kHeight / 2; ++y) {
    for (int x = 0; x < kWidth / 2; ++x) {
      chroma[y][x][0] = (uint8_t)(64 + 128 * x / (kWidth / 2));
      chroma[y][x][1] = (uint8_t)(64 + 128 * y / (kHeight / 2));
    }
  }
}

static bool openWindow(HostWindow* host) {
  host->display = XOpenDisplay(NULL);
  if (!host->display) return false;
  host->window = XCreateSimpleWindow(host->display, DefaultRootWindow(host->display), 0, 0, kWidth, kHeight, 0, 0, 0);
  host->width = kWidth;
  host->height = kHeight;
  XStoreName(host->display, host->window, "x11_host");
  XSelectInput(host->display, host->window, StructureNotifyMask);
  /* Asks for a message instead of losing the connection when the window is closed. */
  host->deleteWindow = XInternAtom(host->display, "WM_DELETE_WINDOW", False);
  XSetWMProtocols(host->display, host->window, &host->deleteWindow, 1);
  XMapWindow(host->display, host->window);
  /* The library looks at the window through a connection of its own: the server has to know it by then. */
  XSync(host->display, False);
  return true;
}

static void handleEvents(HostWindow* host) {
  while (XPending(host->display) > 0) {
    XEvent event;
    XNextEvent(host->display, &event);
    if (event.type == ConfigureNotify) {
      host->width = (unsigned)event.xconfigure.width;
      host->height = (unsigned)event.xconfigure.height;
    } else if (event.type == ClientMessage && (Atom)event.xclient.data.l[0] == host->deleteWindow) {
      host->closed = true;
    }
  }
}

/* Shows frames until the window is closed or count of them are through; a negative count means no end. */
static int showFrames(const QVGGLRendererInterface* gl, HostWindow* host, QVGWndDrawer* drawer, int count) {
  const QVGColor noMatte = {0, 0, 0, 0};
  const QVGPixelBuffer frame = {
      {luma[0], chroma[0][0], NULL}, {kWidth, kWidth, 0}, kWidth, kHeight, 0, 0, QVG_FORMAT_NV12};
  const struct timespec pause = {0, kNanosecondsPerFrame};
  QVGTexture* texture = NULL;
  int shown = 0;
  for (bool ok = true; ok && !host->closed && shown != count; shown += ok) {
    handleEvents(host);
    paintFrame(shown);
    /* The first upload makes the texture, all others go into it. */
    if (!texture) {
      texture = gl->UploadPixelBufferToNewTexture(&frame, false, false, noMatte);
    } else {
      ok = gl->UploadPixelBufferToTexture(texture, &frame, false, false, noMatte);
    }
    gl->SetWndDrawerSize(drawer, host->width, host->height);
    ok = ok && gl->DrawTextureToWnd(drawer, texture);
    nanosleep(&pause, NULL);
  }
  gl->ReleaseTexture(&texture);
  return shown;
}

int main(int argc, char** argv) {
  const int count = argc > 1 ? atoi(argv[1]) : -1;
  HostWindow host = {0};
  if (!openWindow(&host)) {
    fprintf(stderr, "x11_host: there is no display\n");
    return EXIT_FAILURE;
  }
  int shown = 0;
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  QVGWndDrawer* drawer = gl->CreateWndDrawer((void*)host.window);
  /* The drawer's context is a full one: uploads and effects may run on it as well as the presenting. */
  if (drawer && gl->MakeCurrentContext(gl->GetWndDrawerHandle(drawer), NULL)) {
    shown = showFrames(gl, &host, drawer, count);
    gl->MakeCurrentContext(NULL, NULL);
  }
  /* The window outlives its drawer. */
  gl->DestroyWndDrawer(&drawer);
  QVG_ReleaseGLRendererInterface(&gl);
  XDestroyWindow(host.display, host.window);
  XCloseDisplay(host.display);
  printf("%d frames shown in a window of %u x %u\n", shown, host.width, host.height);
  return host.closed || shown == count ? EXIT_SUCCESS : EXIT_FAILURE;
}
