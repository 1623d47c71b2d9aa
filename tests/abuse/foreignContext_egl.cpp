#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <glad/gl.h>

#include <algorithm>

#include "abuse/foreignContext.h"

namespace qvg::test {

namespace {

constexpr int kTextures = 8;
constexpr int kWidth = 3;

EGLDisplay DisplayOfADevice() {
  const auto queryDevices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
  const auto getDisplay =
      reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
  EGLDeviceEXT device = nullptr;
  EGLint count = 0;
  if (queryDevices == nullptr || getDisplay == nullptr || !queryDevices(1, &device, &count) || count < 1) {
    return EGL_NO_DISPLAY;
  }
  return getDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
}

}  // namespace

ForeignContext::ForeignContext() : display_(DisplayOfADevice()) {
  if (display_ == EGL_NO_DISPLAY || eglInitialize(display_, nullptr, nullptr) == EGL_FALSE) return;
  eglBindAPI(EGL_OPENGL_API);
  const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  if (eglChooseConfig(display_, wanted, &config, 1, &count) == EGL_FALSE || count < 1) return;
  context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, nullptr);
  if (context_ == nullptr || eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_) == EGL_FALSE) return;
  textures_.resize(kTextures);
  glGenTextures(kTextures, textures_.data());
  for (const uint32_t texture : textures_) {
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, kWidth, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  }
  Leave();
}

ForeignContext::~ForeignContext() {
  if (context_ == nullptr) return;
  if (IsCurrent()) Leave();
  eglDestroyContext(display_, context_);
}

bool ForeignContext::MakeCurrent() {
  if (context_ == nullptr || eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_) == EGL_FALSE) {
    return false;
  }
  glBindTexture(GL_TEXTURE_2D, textures_.back());
  glEnable(GL_NONE);
  return true;
}

bool ForeignContext::IsCurrent() const { return eglGetCurrentContext() == context_; }

bool ForeignContext::IsUntouched() {
  GLint bound = 0;
  GLint width = 0;
  const bool errorPending = glGetError() == GL_INVALID_ENUM;
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
  return errorPending && glGetError() == 0 && static_cast<uint32_t>(bound) == textures_.back() && width == kWidth &&
         std::all_of(textures_.begin(), textures_.end(), [](uint32_t name) { return glIsTexture(name) != 0; });
}

void ForeignContext::Leave() { eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT); }

}  // namespace qvg::test
