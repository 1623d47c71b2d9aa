/*
 * A host with OpenGL of its own, in plain C on Win32 and WGL: draws a turning triangle and, beside it, what the library
 * makes of each frame. The library has contexts of its own; the host's is put aside while the library works.
 *
 *   wgl_host [FRAMES [OUTPUT.ppm]]      the window's last picture goes into the file
 */
#include <windows.h>

#include <GL/gl.h>
#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <stdlib.h>

#include "hostScene.h"

enum { kMillisecondsPerFrame = 16 };

typedef struct Host {
  HWND window;
  HDC device;
  HGLRC context;
  GLuint picture; /* A texture of the host's, on its own context. */
  bool closed;
} Host;

static LRESULT CALLBACK handleMessage(HWND window, UINT message, WPARAM wide, LPARAM value) {
  Host* const host = (Host*)GetWindowLongPtrW(window, GWLP_USERDATA);
  if (!host || message != WM_CLOSE) return DefWindowProcW(window, message, wide, value);
  host->closed = true;
  return 0;
}

static bool openWindow(Host* host) {
  WNDCLASSW windowClass = {0};
  windowClass.style = CS_OWNDC;
  windowClass.lpfnWndProc = handleMessage;
  windowClass.hInstance = GetModuleHandleW(NULL);
  windowClass.hCursor = LoadCursorW(NULL, (LPCWSTR)IDC_ARROW);
  windowClass.lpszClassName = L"wgl_host";
  if (!RegisterClassW(&windowClass)) return false;
  RECT area = {0, 0, kWidth, kHeight};
  AdjustWindowRect(&area, WS_OVERLAPPEDWINDOW, FALSE);
  host->window = CreateWindowW(L"wgl_host", L"wgl_host", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                               area.right - area.left, area.bottom - area.top, NULL, NULL, windowClass.hInstance, NULL);
  if (!host->window) return false;
  SetWindowLongPtrW(host->window, GWLP_USERDATA, (LONG_PTR)host);
  PIXELFORMATDESCRIPTOR format = {0};
  format.nSize = sizeof format;
  format.nVersion = 1;
  format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
  format.iPixelType = PFD_TYPE_RGBA;
  format.cColorBits = 24;
  host->device = GetDC(host->window);
  if (!SetPixelFormat(host->device, ChoosePixelFormat(host->device, &format), &format)) return false;
  host->context = wglCreateContext(host->device);
  ShowWindow(host->window, SW_SHOW);
  return host->context && wglMakeCurrent(host->device, host->context);
}

static void handleMessages(void) {
  MSG message;
  while (PeekMessageW(&message, NULL, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

/* Lets the library work on this thread in between, and takes its picture over into the host's texture. */
static bool updatePicture(const QVGGLRendererInterface* gl, Host* host, QVGGLContext* context, int number) {
  QVGPixelBuffer rgba = {{NULL, NULL, NULL}, {0, 0, 0}, 0, 0, 0, 0, 0}, *result = &rgba;
  wglMakeCurrent(NULL, NULL);
  const bool ok = gl->MakeCurrentContext(context, NULL) && renderFrame(gl, number, result);
  gl->MakeCurrentContext(NULL, NULL);
  if (!wglMakeCurrent(host->device, host->context)) return false;

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
    fprintf(stderr, "wgl_host: no window with OpenGL\n");
    return EXIT_FAILURE;
  }
  host.picture = makePictureTexture();

  /* Neither starting the library nor getting a context touches what is current here. */
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  QVGGLContext* context = gl->GetSharedContext();
  bool ok = context != NULL;
  int shown = 0;
  for (; ok && !host.closed && shown != count; ++shown) {
    handleMessages();
    ok = updatePicture(gl, &host, context, shown);
    drawWindow(host.picture, shown);
    if (ok && output && shown + 1 == count) ok = writeWindow(output);
    SwapBuffers(host.device);
    Sleep(kMillisecondsPerFrame);
  }
  gl->ReleaseSharedContext(&context);
  QVG_ReleaseGLRendererInterface(&gl);

  const bool clean = glGetError() == GL_NO_ERROR;
  wglMakeCurrent(NULL, NULL);
  wglDeleteContext(host.context);
  DestroyWindow(host.window);
  if (!ok || !clean) fprintf(stderr, "wgl_host: %s\n", ok ? "an OpenGL error of the host" : "the library failed");
  printf("%d frames shown\n", shown);
  return ok && clean ? EXIT_SUCCESS : EXIT_FAILURE;
}
