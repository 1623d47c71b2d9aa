#pragma once

#include <gst/video/video.h>
#include <qvGLRenderer/qvGLRenderer.hpp>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "core/frameUpload.h"
#include "core/renderThread.h"
#include "qvgsink/orientation.h"
#include "qvgsink/sinkWindow.h"

namespace qvgst {

/// Shows frames in a window, and the last one again when the window wants it. Any thread may call, except that only
/// Resize, Redraw and Drop may be called on the window's.
class Presenter {
 public:
  explicit Presenter(SinkWindow::Listener listener) : listener_(std::move(listener)) {}
  ~Presenter() { Close(); }
  Presenter(const Presenter&) = delete;
  Presenter& operator=(const Presenter&) = delete;

  /// @return false when there is nothing to render with; Failure() tells why.
  bool Open();
  void Close();

  void SetFormat(const GstVideoInfo& info);
  /// Of the format's rate; GST_CLOCK_TIME_NONE when it has none.
  GstClockTime FrameDuration();
  void SetForceAspectRatio(bool force);
  void SetOrientation(const Orientation& orientation);

  // ---- The window

  /// None: one of its own. The last frame moves into it at once.
  void SetHost(xcb_window_t host);
  void SetRectangle(const std::optional<Rectangle>& rectangle);
  void SetTakesInput(bool takesInput);
  /// A window of its own is to be made, unless a host's is given before.
  bool IsWithoutWindow();
  /// Makes the window where there is none, of the host's or of its own, that in the size of the format. @return its id
  /// if it is one of its own and new. Throws std::runtime_error.
  std::optional<xcb_window_t> MakeWindow(const std::string& title);
  /// Nothing is shown in the window any more: it is gone, or about to be.
  void Drop();

  // ---- Frames

  /// @return false on failure; true also when the window is gone, and there is nowhere to show anything.
  bool Show(GstBuffer* buffer);
  /// The last frame, in the window's size.
  bool Redraw();
  /// Forgets the frame; the window becomes black.
  void Clear();

  /// From a place in the window to one in the frame, in pixels.
  std::pair<double, double> ToFrame(double x, double y);

  std::string Failure();

 private:
  struct Place {
    double x, y, width, height;
  };

  bool OpenDrawer();
  void CloseDrawer();
  bool OnThread(const std::function<bool()>& work);
  bool Present();
  bool Draw(const Place& place) const;
  qvg::Texture Reshaped(double width, double height) const;
  Place FrameIn(int width, int height) const;

  const SinkWindow::Listener listener_;
  std::mutex mutex_;  // Guards all else. Not held while a window ends, whose thread may wait for it.
  SinkWindow::Place place_;
  bool forceAspectRatio_ = true;
  Orientation orientation_;
  std::unique_ptr<RenderThread> thread_;
  std::shared_ptr<SinkWindow> window_;
  qvg::WndDrawer drawer_;
  std::optional<FrameUpload> upload_;
  qvg::Texture frame_;       // The last one.
  GstVideoInfo shown_ = {};  // Of that.
  std::string failure_;
};

}  // namespace qvgst
