#include "bench/eglContext.h"

#include <stdexcept>
#include <string>

namespace bench {

namespace {

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error("bare GL: " + what); }

/// Made on the thread that renders or before it begins. It shares nothing with the library's.
class Context : public BareContext {
 public:
  explicit Context(EGLDisplay display) : display_(display) {
    eglBindAPI(EGL_OPENGL_API);
    const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    const EGLint version[] = {
        EGL_CONTEXT_MAJOR_VERSION,           4,       EGL_CONTEXT_MINOR_VERSION, 2, EGL_CONTEXT_OPENGL_PROFILE_MASK,
        EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(display, wanted, &config, 1, &count) || count == 0) Fail("no configuration");
    context_ = eglCreateContext(display, config, EGL_NO_CONTEXT, version);
    if (context_ == EGL_NO_CONTEXT) Fail("no context");
  }
  ~Context() override {
    if (eglGetCurrentContext() == context_) eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(display_, context_);
  }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  void MakeCurrent() override {
    eglBindAPI(EGL_OPENGL_API);
    if (!eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_)) Fail("the context can't be made current");
  }

 private:
  EGLDisplay display_;
  EGLContext context_ = EGL_NO_CONTEXT;
};

}  // namespace

std::unique_ptr<BareContext> MakeEglContext(EGLDisplay display) { return std::make_unique<Context>(display); }

}  // namespace bench
