// The calls of the platform: the linker puts these functions before those of the same name (see tests/CMakeLists.txt).
// Counts contexts and surfaces, and lets the library find the watched entry points of GL.
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <execinfo.h>
#include <link.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>
#include <thread>

#include "faults.h"
#include "heap.h"
#include "support/glCalls.h"

extern "C" const char __executable_start, etext;

namespace qvg::test {
namespace {

// Wraps a function that the library gets from eglGetProcAddress.
template <int kNumber, class Result, class... Arguments>
struct Asked {
  static inline Result (*real)(Arguments...) = nullptr;
  static inline const char* name = nullptr;

  static Result Run(Arguments... arguments) { return FailsNow(name) ? Result() : real(arguments...); }
};

template <int kNumber, class Result, class... Arguments>
auto* Stand(const char* name, Result (*function)(Arguments...)) {
  using Watched = Asked<kNumber, Result, Arguments...>;
  Watched::real = function;
  Watched::name = name;
  return &Watched::Run;
}

PFNEGLCREATEPLATFORMWINDOWSURFACEEXTPROC realCreateWindowSurface = nullptr;

EGLSurface CreateWindowSurface(EGLDisplay display, EGLConfig config, void* window, const EGLint* attributes) {
  if (FailsNow("eglCreatePlatformWindowSurfaceEXT")) return EGL_NO_SURFACE;
  const EGLSurface surface = realCreateWindowSurface(display, config, window, attributes);
  CountLiving(kSurfaces, surface != EGL_NO_SURFACE ? 1 : 0);
  return surface;
}

using Proc = __eglMustCastToProperFunctionPointerType;

// The function that the library gets for a name.
Proc Watched(const char* name, Proc function) {
  const auto is = [&](const char* other) { return std::strcmp(name, other) == 0; };
  if (is("eglCreatePlatformWindowSurfaceEXT")) {
    realCreateWindowSurface = reinterpret_cast<PFNEGLCREATEPLATFORMWINDOWSURFACEEXTPROC>(function);
    return reinterpret_cast<Proc>(&CreateWindowSurface);
  }
  if (is("eglGetPlatformDisplayEXT")) {
    return reinterpret_cast<Proc>(Stand<0>(name, reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(function)));
  }
  if (is("eglQueryDevicesEXT")) {
    return reinterpret_cast<Proc>(Stand<1>(name, reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(function)));
  }
  if (is("eglQueryDeviceStringEXT")) {
    return reinterpret_cast<Proc>(Stand<2>(name, reinterpret_cast<PFNEGLQUERYDEVICESTRINGEXTPROC>(function)));
  }
  return CountedProc(name, function);
}

struct Range {
  uintptr_t begin, end;
  bool Has(const void* place) const {
    return reinterpret_cast<uintptr_t>(place) >= begin && reinterpret_cast<uintptr_t>(place) < end;
  }
};

Range StandardLibrary() {
  Range range = {};
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t, void* found) {
        if (std::string_view(info->dlpi_name).find("/libstdc++.so") == std::string_view::npos) return 0;
        uintptr_t end = 0;
        for (int i = 0; i < info->dlpi_phnum; ++i) {
          const auto& part = info->dlpi_phdr[i];
          if (part.p_type == PT_LOAD) end = info->dlpi_addr + part.p_vaddr + part.p_memsz;
        }
        *static_cast<Range*>(found) = {info->dlpi_addr, end};
        return 1;
      },
      &range);
  return range;
}

}  // namespace

// The caller is the executable's code, or the standard library called from it.
bool AllocatesForLibrary(void* caller) {
  static const Range executable = {reinterpret_cast<uintptr_t>(&__executable_start),
                                   reinterpret_cast<uintptr_t>(&etext)};
  static const Range standard = StandardLibrary();
  if (executable.Has(caller)) return true;
  if (!standard.Has(caller)) return false;
  void* places[24];
  const int count = backtrace(places, 24);
  int i = 0;
  while (i < count && places[i] != caller) ++i;
  while (i < count && standard.Has(places[i])) ++i;
  return i < count && executable.Has(places[i]);
}

}  // namespace qvg::test

using namespace qvg::test;

// Calls that return false or null when they fail.
#define QVG_FAILING_CALL(Result, name, parameters, arguments) \
  Result __real_##name parameters;                            \
  Result __wrap_##name parameters { return FailsNow(#name) ? static_cast<Result>(0) : __real_##name arguments; }

// Some of them would not link if they were hidden: shared libraries call them, too.
#pragma GCC visibility push(default)
extern "C" {

QVG_FAILING_CALL(EGLBoolean, eglInitialize, (EGLDisplay display, EGLint* major, EGLint* minor), (display, major, minor))
QVG_FAILING_CALL(EGLBoolean, eglChooseConfig,
                 (EGLDisplay display, const EGLint* attributes, EGLConfig* configs, EGLint room, EGLint* count),
                 (display, attributes, configs, room, count))
QVG_FAILING_CALL(EGLBoolean, eglBindAPI, (EGLenum api), (api))
QVG_FAILING_CALL(EGLBoolean, eglSwapBuffers, (EGLDisplay display, EGLSurface surface), (display, surface))
QVG_FAILING_CALL(const char*, eglQueryString, (EGLDisplay display, EGLint name), (display, name))
QVG_FAILING_CALL(xcb_get_geometry_reply_t*, xcb_get_geometry_reply,
                 (xcb_connection_t * connection, xcb_get_geometry_cookie_t cookie, xcb_generic_error_t** error),
                 (connection, cookie, error))
QVG_FAILING_CALL(xcb_get_window_attributes_reply_t*, xcb_get_window_attributes_reply,
                 (xcb_connection_t * connection, xcb_get_window_attributes_cookie_t cookie,
                  xcb_generic_error_t** error),
                 (connection, cookie, error))

Proc __real_eglGetProcAddress(const char* name);
Proc __wrap_eglGetProcAddress(const char* name) {
  const Proc function = __real_eglGetProcAddress(name);
  return function == nullptr || FailsNow(name) ? nullptr : Watched(name, function);
}

EGLContext __real_eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext root, const EGLint* attributes);
EGLContext __wrap_eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext root, const EGLint* attributes) {
  if (FailsNow("eglCreateContext")) return EGL_NO_CONTEXT;
  const EGLContext context = __real_eglCreateContext(display, config, root, attributes);
  CountLiving(kContexts, context != EGL_NO_CONTEXT ? 1 : 0);
  return context;
}

EGLBoolean __real_eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read, EGLContext context);
EGLBoolean __wrap_eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read, EGLContext context) {
  return FailsNow("eglMakeCurrent") ? EGL_FALSE : __real_eglMakeCurrent(display, draw, read, context);
}

EGLSurface __real_eglCreatePbufferSurface(EGLDisplay display, EGLConfig config, const EGLint* attributes);
EGLSurface __wrap_eglCreatePbufferSurface(EGLDisplay display, EGLConfig config, const EGLint* attributes) {
  if (FailsNow("eglCreatePbufferSurface")) return EGL_NO_SURFACE;
  const EGLSurface surface = __real_eglCreatePbufferSurface(display, config, attributes);
  CountLiving(kSurfaces, surface != EGL_NO_SURFACE ? 1 : 0);
  return surface;
}

// Calls that end something are executed.
EGLBoolean __real_eglDestroyContext(EGLDisplay display, EGLContext context);
EGLBoolean __wrap_eglDestroyContext(EGLDisplay display, EGLContext context) {
  const bool fails = FailsNow("eglDestroyContext");
  CountContextEnd(context);
  if (__real_eglDestroyContext(display, context) == EGL_TRUE) CountLiving(kContexts, -1);
  return fails ? EGL_FALSE : EGL_TRUE;
}

EGLBoolean __real_eglDestroySurface(EGLDisplay display, EGLSurface surface);
EGLBoolean __wrap_eglDestroySurface(EGLDisplay display, EGLSurface surface) {
  const bool fails = FailsNow("eglDestroySurface");
  if (__real_eglDestroySurface(display, surface) == EGL_TRUE) CountLiving(kSurfaces, -1);
  return fails ? EGL_FALSE : EGL_TRUE;
}

xcb_connection_t* __real_xcb_connect(const char* display, int* screen);
xcb_connection_t* __wrap_xcb_connect(const char* display, int* screen) {
  return __real_xcb_connect(FailsNow("xcb_connect") ? "no display" : display, screen);
}

// Starts std::thread's threads; not inline in the standard library.
void __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(void* thread,
                                                                                                  void* state,
                                                                                                  void (*depend)());
void __wrap__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(void* thread,
                                                                                                  void* state,
                                                                                                  void (*depend)()) {
  if (FailsNow("std::thread")) throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(thread, state, depend);
}

}  // extern "C"
#pragma GCC visibility pop
