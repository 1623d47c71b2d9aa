#include "eglHooks.h"

#include <EGL/egl.h>
#include <dlfcn.h>

#include <string>

namespace qvg::test {
namespace {

template <class Function>
Function* Real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

EglHooks& Hooks() {
  static constinit EglHooks hooks;
  return hooks;
}

void* RealEntryPoint(const char* name) {
  static const auto real = Real(&eglGetProcAddress, "eglGetProcAddress");
  return reinterpret_cast<void*>(real(name));
}

}  // namespace qvg::test

// The program's own functions come before the library's of the same name.
#pragma GCC visibility push(default)
extern "C" {

__eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
  void* const function = qvg::test::RealEntryPoint(name);
  const auto hook = qvg::test::Hooks().entryPoint;
  return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(hook != nullptr ? hook(name, function) : function);
}

const char* eglQueryString(EGLDisplay display, EGLint name) {
  static const auto real = qvg::test::Real(&eglQueryString, "eglQueryString");
  const char* const text = real(display, name);
  if (!qvg::test::Hooks().withoutXcb || text == nullptr || name != EGL_EXTENSIONS) return text;
  static thread_local std::string without;
  without = text;
  for (size_t place; (place = without.find("_platform_xcb")) != std::string::npos;) without.replace(place, 13, "_none");
  return without.c_str();
}

EGLContext eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext shareRoot, const EGLint* attributes) {
  static const auto real = qvg::test::Real(&eglCreateContext, "eglCreateContext");
  const EGLContext context = real(display, config, shareRoot, attributes);
  if (context != EGL_NO_CONTEXT) ++qvg::test::Hooks().contexts;
  return context;
}

EGLBoolean eglDestroyContext(EGLDisplay display, EGLContext context) {
  static const auto real = qvg::test::Real(&eglDestroyContext, "eglDestroyContext");
  const EGLBoolean destroyed = real(display, context);
  if (destroyed == EGL_TRUE) --qvg::test::Hooks().contexts;
  return destroyed;
}
}
#pragma GCC visibility pop
