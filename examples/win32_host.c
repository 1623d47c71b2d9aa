/*
 * A host with a window, in plain C on Win32: makes moving NV12 frames, as a camera would deliver them, and shows them
 * letterboxed in a window that can be resized, until it is closed or the given number of frames is through.
 *
 *   win32_host [FRAMES]
 */
#include <windows.h>

#include <qvGLRenderer/qvGLRenderer.h>
#include <stdio.h>
#include <stdlib.h>

enum { kWidth = 640, kHeight = 360, kMillisecondsPerFrame = 16 };

typedef struct HostWindow {
  HWND window;
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

static LRESULT CALLBACK handleMessage(HWND window, UINT message, WPARAM wide, LPARAM value) {
  HostWindow* const host = (HostWindow*)GetWindowLongPtrW(window, GWLP_USERDATA);
  switch (host ? message : WM_NULL) {
    case WM_CLOSE:
      /* Destroying it is for later: the window has to outlive its drawer. */
      host->closed = true;
      return 0;
    case WM_SIZE:
      host->width = LOWORD(value);
      host->height = HIWORD(value);
      return 0;
    case WM_ERASEBKGND:
      /* Every frame covers the window: erasing it in between would only flicker. */
      return 1;
    default:
      return DefWindowProcW(window, message, wide, value);
  }
}

static bool openWindow(HostWindow* host) {
  WNDCLASSW windowClass = {0};
  windowClass.style = CS_OWNDC;
  windowClass.lpfnWndProc = handleMessage;
  windowClass.hInstance = GetModuleHandleW(NULL);
  windowClass.hCursor = LoadCursorW(NULL, (LPCWSTR)IDC_ARROW);
  windowClass.lpszClassName = L"win32_host";
  if (!RegisterClassW(&windowClass)) return false;
  RECT area = {0, 0, kWidth, kHeight};
  AdjustWindowRect(&area, WS_OVERLAPPEDWINDOW, FALSE);
  host->window = CreateWindowW(L"win32_host", L"win32_host", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                               area.right - area.left, area.bottom - area.top, NULL, NULL, windowClass.hInstance, NULL);
  if (!host->window) return false;
  SetWindowLongPtrW(host->window, GWLP_USERDATA, (LONG_PTR)host);
  /* Tells the first size, as every later one, by WM_SIZE. */
  ShowWindow(host->window, SW_SHOW);
  return true;
}

static void handleMessages(void) {
  MSG message;
  while (PeekMessageW(&message, NULL, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

/* Shows frames until the window is closed or count of them are through; a negative count means no end. */
static int showFrames(const QVGGLRendererInterface* gl, HostWindow* host, QVGWndDrawer* drawer, int count) {
  const QVGColor noMatte = {0, 0, 0, 0};
  const QVGPixelBuffer frame = {
      {luma[0], chroma[0][0], NULL}, {kWidth, kWidth, 0}, kWidth, kHeight, 0, 0, QVG_FORMAT_NV12};
  QVGTexture* texture = NULL;
  int shown = 0;
  for (bool ok = true; ok && !host->closed && shown != count; shown += ok) {
    handleMessages();
    paintFrame(shown);
    /* The first upload makes the texture, all others go into it. */
    if (!texture) {
      texture = gl->UploadPixelBufferToNewTexture(&frame, false, false, noMatte);
    } else {
      ok = gl->UploadPixelBufferToTexture(texture, &frame, false, false, noMatte);
    }
    gl->SetWndDrawerSize(drawer, host->width, host->height);
    ok = ok && gl->DrawTextureToWnd(drawer, texture);
    Sleep(kMillisecondsPerFrame);
  }
  gl->ReleaseTexture(&texture);
  return shown;
}

int main(int argc, char** argv) {
  const int count = argc > 1 ? atoi(argv[1]) : -1;
  HostWindow host = {0};
  if (!openWindow(&host)) {
    fprintf(stderr, "win32_host: no window\n");
    return EXIT_FAILURE;
  }
  int shown = 0;
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  QVGWndDrawer* drawer = gl->CreateWndDrawer(host.window);
  /* The drawer's context is a full one: uploads and effects may run on it as well as the presenting. */
  if (drawer && gl->MakeCurrentContext(gl->GetWndDrawerHandle(drawer), NULL)) {
    shown = showFrames(gl, &host, drawer, count);
    gl->MakeCurrentContext(NULL, NULL);
  }
  /* The window outlives its drawer. */
  gl->DestroyWndDrawer(&drawer);
  QVG_ReleaseGLRendererInterface(&gl);
  DestroyWindow(host.window);
  printf("%d frames shown in a window of %u x %u\n", shown, host.width, host.height);
  return host.closed || shown == count ? EXIT_SUCCESS : EXIT_FAILURE;
}
