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

enum { kWidth = 480, kHeight = 240, kFrameWidth = 200, kFrameHeight = 150, kMillisecondsPerFrame = 16 };

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

static void makePictureTexture(Host* host) {
  glGenTextures(1, &host->picture);
  glBindTexture(GL_TEXTURE_2D, host->picture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kFrameWidth, kFrameHeight, 0, GL_RGBA, GL_UNSIGNED_BYTE, NULL);
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

/* The host's own drawing: its state is as it left it, whatever the library did. */
static void drawWindow(const Host* host, int number) {
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
  glBindTexture(GL_TEXTURE_2D, host->picture);
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

int main(int argc, char** argv) {
  const int count = argc > 1 ? atoi(argv[1]) : -1;
  const char* output = argc > 2 ? argv[2] : NULL;
  Host host = {0};
  if (!openWindow(&host)) {
    fprintf(stderr, "wgl_host: no window with OpenGL\n");
    return EXIT_FAILURE;
  }
  makePictureTexture(&host);

  /* Neither starting the library nor getting a context touches what is current here. */
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  QVGGLContext* context = gl->GetSharedContext();
  bool ok = context != NULL;
  int shown = 0;
  for (; ok && !host.closed && shown != count; ++shown) {
    handleMessages();
    ok = updatePicture(gl, &host, context, shown);
    drawWindow(&host, shown);
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
