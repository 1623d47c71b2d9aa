// A window on the display, and the user's input in it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "window/keys.h"

namespace qvgtool {

struct WindowEvents {
  std::function<void()> refresh;  // Its content is lost, or its size has changed.
  std::function<void(const Stroke&)> stroke;
  /** The first mouse button is pressed at a point, in pixels from the upper left corner, dragged, released. */
  std::function<void(double x, double y)> press, drag;
  std::function<void()> release;
};

/** Only one at a time, on the main thread. */
class NativeWindow {
 public:
  /** width, height: the wanted size; on a small screen the window is smaller. Throws Error without a display. */
  NativeWindow(const std::string& title, int width, int height);
  ~NativeWindow();
  NativeWindow(const NativeWindow&) = delete;
  NativeWindow& operator=(const NativeWindow&) = delete;

  void Listen(WindowEvents events);

  /** The handle that the library takes. */
  void* Handle() const;
  /** In pixels. */
  std::pair<int, int> Size() const;
  void SetTitle(const std::string& title);
  bool FullScreen() const;
  void ToggleFullScreen();

  /** Handles events, after waiting for the first for at most this many seconds. @return false once the window is
   * closed, or lost with its display. */
  bool Serve(double timeout);

  /** A steady clock, in seconds. */
  static double Now();

  /** Platform-specific. */
  struct State;

 private:
  std::unique_ptr<State> state_;
};

}  // namespace qvgtool
