#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/glx.h>
#include <dlfcn.h>

#include <cstdlib>

#include "foreignContext.h"

namespace qvg::test {
namespace {

/// On EGL's process-wide display of a platform, which may be the same that the library uses.
class EglContext : public ForeignContext {
 public:
  explicit EglContext(EGLDisplay display) : display_(display) {
    const EGLint attributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (eglInitialize(display_, nullptr, nullptr) == 0 || eglBindAPI(EGL_OPENGL_API) == 0) return;
    if (eglChooseConfig(display_, attributes, &config, 1, &count) == 0 || count == 0) return;
    const EGLint size[] = {EGL_WIDTH, 16, EGL_HEIGHT, 16, EGL_NONE};
    surface_ = eglCreatePbufferSurface(display_, config, size);
    context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, nullptr);
  }
  ~EglContext() override {
    if (IsCurrent()) Unbind();
    if (context_ != EGL_NO_CONTEXT) eglDestroyContext(display_, context_);
    if (surface_ != EGL_NO_SURFACE) eglDestroySurface(display_, surface_);
  }
  bool MakeCurrent() override { return eglMakeCurrent(display_, surface_, surface_, context_) != 0; }
  bool IsCurrent() const override { return context_ != EGL_NO_CONTEXT && eglGetCurrentContext() == context_; }
  void Unbind() override { eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT); }

 private:
  EGLDisplay display_;
  EGLSurface surface_ = EGL_NO_SURFACE;
  EGLContext context_ = EGL_NO_CONTEXT;
};

std::unique_ptr<ForeignContext> MakeEgl(EGLenum platform, void* native) {
  const auto get = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
  return std::make_unique<EglContext>(get(platform, native, nullptr));
}

std::unique_ptr<ForeignContext> MakeSurfaceless() {
  return MakeEgl(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY);
}

std::unique_ptr<ForeignContext> MakeOnDevice() {
  const auto query = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
  EGLDeviceEXT device = EGL_NO_DEVICE_EXT;
  EGLint count = 0;
  query(1, &device, &count);
  return MakeEgl(EGL_PLATFORM_DEVICE_EXT, device);
}

#define GLX(name) reinterpret_cast<decltype(&name)>(dlsym(library_, #name))

/// With GLX, as many toolkits. Loaded at run time, since the library doesn't link it.
class GlxContext : public ForeignContext {
 public:
  GlxContext() : library_(dlopen("libGL.so.1", RTLD_NOW)), display_(XOpenDisplay(nullptr)) {
    const int attributes[] = {GLX_DRAWABLE_TYPE, GLX_PBUFFER_BIT, GLX_RENDER_TYPE, GLX_RGBA_BIT, None};
    const int size[] = {GLX_PBUFFER_WIDTH, 16, GLX_PBUFFER_HEIGHT, 16, None};
    int count = 0;
    GLXFBConfig* configs = GLX(glXChooseFBConfig)(display_, XDefaultScreen(display_), attributes, &count);
    if (count > 0) {
      surface_ = GLX(glXCreatePbuffer)(display_, configs[0], size);
      context_ = GLX(glXCreateNewContext)(display_, configs[0], GLX_RGBA_TYPE, nullptr, True);
    }
    XFree(configs);
  }
  ~GlxContext() override {
    if (IsCurrent()) Unbind();
    if (context_ != nullptr) GLX(glXDestroyContext)(display_, context_);
    if (surface_ != None) GLX(glXDestroyPbuffer)(display_, surface_);
    XCloseDisplay(display_);
  }
  bool MakeCurrent() override { return GLX(glXMakeContextCurrent)(display_, surface_, surface_, context_) != 0; }
  bool IsCurrent() const override { return context_ != nullptr && GLX(glXGetCurrentContext)() == context_; }
  void Unbind() override { GLX(glXMakeContextCurrent)(display_, None, None, nullptr); }

 private:
  void* library_;
  Display* display_;
  GLXPbuffer surface_ = None;
  GLXContext context_ = nullptr;
};

std::unique_ptr<ForeignContext> MakeGlx() { return std::make_unique<GlxContext>(); }

constexpr struct {
  const char* name;
  bool onX11;
  std::unique_ptr<ForeignContext> (*make)();
} kKinds[] = {
    {"surfaceless EGL", false, &MakeSurfaceless}, {"EGL on a device", false, &MakeOnDevice}, {"GLX", true, &MakeGlx}};

}  // namespace

std::vector<std::string> ForeignContext::Kinds() {
  std::vector<std::string> names;
  for (const auto& kind : kKinds) {
    if (!kind.onX11 || std::getenv("DISPLAY") != nullptr) names.emplace_back(kind.name);
  }
  return names;
}

std::unique_ptr<ForeignContext> ForeignContext::Make(const std::string& name) {
  for (const auto& kind : kKinds) {
    if (name == kind.name) return kind.make();
  }
  return nullptr;
}

}  // namespace qvg::test
