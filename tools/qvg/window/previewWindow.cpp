#include "window/previewWindow.h"

#include <fmt/format.h>
#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

#include "picture/driver.h"

// As GLFW's own header of native access has it, which wants more X11 headers than are needed.
extern "C" Window glfwGetX11Window(GLFWwindow* window);

namespace qvgtool {
namespace {

constexpr double kTitleEvery = 0.25;  // Seconds.
// Longest sleep: a signal does not wake GLFW.
constexpr double kLongestWait = 0.2;
constexpr double kScreenShare = 0.9;

std::string lastGlfwError;

void KeepError(int, const char* text) { lastGlfwError = text; }

// Xlib would end the process, and the output file were lost, when somebody else destroys the window.
XID lostResource = 0;

int KeepLostResource(Display*, XErrorEvent* error) {
  lostResource = error->resourceid;
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

const char* const kPreviewKeys =
    "Keys: space pauses, right arrow or . steps, r turns a quarter, f flips, 1 to 4 switch the effect's stages\n"
    "(key, beauty, colour, background), q or Escape closes.";

PreviewWindow::Glfw::Glfw() {
  lastGlfwError.clear();
  glfwSetErrorCallback(KeepError);
  if (!glfwInit()) throw NoWindow("no display for a window");
}

PreviewWindow::Glfw::~Glfw() { glfwTerminate(); }

void PreviewWindow::DestroyWindow::operator()(GLFWwindow* window) const { glfwDestroyWindow(window); }

PreviewWindow::PreviewWindow(const Renderer& renderer, const std::string& name, int width, int height, bool paced,
                             std::function<bool()> stopped)
    : renderer_(renderer), name_(name), driver_(AskDriver().renderer), stopped_(std::move(stopped)), playback_(paced) {
  const auto [windowWidth, windowHeight] = WindowSize(width, height);
  glfwWindowHint(GLFW_CLIENT_API, GLFW_NO_API);
  window_.reset(glfwCreateWindow(windowWidth, windowHeight, ("qvg: " + name).c_str(), nullptr, nullptr));
  if (!window_) throw NoWindow("the window could not be made");
  // An X11 id is no pointer, but travels as one.
  drawer_ = Drawer(&renderer.Table(),
                   renderer.Table().CreateWndDrawer(reinterpret_cast<void*>(glfwGetX11Window(window_.get()))));
  if (!drawer_) throw NoWindow("the library can't draw into a window of this display");
  lostResource = 0;
  XSetErrorHandler(KeepLostResource);
  glfwSetWindowUserPointer(window_.get(), this);
  glfwSetWindowRefreshCallback(window_.get(), [](GLFWwindow* window) { _Of(window).dirty_ = true; });
  glfwSetFramebufferSizeCallback(window_.get(), [](GLFWwindow* window, int, int) { _Of(window).dirty_ = true; });
  glfwSetKeyCallback(window_.get(), [](GLFWwindow* window, int key, int, int action, int) {
    if (action == GLFW_PRESS || (action == GLFW_REPEAT && (key == GLFW_KEY_RIGHT || key == GLFW_KEY_PERIOD))) {
      _Of(window)._OnKey(key);
    }
  });
}

PreviewWindow::~PreviewWindow() = default;

PreviewWindow& PreviewWindow::_Of(GLFWwindow* window) {
  return *static_cast<PreviewWindow*>(glfwGetWindowUserPointer(window));
}

void PreviewWindow::_OnKey(int key) {
  switch (key) {
    case GLFW_KEY_SPACE:
      playback_.TogglePause();
      break;
    case GLFW_KEY_RIGHT:
    case GLFW_KEY_PERIOD:
      playback_.Step();
      break;
    case GLFW_KEY_R:
      turns_ = (turns_ + 1) % 4;
      break;
    case GLFW_KEY_F:
      flipped_ = !flipped_;
      turns_ = (4 - turns_) % 4;  // Upside down as it is seen: a texture is flipped before it is turned.
      break;
    case GLFW_KEY_Q:
    case GLFW_KEY_ESCAPE:
      closed_ = true;
      break;
    default:
      if (key < GLFW_KEY_1 || key >= GLFW_KEY_1 + static_cast<int>(std::size(kStageNames))) return;
      _SwitchStage(static_cast<size_t>(key - GLFW_KEY_1));
  }
  dirty_ = true;
  _UpdateTitle(true);
}

void PreviewWindow::_SwitchStage(size_t index) {
  if (!stages_) {
    noEffectTold_ = true;
    return;
  }
  bool& stage = stages_->*kStageNames[index].stage;
  stage = !stage;
  stagesChanged_ = true;
}

void PreviewWindow::_UpdateTitle(bool now) {
  if (!now && glfwGetTime() < nextTitle_) return;
  nextTitle_ = glfwGetTime() + kTitleEvery;
  std::string title = "qvg: " + name_;
  if (!state_.empty()) {
    title += ", " + state_;
  } else if (playback_.Paused()) {
    title += ", paused";
  } else if (const double rate = playback_.Rate(); rate > 0) {
    title += fmt::format(", {:.1f} frames/s", rate);
  }
  std::string off;
  for (const StageName& stage : kStageNames) {
    if (stages_ && !(stages_->*stage.stage)) off += (off.empty() ? "" : " ") + std::string(stage.name);
  }
  if (!off.empty()) title += ", without " + off;
  if (noEffectTold_) title += ", no effect in use";
  title += ", " + driver_;
  if (title == title_) return;
  title_ = title;
  glfwSetWindowTitle(window_.get(), title.c_str());
}

bool PreviewWindow::_Serve(double timeout, const std::function<void()>& redraw) {
  if (timeout > 0) {
    glfwWaitEventsTimeout(timeout);
  } else {
    glfwPollEvents();
  }
  int width = 0, height = 0;
  glfwGetFramebufferSize(window_.get(), &width, &height);  // Fails for a window that is gone.
  closed_ = closed_ || glfwWindowShouldClose(window_.get()) || lostResource == glfwGetX11Window(window_.get());
  if (closed_ || stopped_()) return false;
  if (std::exchange(stagesChanged_, false)) redraw();
  if (dirty_) _Present();
  _UpdateTitle(false);
  return !closed_;
}

bool PreviewWindow::WaitFor(double time, const std::function<void()>& redraw) {
  for (double timeout = 0;;) {
    if (!_Serve(timeout, redraw)) return false;
    const auto delay = playback_.Delay(time, glfwGetTime());
    if (delay && *delay <= 0) return true;
    timeout = std::min(delay.value_or(kLongestWait), kLongestWait);
  }
}

void PreviewWindow::Show(const Texture& picture, double time) {
  picture_ = picture.get();
  _Present();
  playback_.Shown(time, glfwGetTime());
  _UpdateTitle(false);
}

void PreviewWindow::Hold(const std::string& what, const std::function<void()>& redraw) {
  state_ = what;
  _UpdateTitle(true);
  while (_Serve(kLongestWait, redraw)) {
  }
  state_.clear();
}

void PreviewWindow::_Present() {
  dirty_ = false;
  if (!picture_) return;
  const QVGGLRendererInterface& gl = renderer_.Table();
  int width = 0, height = 0;
  glfwGetFramebufferSize(window_.get(), &width, &height);
  gl.SetWndDrawerSize(drawer_.get(), static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  const uint32_t turns = gl.GetTextureRotation(picture_);
  const bool flipped = gl.GetTextureFlipped(picture_);
  gl.SetTextureRotation(picture_, (flipped_ ? 4 - turns % 4 + turns_ : turns + turns_) % 4);
  gl.SetTextureFlipped(picture_, flipped != flipped_);
  gl.Finish();  // The window's context samples what this one has drawn.
  QVGGLContext* const own = gl.GetCurrentContext();
  // A window that has died under its drawer counts as closed.
  if (gl.MakeCurrentContext(gl.GetWndDrawerHandle(drawer_.get()), nullptr)) {
    gl.DrawTextureToWnd(drawer_.get(), picture_);
    gl.Finish();  // The next picture may overwrite the texture.
  } else {
    closed_ = true;
  }
  if (!gl.MakeCurrentContext(own, nullptr)) throw Error("the renderer's context could not be made current again");
  gl.SetTextureRotation(picture_, turns);
  gl.SetTextureFlipped(picture_, flipped);
}

}  // namespace qvgtool
