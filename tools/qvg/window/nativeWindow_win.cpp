#include <windows.h>

#include <windowsx.h>

#include <algorithm>
#include <cctype>
#include <chrono>

#include "media/error.h"
#include "platform/paths.h"
#include "window/nativeWindow.h"

namespace qvgtool {
namespace {

constexpr double kScreenShare = 0.9;
constexpr wchar_t kClassName[] = L"qvgWindow";

constexpr struct {
  WPARAM code;
  Key key;
} kKeys[] = {{VK_ESCAPE, kKeyEscape}, {VK_BACK, kKeyBackspace}, {VK_RIGHT, kKeyRight},  {VK_LEFT, kKeyLeft},
             {VK_DOWN, kKeyDown},     {VK_UP, kKeyUp},          {VK_PRIOR, kKeyPageUp}, {VK_NEXT, kKeyPageDown},
             {VK_HOME, kKeyHome},     {VK_F1, kKeyF1},          {VK_F11, kKeyF11}};

std::wstring Wide(const std::string& text) { return PathOf(text).wstring(); }

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM word, LPARAM detail);

void RegisterClassOnce() {
  static const ATOM registered = [] {
    SetProcessDPIAware();
    WNDCLASSEXW kind = {};
    kind.cbSize = sizeof kind;
    kind.style = CS_OWNDC;
    kind.lpfnWndProc = OnMessage;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.hCursor = LoadCursor(nullptr, IDC_ARROW);
    kind.lpszClassName = kClassName;
    return RegisterClassExW(&kind);
  }();
  if (registered == 0) throw Error("no preview: the kind of window could not be registered");
}

MONITORINFO MonitorOf(HWND window) {
  MONITORINFO monitor = {};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTOPRIMARY), &monitor);
  return monitor;
}

// The window's rectangle for a picture of this size, or for as much of it as fits the screen.
RECT FrameAbout(int width, int height, DWORD style) {
  const RECT area = MonitorOf(nullptr).rcWork;
  const double factor = std::min({1.0, kScreenShare * static_cast<double>(area.right - area.left) / width,
                                  kScreenShare * static_cast<double>(area.bottom - area.top) / height});
  RECT frame = {0, 0, std::max(1L, static_cast<LONG>(width * factor + 0.5)),
                std::max(1L, static_cast<LONG>(height * factor + 0.5))};
  AdjustWindowRect(&frame, style, FALSE);
  return frame;
}

}  // namespace

struct NativeWindow::State {
  HWND window = nullptr;
  WindowEvents events;
  WPARAM lastKey = 0;  // The character that it types comes later.
  bool pressed = false, closed = false;
  WINDOWPLACEMENT place = {};  // Before full screen.

  ~State() {
    if (!window) return;
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    DestroyWindow(window);
  }
  bool Take(UINT message, WPARAM word, LPARAM detail);
  void TakeKey(WPARAM code, bool repeated);
  void TakeCharacter(WPARAM character, bool repeated);
  void TakeMouse(UINT message, double x, double y);
};

void NativeWindow::State::TakeKey(WPARAM code, bool repeated) {
  lastKey = code;
  for (const auto& row : kKeys) {
    if (row.code == code) events.stroke({row.key, GetKeyState(VK_SHIFT) < 0, repeated});
  }
}

void NativeWindow::State::TakeCharacter(WPARAM character, bool repeated) {
  constexpr WPARAM kFirstPrinted = 32, kFirstOther = 128;
  if (character < kFirstPrinted) return;
  // With a non-Latin alphabet the keys are where a Latin layout has them; key codes are capital letters.
  const WPARAM typed = character < kFirstOther ? character : lastKey;
  const int small = std::tolower(static_cast<int>(typed));
  events.stroke({static_cast<unsigned>(small), false, repeated});
}

void NativeWindow::State::TakeMouse(UINT message, double x, double y) {
  if (message == WM_LBUTTONDOWN) {
    pressed = true;
    SetCapture(window);
    events.press(x, y);
  } else if (message == WM_LBUTTONUP) {
    pressed = false;
    ReleaseCapture();
    events.release();
  } else if (pressed) {
    events.drag(x, y);
  }
}

/// @return false for messages that the system is to handle.
bool NativeWindow::State::Take(UINT message, WPARAM word, LPARAM detail) {
  const bool repeated = (detail & (LPARAM{1} << 30)) != 0;
  switch (message) {
    case WM_CLOSE:
      closed = true;
      return true;
    case WM_NCDESTROY:
      closed = true;
      window = nullptr;
      return false;
    case WM_SIZE:
    case WM_PAINT:
      if (events.refresh) events.refresh();
      if (message == WM_PAINT) ValidateRect(window, nullptr);
      return true;
    case WM_ERASEBKGND:
      return true;
    case WM_SYSKEYDOWN:
    case WM_KEYDOWN:
      TakeKey(word, repeated);
      return message == WM_KEYDOWN;
    case WM_CHAR:
      TakeCharacter(word, repeated);
      return true;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_MOUSEMOVE:
      TakeMouse(message, GET_X_LPARAM(detail), GET_Y_LPARAM(detail));
      return true;
    default:
      return false;
  }
}

namespace {

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM word, LPARAM detail) {
  auto* const state = reinterpret_cast<NativeWindow::State*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (state && state->Take(message, word, detail)) return message == WM_ERASEBKGND ? 1 : 0;
  return DefWindowProcW(window, message, word, detail);
}

}  // namespace

NativeWindow::NativeWindow(const std::string& title, int width, int height) : state_(std::make_unique<State>()) {
  RegisterClassOnce();
  constexpr DWORD kStyle = WS_OVERLAPPEDWINDOW;
  const RECT frame = FrameAbout(width, height, kStyle);
  state_->window = CreateWindowExW(0, kClassName, Wide(title).c_str(), kStyle, CW_USEDEFAULT, CW_USEDEFAULT,
                                   frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr,
                                   GetModuleHandleW(nullptr), nullptr);
  if (!state_->window) throw Error("no preview: the window could not be made");
}

NativeWindow::~NativeWindow() = default;

void NativeWindow::Listen(WindowEvents events) {
  state_->events = std::move(events);
  SetWindowLongPtrW(state_->window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(state_.get()));
  ShowWindow(state_->window, SW_SHOW);
}

void* NativeWindow::Handle() const { return state_->window; }

std::pair<int, int> NativeWindow::Size() const {
  RECT inside = {};
  GetClientRect(state_->window, &inside);
  return {static_cast<int>(inside.right), static_cast<int>(inside.bottom)};
}

void NativeWindow::SetTitle(const std::string& title) { SetWindowTextW(state_->window, Wide(title).c_str()); }

bool NativeWindow::FullScreen() const {
  return (GetWindowLongPtrW(state_->window, GWL_STYLE) & WS_OVERLAPPEDWINDOW) == 0;
}

void NativeWindow::ToggleFullScreen() {
  HWND const window = state_->window;
  const LONG_PTR style = GetWindowLongPtrW(window, GWL_STYLE);
  constexpr UINT kFlags = SWP_NOOWNERZORDER | SWP_FRAMECHANGED;
  if (FullScreen()) {
    SetWindowLongPtrW(window, GWL_STYLE, style | WS_OVERLAPPEDWINDOW);
    SetWindowPlacement(window, &state_->place);
    SetWindowPos(window, nullptr, 0, 0, 0, 0, kFlags | SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER);
    return;
  }
  const RECT screen = MonitorOf(window).rcMonitor;
  state_->place.length = sizeof state_->place;
  GetWindowPlacement(window, &state_->place);
  SetWindowLongPtrW(window, GWL_STYLE, style & ~LONG_PTR{WS_OVERLAPPEDWINDOW});
  SetWindowPos(window, HWND_TOP, screen.left, screen.top, screen.right - screen.left, screen.bottom - screen.top,
               kFlags);
}

bool NativeWindow::Serve(double timeout) {
  if (timeout > 0) {
    MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(timeout * 1000 + 0.5), QS_ALLINPUT, MWMO_INPUTAVAILABLE);
  }
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return !state_->closed;
}

double NativeWindow::Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace qvgtool
