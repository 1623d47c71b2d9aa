#include <windows.h>

#include <GL/gl.h>
#include <fmt/format.h>

#include "picture/driver.h"

namespace qvgtool {
namespace {

constexpr GLenum kShadingLanguageVersion = 0x8B8C;

// A minimal window, to create a context for.
class Probe {
 public:
  Probe() : window_(CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr)) {
    if (!window_) return;
    device_ = GetDC(window_);
    PIXELFORMATDESCRIPTOR wanted = {};
    wanted.nSize = sizeof wanted;
    wanted.nVersion = 1;
    wanted.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    wanted.cColorBits = 32;
    const int format = ChoosePixelFormat(device_, &wanted);
    if (format == 0 || !SetPixelFormat(device_, format, &wanted)) return;
    context_ = wglCreateContext(device_);
    current_ = context_ && wglMakeCurrent(device_, context_);
  }
  ~Probe() {
    if (current_) wglMakeCurrent(nullptr, nullptr);
    if (context_) wglDeleteContext(context_);
    if (device_) ReleaseDC(window_, device_);
    if (window_) DestroyWindow(window_);
  }
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;
  bool Current() const { return current_; }

 private:
  HWND window_;
  HDC device_ = nullptr;
  HGLRC context_ = nullptr;
  bool current_ = false;
};

}  // namespace

DriverTexts AskDriver() {
  const auto gl = [](GLenum name) {
    const GLubyte* const text = glGetString(name);
    return text ? std::string(reinterpret_cast<const char*>(text)) : std::string("unknown");
  };
  return {gl(GL_VENDOR), gl(GL_RENDERER), gl(GL_VERSION), gl(kShadingLanguageVersion), {}, {}};
}

DriverTexts AskOfferedDriver() {
  const Probe probe;
  return probe.Current() ? AskDriver() : DriverTexts();
}

const DriverPlatform& Platform() {
  static constexpr DriverPlatform kPlatform = {
      "Windows, WGL", "glContext_win: ", false, {}, "the driver comes from the maker of the graphics card"};
  return kPlatform;
}

std::string DriverErrorText(unsigned code) { return fmt::format("{:#x}", code); }

}  // namespace qvgtool
