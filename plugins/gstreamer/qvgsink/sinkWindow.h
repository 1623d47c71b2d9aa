#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace qvgst {

struct Rectangle {
  int x = 0, y = 0, width = 0, height = 0;
  bool operator==(const Rectangle&) const = default;
};

struct WindowEvent {
  enum class Kind {
    kResized,
    kExposed,
    kClosed,  ///< The user has closed the window, or the X server is gone.
    kGone,    ///< The host has destroyed its window, and so this one.
    kPointerMoved,
    kButtonPressed,
    kButtonReleased,
    kKeyPressed,
    kKeyReleased,
  };
  Kind kind;
  int x = 0, y = 0;           ///< Of the pointer, in pixels of the picture's window.
  uint32_t button = 0;        ///< As X11 numbers them.
  uint32_t modifiers = 0;     ///< X11's mask.
  const char* key = nullptr;  ///< The name of a key's symbol.
};

/// An X11 window for pictures: all of a top-level window of its own, or of a host's window, or a rectangle of either.
///
/// It has a connection and a thread of its own, and no error of X11 reaches anybody else. Within a host's window it is
/// a child that takes no input, so that the host gets what it would get without it; of keys and the pointer's moves a
/// copy is taken where the host's window gets them. Clicks can't be shared: they are the host's.
class SinkWindow {
 public:
  struct Place {
    xcb_window_t host = XCB_WINDOW_NONE;  ///< None: a top-level window is made.
    std::optional<Rectangle> rectangle;   ///< Of that window; none: all of it, also when its size changes.
    int width = 0, height = 0;            ///< Of a window of its own.
    std::string title;                    ///< Likewise.
    bool takesInput = true;               ///< Pointer and keys are reported.
  };
  using Listener = std::function<void(const WindowEvent&)>;

  /// listener: called on the window's thread, until End(). Throws std::runtime_error.
  static std::shared_ptr<SinkWindow> Open(const Place& place, Listener listener);
  /// Destroys the window; what draws to it has to be gone. Waits until the listener has returned, unless it is the
  /// listener that calls.
  void End();
  ~SinkWindow();
  SinkWindow(const SinkWindow&) = delete;
  SinkWindow& operator=(const SinkWindow&) = delete;

  // Any thread.

  /// What is drawn to.
  xcb_window_t Picture() const { return picture_; }
  /// The host's window, or the one of its own.
  xcb_window_t Frame() const { return frame_; }
  bool IsOwn() const { return own_; }
  /// The picture's, as last reported.
  std::pair<int, int> Size() const;
  void SetRectangle(const std::optional<Rectangle>& rectangle);
  void SetTakesInput(bool takesInput);

  /// False when the window has been destroyed, even if that is not reported yet.
  bool IsThere() const;

  /// Whether there is an X server to show anything on.
  static bool IsDisplayThere();

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  SinkWindow(const Place& place, Listener listener);
  void FindHost(const Place& place);
  void MakeFrame(const Place& place);
  void MakePicture();
  void NameFrame(const std::string& title);
  xcb_atom_t Atom(const char* name);

  void Serve();
  bool Wait();
  void ApplyWishes();
  void PlacePicture();
  void SelectInput();
  void ReadKeys();
  void Handle(const xcb_generic_event_t& event);
  void HandleConfigure(const xcb_configure_notify_event_t& event);
  void ReportPointer(WindowEvent::Kind kind, const xcb_button_press_event_t& event);
  void ReportKey(WindowEvent::Kind kind, const xcb_key_press_event_t& event);
  void ReportPictureChanges();
  void ReportLoss();
  void Close();
  void Report(const WindowEvent& event);
  void Wake();

  const Listener listener_;
  const bool own_;
  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  const xcb_screen_t* screen_ = nullptr;
  xcb_window_t frame_ = XCB_WINDOW_NONE, picture_ = XCB_WINDOW_NONE;
  xcb_atom_t protocols_ = XCB_ATOM_NONE, deleteWindow_ = XCB_ATOM_NONE;

  // Of the window's thread.
  int frameWidth_ = 1, frameHeight_ = 1;
  Rectangle placed_;  // The picture's, in the frame.
  bool selected_ = false, resized_ = false, exposed_ = false, lost_ = false;
  xcb_keycode_t firstKey_ = 0;
  size_t symbolsPerKey_ = 0;
  std::vector<xcb_keysym_t> symbols_;

  mutable std::mutex mutex_;  // Guards what follows.
  std::optional<Rectangle> rectangle_;
  bool takesInput_, ending_ = false;
  int width_ = 1, height_ = 1;  // The picture's.

  int wakeUp_ = -1;  // An eventfd.
  std::thread thread_;
};

}  // namespace qvgst
