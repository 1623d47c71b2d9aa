#include "window/nativeWindow.h"

#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <cctype>
#include <tuple>

#include "media/error.h"

// As GLFW's own header of native access has them, which wants more X11 headers than are needed.
extern "C" Window glfwGetX11Window(GLFWwindow* window);
extern "C" Display* glfwGetX11Display();

namespace qvgtool {
namespace {

constexpr double kScreenShare = 0.9;

std::string lastGlfwError;

void KeepError(int, const char* text) { lastGlfwError = text; }

// Xlib would end the process, and the output file were lost, when somebody else destroys the window or the server goes.
XID lostResource = 0;
bool lostDisplay = false;

int KeepLostResource(Display*, XErrorEvent* error) {
  lostResource = error->resourceid;
  return 0;
}

int KeepLostDisplay(Display*) {
  lostDisplay = true;
  return 0;
}

Error NoWindow(const std::string& what) {
  return Error("no preview: " + what + (lastGlfwError.empty() ? "" : " (" + lastGlfwError + ")"));
}

// The picture's size, or what of it the screen holds.
std::pair<int, int> WindowSize(int width, int height) {
  int x = 0, y = 0, screenWidth = 0, screenHeight = 0;
  if (GLFWmonitor* monitor = glfwGetPrimaryMonitor()) {
    glfwGetMonitorWorkarea(monitor, &x, &y, &screenWidth, &screenHeight);
  }
  if (screenWidth < 1 || screenHeight < 1) std::tie(screenWidth, screenHeight) = std::pair(1280, 720);
  const double factor = std::min({1.0, kScreenShare * screenWidth / width, kScreenShare * screenHeight / height});
  return {std::max(1, static_cast<int>(width * factor + 0.5)), std::max(1, static_cast<int>(height * factor + 0.5))};
}

}  // namespace

NativeWindow::Glfw::Glfw() {
  lastGlfwError.clear();
  lostResource = 0;
  lostDisplay = false;
  glfwSetErrorCallback(KeepError);
  if (!glfwInit()) throw NoWindow("no display for a window");
}

NativeWindow::Glfw::~Glfw() {
  // Of a display that is gone nothing can be given back.
  if (!lostDisplay) glfwTerminate();
}

void NativeWindow::Destroy::operator()(GLFWwindow* window) const {
  if (!lostDisplay) glfwDestroyWindow(window);
}

NativeWindow::NativeWindow(const std::string& title, int width, int height) {
  const auto [windowWidth, windowHeight] = WindowSize(width, height);
  glfwWindowHint(GLFW_CLIENT_API, GLFW_NO_API);
  window_.reset(glfwCreateWindow(windowWidth, windowHeight, title.c_str(), nullptr, nullptr));
  if (!window_) throw NoWindow("the window could not be made");
  XSetErrorHandler(KeepLostResource);
  XSetIOErrorHandler(KeepLostDisplay);
  XSetIOErrorExitHandler(
      glfwGetX11Display(), [](Display*, void*) {}, nullptr);
  _TakeEvents();
}

NativeWindow::~NativeWindow() = default;

NativeWindow& NativeWindow::_Of(GLFWwindow* window) {
  return *static_cast<NativeWindow*>(glfwGetWindowUserPointer(window));
}

WindowEvents& NativeWindow::_EventsOf(GLFWwindow* window) { return _Of(window).events_; }

void NativeWindow::_TakeEvents() {
  GLFWwindow* const window = window_.get();
  glfwSetWindowUserPointer(window, this);
  glfwSetWindowRefreshCallback(window, [](GLFWwindow* w) { _EventsOf(w).refresh(); });
  glfwSetFramebufferSizeCallback(window, [](GLFWwindow* w, int, int) { _EventsOf(w).refresh(); });
  // A key that types is known by its character, so that it is where the user's keyboard has it.
  glfwSetKeyCallback(window, [](GLFWwindow* w, int key, int, int action, int modifiers) {
    if (action == GLFW_RELEASE || key < 0) return;
    Stroke& stroke = _Of(w).stroke_;
    stroke = {static_cast<unsigned>(key), (modifiers & GLFW_MOD_SHIFT) != 0, action == GLFW_REPEAT};
    if (key > GLFW_KEY_LAST || key < GLFW_KEY_ESCAPE) return;
    _EventsOf(w).stroke(stroke);
  });
  glfwSetCharCallback(window, [](GLFWwindow* w, unsigned character) {
    Stroke stroke = _Of(w).stroke_;
    // With an alphabet of other letters the keys are where Latin ones would be.
    if (character < 128) stroke.code = character;
    stroke.shift = false;  // It has done its work in the character.
    if (stroke.code < 128) stroke.code = static_cast<unsigned>(std::tolower(static_cast<int>(stroke.code)));
    _EventsOf(w).stroke(stroke);
  });
  glfwSetMouseButtonCallback(window, [](GLFWwindow* w, int button, int action, int) {
    if (button != GLFW_MOUSE_BUTTON_LEFT) return;
    _Of(w).pressed_ = action == GLFW_PRESS;
    double x = 0, y = 0;
    glfwGetCursorPos(w, &x, &y);
    action == GLFW_PRESS ? _EventsOf(w).press(x, y) : _EventsOf(w).release();
  });
  glfwSetCursorPosCallback(window, [](GLFWwindow* w, double x, double y) {
    if (_Of(w).pressed_) _EventsOf(w).drag(x, y);
  });
}

// An X11 id is no pointer, but travels as one.
void* NativeWindow::Handle() const { return reinterpret_cast<void*>(glfwGetX11Window(window_.get())); }

std::pair<int, int> NativeWindow::Size() const {
  int width = 0, height = 0;
  glfwGetFramebufferSize(window_.get(), &width, &height);
  return {width, height};
}

void NativeWindow::SetTitle(const std::string& title) { glfwSetWindowTitle(window_.get(), title.c_str()); }

bool NativeWindow::FullScreen() const { return glfwGetWindowMonitor(window_.get()) != nullptr; }

void NativeWindow::ToggleFullScreen() {
  GLFWwindow* const window = window_.get();
  auto& [x, y, width, height] = place_;
  if (FullScreen()) {
    glfwSetWindowMonitor(window, nullptr, x, y, width, height, GLFW_DONT_CARE);
    return;
  }
  GLFWmonitor* const monitor = glfwGetPrimaryMonitor();
  const GLFWvidmode* const mode = monitor ? glfwGetVideoMode(monitor) : nullptr;
  if (!mode) return;
  glfwGetWindowPos(window, &x, &y);
  glfwGetWindowSize(window, &width, &height);
  glfwSetWindowMonitor(window, monitor, 0, 0, mode->width, mode->height, mode->refreshRate);
}

bool NativeWindow::Serve(double timeout) {
  if (timeout > 0) {
    glfwWaitEventsTimeout(timeout);
  } else {
    glfwPollEvents();
  }
  if (lostDisplay) return false;
  Size();  // Fails for a window that is gone.
  return !lostDisplay && !glfwWindowShouldClose(window_.get()) && lostResource != glfwGetX11Window(window_.get());
}

double NativeWindow::Now() { return glfwGetTime(); }

}  // namespace qvgtool
