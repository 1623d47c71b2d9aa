// A window of the display, and what the user does in it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "window/keys.h"

namespace qvgtool {

struct WindowEvents {
  std::function<void()> refresh;  // What it shows has been lost, or no longer has its size.
  std::function<void(const Stroke&)> stroke;
  /** The first button goes down at a point, in pixels from the upper left corner, is moved, goes up. */
  std::function<void(double x, double y)> press, drag;
  std::function<void()> release;
};

/** One at a time, on the main thread. */
class NativeWindow {
 public:
  /** width, height: as wanted; smaller on a small screen. Throws Error without a display. */
  NativeWindow(const std::string& title, int width, int height);
  ~NativeWindow();
  NativeWindow(const NativeWindow&) = delete;
  NativeWindow& operator=(const NativeWindow&) = delete;

  void Listen(WindowEvents events);

  /** For the library. */
  void* Handle() const;
  /** In pixels. */
  std::pair<int, int> Size() const;
  void SetTitle(const std::string& title);
  bool FullScreen() const;
  void ToggleFullScreen();

  /** Serves events, waiting for the first for so many seconds. @return false once the window is closed or gone, with
   *  its display or without. */
  bool Serve(double timeout);

  /** Seconds. */
  static double Now();

  /** The platform's. */
  struct State;

 private:
  std::unique_ptr<State> state_;
};

}  // namespace qvgtool
