#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <fmt/format.h>

#include <iterator>

#include "picture/driver.h"

namespace qvgtool {

DriverTexts AskDriver() {
  using GetString = const unsigned char* (*)(unsigned);
  const auto getString = reinterpret_cast<GetString>(eglGetProcAddress("glGetString"));
  const auto gl = [&](unsigned name) {
    const unsigned char* text = getString ? getString(name) : nullptr;
    return text ? std::string(reinterpret_cast<const char*>(text)) : std::string("unknown");
  };
  const auto egl = [](EGLint name) {
    const char* text = eglQueryString(eglGetCurrentDisplay(), name);
    return std::string(text ? text : "unknown");
  };
  return {gl(0x1F00), gl(0x1F01), gl(0x1F02), gl(0x8B8C), egl(EGL_VERSION), egl(EGL_VENDOR)};
}

namespace {

DriverTexts AskDriverOf(EGLDisplay display) {
  DriverTexts texts;
  if (display == EGL_NO_DISPLAY || eglInitialize(display, nullptr, nullptr) != EGL_TRUE) return texts;
  constexpr EGLint kWanted[] = {EGL_SURFACE_TYPE, 0, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  eglBindAPI(EGL_OPENGL_API);
  eglChooseConfig(display, kWanted, &config, 1, &count);
  const EGLContext context = count > 0 ? eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr) : EGL_NO_CONTEXT;
  if (context != EGL_NO_CONTEXT && eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context) == EGL_TRUE) {
    texts = AskDriver();
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  }
  eglTerminate(display);
  return texts;
}

}  // namespace

DriverTexts AskOfferedDriver() {
  DriverTexts texts = AskDriverOf(eglGetDisplay(EGL_DEFAULT_DISPLAY));
  if (!texts.version.empty()) return texts;
  return AskDriverOf(eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr));
}

const DriverPlatform& Platform() {
  static constexpr const char* kVariables[] = {"QVG_CONTEXT",
                                               "__EGL_VENDOR_LIBRARY_FILENAMES",
                                               "__EGL_VENDOR_LIBRARY_DIRS",
                                               "EGL_PLATFORM",
                                               "LIBGL_DRIVERS_PATH",
                                               "MESA_LOADER_DRIVER_OVERRIDE",
                                               "GALLIUM_DRIVER",
                                               "MESA_GL_VERSION_OVERRIDE",
                                               "LD_LIBRARY_PATH"};
  static constexpr DriverPlatform kPlatform = {
      "Linux, EGL", "glContext_egl: ", true, kVariables,
      "Mesa's drivers are in the packages libegl1, libegl-mesa0 and libgl1-mesa-dri"};
  return kPlatform;
}

std::string DriverErrorText(unsigned code) {
  // In the order of their numbers.
  constexpr const char* kNames[] = {"SUCCESS",       "NOT_INITIALIZED", "BAD_ACCESS",        "BAD_ALLOC",
                                    "BAD_ATTRIBUTE", "BAD_CONFIG",      "BAD_CONTEXT",       "BAD_CURRENT_SURFACE",
                                    "BAD_DISPLAY",   "BAD_MATCH",       "BAD_NATIVE_PIXMAP", "BAD_NATIVE_WINDOW",
                                    "BAD_PARAMETER", "BAD_SURFACE",     "CONTEXT_LOST"};
  const unsigned index = code - EGL_SUCCESS;
  return index < std::size(kNames) ? fmt::format("EGL_{} ({:#x})", kNames[index], code) : fmt::format("{:#x}", code);
}

}  // namespace qvgtool
