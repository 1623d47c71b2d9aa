#include "picture/driver.h"

#include <EGL/egl.h>

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

}  // namespace qvgtool
