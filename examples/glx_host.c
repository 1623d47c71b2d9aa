/*
 * A host with OpenGL of its own, in plain C on X11 and GLX: draws a turning triangle and, beside it, what the library
 * makes of each frame. The library has contexts of its own; the host's is put aside while the library works.
 *
 *   glx_host [FRAMES [OUTPUT.ppm]]      the window's last picture goes into the file
 */
#define _POSIX_C_SOURCE 199309L /* nanosleep */
#include <GL/gl.h>
#include <GL/glx.h>
#include <X11/Xlib.h>
#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "hostScene.h"

enum { kNanosecondsPerFrame = 16666667 };

typedef struct Host {
  Display* display;
  Window window;
  GLXContext context;
  Atom deleteWindow;
  GLuint picture; /* A texture of the host's, on its own context. */
  bool closed;
} Host;

static bool openWindow(Host* host) {
  int attributes[] = {GLX_RGBA, GLX_DOUBLEBUFFER, GLX_RED_SIZE, 8, GLX_GREEN_SIZE, 8, GLX_BLUE_SIZE, 8, None};
  host->display = XOpenDisplay(NULL);
  XVisualInfo* visual = host->display ? glXChooseVisual(host->display, DefaultScreen(host->display), attributes) : NULL;
  if (!visual) return false;
  const Window root = DefaultRootWindow(host->display);
  XSetWindowAttributes window = {0};
  window.colormap = XCreateColormap(host->display, root, visual->visual, AllocNone);
  host->window = XCreateWindow(host->display, root, 0, 0, kWidth, kHeight, 0, visual->depth, InputOutput,
                               visual->visual, CWColormap | CWBorderPixel, &window);
  host->context = glXCreateContext(host->display, visual, NULL, True);
  XFree(visual);
  XStoreName(host->display, host->window, "glx_host");
  /* Asks for a message instead of losing the connection when the window is closed. */
  host->deleteWindow = XInternAtom(host->display, "WM_DELETE_WINDOW", False);
  XSetWMProtocols(host->display, host->window, &host->deleteWindow, 1);
  XMapWindow(host->display, host->window);
  return host->context && glXMakeCurrent(host->display, host->window, host->context);
}

static void handleEvents(Host* host) {
  while (XPending(host->display) > 0) {
    XEvent event;
    XNextEvent(host->display, &event);
    if (event.type == ClientMessage && (Atom)event.xclient.data.l[0] == host->deleteWindow) host->closed = true;
  }
}

/* Lets the library work on this thread in between, and takes its picture over into the host's texture. */
static bool updatePicture(const QVGGLRendererInterface* gl, Host* host, QVGGLContext* context, int number) {
  QVGPixelBuffer rgba = {{NULL, NULL, NULL}, {0, 0, 0}, 0, 0, 0, 0, 0}, *result = &rgba;
  /* The library's contexts are EGL's: none can be made current while one of GLX is. */
  glXMakeCurrent(host->display, None, NULL);
  const bool ok = gl->MakeCurrentContext(context, NULL) && renderFrame(gl, number, result);
  gl->MakeCurrentContext(NULL, NULL);
  if (!glXMakeCurrent(host->display, host->window, host->context)) return false;

  /* What was read back is memory, good on any context until it is released. */
  if (ok) {
    glBindTexture(GL_TEXTURE_2D, host->picture);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, rgba.width, rgba.height, GL_RGBA, GL_UNSIGNED_BYTE, rgba.plane[0]);
  }
  gl->ReleasePixelBuffer(&result);
  return ok;
}

int main(int argc, char** argv) {
  const int count = argc > 1 ? atoi(argv[1]) : -1;
  const char* output = argc > 2 ? argv[2] : NULL;
  Host host = {0};
  if (!openWindow(&host)) {
    fprintf(stderr, "glx_host: no window with OpenGL\n");
    return EXIT_FAILURE;
  }
  host.picture = makePictureTexture();

  /* Neither starting the library nor getting a context touches what is current here. */
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  QVGGLContext* context = gl->GetSharedContext();
  const struct timespec pause = {0, kNanosecondsPerFrame};
  bool ok = context != NULL;
  int shown = 0;
  for (; ok && !host.closed && shown != count; ++shown) {
    handleEvents(&host);
    ok = updatePicture(gl, &host, context, shown);
    drawWindow(host.picture, shown);
    if (ok && output && shown + 1 == count) ok = writeWindow(output);
    glXSwapBuffers(host.display, host.window);
    nanosleep(&pause, NULL);
  }
  gl->ReleaseSharedContext(&context);
  QVG_ReleaseGLRendererInterface(&gl);

  const bool clean = glGetError() == GL_NO_ERROR;
  glXMakeCurrent(host.display, None, NULL);
  glXDestroyContext(host.display, host.context);
  XDestroyWindow(host.display, host.window);
  XCloseDisplay(host.display);
  if (!ok || !clean) fprintf(stderr, "glx_host: %s\n", ok ? "an OpenGL error of the host" : "the library failed");
  printf("%d frames shown\n", shown);
  return ok && clean ? EXIT_SUCCESS : EXIT_FAILURE;
}
