// The calls of the platform: the linker puts these pointers in the place of those to the imported functions (see
// tests/CMakeLists.txt). Counts contexts and windows, and lets the library find the watched entry points of GL.
#include <windows.h>

#include "faults.h"
#include "heap.h"
#include "support/glCalls.h"

namespace qvg::test {

// The standard library is part of the executable, the driver is not.
bool AllocatesForLibrary(void* /*caller*/) { return true; }

}  // namespace qvg::test

using namespace qvg::test;

// Wraps an imported function.
#define QVG_IMPORTED_CALL(Result, name, parameters)                \
  static Result WINAPI Watched##name parameters;                   \
  extern "C" {                                                     \
  extern Result(WINAPI* __real___imp_##name) parameters;           \
  Result(WINAPI* __wrap___imp_##name) parameters = &Watched##name; \
  }                                                                \
  Result WINAPI Watched##name parameters

// One that returns false or null when it fails.
#define QVG_FAILING_CALL(Result, name, parameters, arguments) \
  QVG_IMPORTED_CALL(Result, name, parameters) { return FailsNow(#name) ? Result() : __real___imp_##name arguments; }

QVG_FAILING_CALL(ATOM, RegisterClassA, (const WNDCLASSA* description), (description))
QVG_FAILING_CALL(HDC, GetDC, (HWND window), (window))
QVG_FAILING_CALL(int, ChoosePixelFormat, (HDC device, const PIXELFORMATDESCRIPTOR* wanted), (device, wanted))
QVG_FAILING_CALL(BOOL, SetPixelFormat, (HDC device, int format, const PIXELFORMATDESCRIPTOR* wanted),
                 (device, format, wanted))
QVG_FAILING_CALL(BOOL, SwapBuffers, (HDC device), (device))
QVG_FAILING_CALL(BOOL, wglMakeCurrent, (HDC device, HGLRC context), (device, context))
QVG_FAILING_CALL(BOOL, wglShareLists, (HGLRC first, HGLRC second), (first, second))
QVG_FAILING_CALL(HANDLE, CreateEventW, (SECURITY_ATTRIBUTES * security, BOOL manual, BOOL set, const wchar_t* name),
                 (security, manual, set, name))
QVG_FAILING_CALL(HANDLE, CreateThread,
                 (SECURITY_ATTRIBUTES * security, SIZE_T stack, LPTHREAD_START_ROUTINE run, void* argument, DWORD flags,
                  DWORD* id),
                 (security, stack, run, argument, flags, id))

QVG_IMPORTED_CALL(PROC, wglGetProcAddress, (const char* name)) {
  const PROC function = __real___imp_wglGetProcAddress(name);
  if (function == nullptr || FailsNow(name)) return nullptr;
  return reinterpret_cast<PROC>(CountedProc(name, reinterpret_cast<GLADapiproc>(function)));
}

QVG_IMPORTED_CALL(HGLRC, wglCreateContext, (HDC device)) {
  if (FailsNow("wglCreateContext")) return nullptr;
  const HGLRC context = __real___imp_wglCreateContext(device);
  CountLiving(kContexts, context != nullptr ? 1 : 0);
  return context;
}

QVG_IMPORTED_CALL(HWND, CreateWindowExA,
                  (DWORD extended, const char* windowClass, const char* title, DWORD style, int x, int y, int width,
                   int height, HWND parent, HMENU menu, HINSTANCE instance, void* data)) {
  if (FailsNow("CreateWindowExA")) return nullptr;
  const HWND window = __real___imp_CreateWindowExA(extended, windowClass, title, style, x, y, width, height, parent,
                                                   menu, instance, data);
  CountLiving(kSurfaces, window != nullptr ? 1 : 0);
  return window;
}

// Calls that end something are executed.
QVG_IMPORTED_CALL(BOOL, wglDeleteContext, (HGLRC context)) {
  const bool fails = FailsNow("wglDeleteContext");
  CountContextEnd(context);
  if (__real___imp_wglDeleteContext(context) != FALSE) CountLiving(kContexts, -1);
  return fails ? FALSE : TRUE;
}

QVG_IMPORTED_CALL(BOOL, DestroyWindow, (HWND window)) {
  const bool fails = FailsNow("DestroyWindow");
  if (__real___imp_DestroyWindow(window) != FALSE) CountLiving(kSurfaces, -1);
  return fails ? FALSE : TRUE;
}
