#include <windows.h>

#include "foreignContext.h"
#include "platform.h"

namespace qvg::test {
namespace {

class WglContext : public ForeignContext {
 public:
  WglContext() : window_(16, 16), device_(GetDC(static_cast<HWND>(window_.handle()))) {
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof format;
    format.nVersion = 1;
    format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    format.iPixelType = PFD_TYPE_RGBA;
    format.cColorBits = 32;
    if (SetPixelFormat(device_, ChoosePixelFormat(device_, &format), &format) != FALSE) {
      context_ = wglCreateContext(device_);
    }
  }
  ~WglContext() override {
    if (IsCurrent()) Unbind();
    if (context_ != nullptr) wglDeleteContext(context_);
    ReleaseDC(static_cast<HWND>(window_.handle()), device_);
  }
  bool MakeCurrent() override { return wglMakeCurrent(device_, context_) != FALSE; }
  bool IsCurrent() const override { return context_ != nullptr && wglGetCurrentContext() == context_; }
  void Unbind() override { wglMakeCurrent(nullptr, nullptr); }

 private:
  HostWindow window_;
  HDC device_;
  HGLRC context_ = nullptr;
};

}  // namespace

std::vector<std::string> ForeignContext::Kinds() { return {"WGL"}; }

std::unique_ptr<ForeignContext> ForeignContext::Make(const std::string&) { return std::make_unique<WglContext>(); }

}  // namespace qvg::test
