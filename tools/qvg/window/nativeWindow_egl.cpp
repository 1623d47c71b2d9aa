#include "window/nativeWindow.h"

#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <cctype>
#include <tuple>

#include "media/error.h"

// Declared as in GLFW's header for native access, which would need more X11 headers.
extern "C" Window glfwGetX11Window(GLFWwindow* window);
extern "C" Display* glfwGetX11Display();

namespace qvgtool {
namespace {

constexpr double kScreenShare = 0.9;

std::string lastGlfwError;

void KeepError(int, const char* text) { lastGlfwError = text; }

// By default Xlib ends the process when somebody else destroys the window or the server goes: the output would be lost.
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

// The picture's size, or as much of it as fits the screen.
std::pair<int, int> WindowSize(int width, int height) {
  int x = 0, y = 0, screenWidth = 0, screenHeight = 0;
  if (GLFWmonitor* monitor = glfwGetPrimaryMonitor()) {
    glfwGetMonitorWorkarea(monitor, &x, &y, &screenWidth, &screenHeight);
  }
  if (screenWidth < 1 || screenHeight < 1) std::tie(screenWidth, screenHeight) = std::pair(1280, 720);
  const double factor = std::min({1.0, kScreenShare * screenWidth / width, kScreenShare * screenHeight / height});
  return {std::max(1, static_cast<int>(width * factor + 0.5)), std::max(1, static_cast<int>(height * factor + 0.5))};
}

constexpr struct {
  int glfw;
  Key key;
} kKeys[] = {{GLFW_KEY_ESCAPE, kKeyEscape},  {GLFW_KEY_BACKSPACE, kKeyBackspace},
             {GLFW_KEY_RIGHT, kKeyRight},    {GLFW_KEY_LEFT, kKeyLeft},
             {GLFW_KEY_DOWN, kKeyDown},      {GLFW_KEY_UP, kKeyUp},
             {GLFW_KEY_PAGE_UP, kKeyPageUp}, {GLFW_KEY_PAGE_DOWN, kKeyPageDown},
             {GLFW_KEY_HOME, kKeyHome},      {GLFW_KEY_F1, kKeyF1},
             {GLFW_KEY_F11, kKeyF11}};

struct Glfw {
  Glfw() {
    lastGlfwError.clear();
    lostResource = 0;
    lostDisplay = false;
    glfwSetErrorCallback(KeepError);
    if (!glfwInit()) throw NoWindow("no display for a window");
  }
  // Once the display is gone, nothing can be released.
  ~Glfw() {
    if (!lostDisplay) glfwTerminate();
  }
};

struct Destroy {
  void operator()(GLFWwindow* window) const {
    if (!lostDisplay) glfwDestroyWindow(window);
  }
};

}  // namespace

struct NativeWindow::State {
  Glfw glfw;
  std::unique_ptr<GLFWwindow, Destroy> window;
  WindowEvents events;
  Stroke stroke;  // The last key press; the character that it types comes later.
  bool pressed = false;
  int place[4] = {};  // Before full screen.

  static State& Of(GLFWwindow* w) { return *static_cast<State*>(glfwGetWindowUserPointer(w)); }
  void TakeEvents();
};

NativeWindow::NativeWindow(const std::string& title, int width, int height) : state_(std::make_unique<State>()) {
  const auto [windowWidth, windowHeight] = WindowSize(width, height);
  glfwWindowHint(GLFW_CLIENT_API, GLFW_NO_API);
  state_->window.reset(glfwCreateWindow(windowWidth, windowHeight, title.c_str(), nullptr, nullptr));
  if (!state_->window) throw NoWindow("the window could not be made");
  XSetErrorHandler(KeepLostResource);
  XSetIOErrorHandler(KeepLostDisplay);
  XSetIOErrorExitHandler(
      glfwGetX11Display(), [](Display*, void*) {}, nullptr);
  state_->TakeEvents();
}

NativeWindow::~NativeWindow() = default;

void NativeWindow::Listen(WindowEvents events) { state_->events = std::move(events); }

void NativeWindow::State::TakeEvents() {
  GLFWwindow* const made = window.get();
  glfwSetWindowUserPointer(made, this);
  glfwSetWindowRefreshCallback(made, [](GLFWwindow* w) { Of(w).events.refresh(); });
  glfwSetFramebufferSizeCallback(made, [](GLFWwindow* w, int, int) { Of(w).events.refresh(); });
  // A key that types is identified by its character, so that the user's keyboard layout counts.
  glfwSetKeyCallback(made, [](GLFWwindow* w, int key, int, int action, int modifiers) {
    if (action == GLFW_RELEASE || key < 0) return;
    State& state = Of(w);
    state.stroke = {static_cast<unsigned>(key), (modifiers & GLFW_MOD_SHIFT) != 0, action == GLFW_REPEAT};
    for (const auto& row : kKeys) {
      if (row.glfw != key) continue;
      state.stroke.code = row.key;
      state.events.stroke(state.stroke);
    }
  });
  glfwSetCharCallback(made, [](GLFWwindow* w, unsigned character) {
    Stroke typed = Of(w).stroke;
    // With a non-Latin alphabet the keys are where a Latin layout has them.
    if (character < 128) typed.code = character;
    typed.shift = false;  // Shift is already in the character.
    if (typed.code < 128) typed.code = static_cast<unsigned>(std::tolower(static_cast<int>(typed.code)));
    Of(w).events.stroke(typed);
  });
  glfwSetMouseButtonCallback(made, [](GLFWwindow* w, int button, int action, int) {
    if (button != GLFW_MOUSE_BUTTON_LEFT) return;
    State& state = Of(w);
    state.pressed = action == GLFW_PRESS;
    double x = 0, y = 0;
    glfwGetCursorPos(w, &x, &y);
    action == GLFW_PRESS ? state.events.press(x, y) : state.events.release();
  });
  glfwSetCursorPosCallback(made, [](GLFWwindow* w, double x, double y) {
    if (Of(w).pressed) Of(w).events.drag(x, y);
  });
}

// An X11 id, passed as a pointer.
void* NativeWindow::Handle() const { return reinterpret_cast<void*>(glfwGetX11Window(state_->window.get())); }

std::pair<int, int> NativeWindow::Size() const {
  int width = 0, height = 0;
  glfwGetFramebufferSize(state_->window.get(), &width, &height);
  return {width, height};
}

void NativeWindow::SetTitle(const std::string& title) { glfwSetWindowTitle(state_->window.get(), title.c_str()); }

bool NativeWindow::FullScreen() const { return glfwGetWindowMonitor(state_->window.get()) != nullptr; }

void NativeWindow::ToggleFullScreen() {
  GLFWwindow* const window = state_->window.get();
  auto& [x, y, width, height] = state_->place;
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
  Size();  // Fails, and so finds out, when the window is gone.
  return !lostDisplay && !glfwWindowShouldClose(state_->window.get()) &&
         lostResource != glfwGetX11Window(state_->window.get());
}

double NativeWindow::Now() { return glfwGetTime(); }

}  // namespace qvgtool
