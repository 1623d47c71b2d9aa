#include <EGL/egl.h>
#include <dlfcn.h>

#include <string>

#include "driver.h"

namespace qvg::test {

void* RealEntryPoint(const char* name) {
  static const auto real = reinterpret_cast<decltype(&eglGetProcAddress)>(dlsym(RTLD_NEXT, "eglGetProcAddress"));
  return reinterpret_cast<void*>(real(name));
}

}  // namespace qvg::test

// The program's own functions come before the library's of the same name.
#pragma GCC visibility push(default)
extern "C" {

__eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
  void* const function = qvg::test::InPlaceOf(name, qvg::test::RealEntryPoint(name));
  return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(function);
}

const char* eglQueryString(EGLDisplay display, EGLint name) {
  static const auto real = reinterpret_cast<decltype(&eglQueryString)>(dlsym(RTLD_NEXT, "eglQueryString"));
  const char* const text = real(display, name);
  if (!qvg::test::DriverIs(qvg::test::kNoXcb) || text == nullptr || name != EGL_EXTENSIONS) return text;
  static thread_local std::string without;
  without = text;
  for (size_t place; (place = without.find("_platform_xcb")) != std::string::npos;) without.replace(place, 13, "_none");
  return without.c_str();
}
}
#pragma GCC visibility pop
