#include "qvgsink/sinkWindow.h"

#include <X11/Xlib.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace qvgst {
namespace {

constexpr int kLargest = 32767;  // Of a window's sides.

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Reply = std::unique_ptr<T, Free>;

int Side(int length) { return std::clamp(length, 1, kLargest); }

std::pair<int, int> FitOnto(const xcb_screen_t& screen, int width, int height) {
  const double scale = std::min({1.0, static_cast<double>(screen.width_in_pixels) / std::max(1, width),
                                 static_cast<double>(screen.height_in_pixels) / std::max(1, height)});
  return {Side(static_cast<int>(width * scale)), Side(static_cast<int>(height * scale))};
}

const char* NameOf(xcb_keysym_t symbol) {
  static std::mutex xlib;  // It reads names from a file when it is first asked for an unusual one.
  const std::lock_guard lock(xlib);
  return symbol == XCB_NO_SYMBOL ? nullptr : XKeysymToString(symbol);
}

}  // namespace

bool SinkWindow::IsDisplayThere() {
  const std::unique_ptr<xcb_connection_t, Disconnect> connection(xcb_connect(nullptr, nullptr));
  return xcb_connection_has_error(connection.get()) == 0;
}

bool SinkWindow::IsThere() const {
  // The window's own connection is its thread's.
  const std::unique_ptr<xcb_connection_t, Disconnect> connection(xcb_connect(nullptr, nullptr));
  const Reply<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection.get(), xcb_get_geometry(connection.get(), picture_), nullptr));
  return geometry != nullptr;
}

// ---- Making

SinkWindow::SinkWindow(const Place& place, Listener listener)
    : listener_(std::move(listener)),
      own_(place.host == XCB_WINDOW_NONE),
      rectangle_(place.rectangle),
      takesInput_(place.takesInput) {
  int screen = 0;
  connection_.reset(xcb_connect(nullptr, &screen));
  if (xcb_connection_has_error(connection_.get()) != 0) throw std::runtime_error("no X server answers");
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
  for (; screen > 0 && screens.rem > 1; --screen) xcb_screen_next(&screens);
  screen_ = screens.data;
  own_ ? MakeFrame(place) : FindHost(place);
  MakePicture();
  ReadKeys();
  SelectInput();
  xcb_map_window(connection_.get(), picture_);
  if (own_) xcb_map_window(connection_.get(), frame_);
  // Whoever draws does so through another connection: the server has to know the window by then.
  const Reply<xcb_get_input_focus_reply_t> roundTrip(
      xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
  wakeUp_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wakeUp_ < 0) throw std::runtime_error("eventfd failed");
}

std::shared_ptr<SinkWindow> SinkWindow::Open(const Place& place, Listener listener) {
  std::shared_ptr<SinkWindow> window(new SinkWindow(place, std::move(listener)));
  // Its thread keeps it, too, as a listener may end it.
  window->thread_ = std::thread([window] { window->Serve(); });
  return window;
}

void SinkWindow::End() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  Wake();
  if (thread_.get_id() != std::this_thread::get_id()) thread_.join();
}

SinkWindow::~SinkWindow() {
  if (thread_.joinable()) thread_.detach();
  if (wakeUp_ >= 0) close(wakeUp_);
}

void SinkWindow::FindHost(const Place& place) {
  xcb_connection_t* const connection = connection_.get();
  frame_ = place.host;
  // Before its size is asked for, so that no change of it is missed.
  const uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection, frame_, XCB_CW_EVENT_MASK, &events);
  const Reply<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, frame_), nullptr));
  if (!geometry) throw std::runtime_error("the host's window is not there");
  frameWidth_ = geometry->width;
  frameHeight_ = geometry->height;
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screens.rem > 0; xcb_screen_next(&screens)) {
    if (screens.data->root == geometry->root) screen_ = screens.data;
  }
}

void SinkWindow::MakeFrame(const Place& place) {
  xcb_connection_t* const connection = connection_.get();
  std::tie(frameWidth_, frameHeight_) = FitOnto(*screen_, place.width, place.height);
  frame_ = xcb_generate_id(connection);
  const uint32_t values[] = {screen_->black_pixel, XCB_EVENT_MASK_STRUCTURE_NOTIFY};
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, frame_, screen_->root, 0, 0, static_cast<uint16_t>(frameWidth_),
                    static_cast<uint16_t>(frameHeight_), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
  protocols_ = Atom("WM_PROTOCOLS");
  deleteWindow_ = Atom("WM_DELETE_WINDOW");
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, frame_, protocols_, XCB_ATOM_ATOM, 32, 1, &deleteWindow_);
  NameFrame(place.title);
}

void SinkWindow::NameFrame(const std::string& title) {
  const auto set = [&](xcb_atom_t property, xcb_atom_t type, const std::string& text) {
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, frame_, property, type, 8,
                        static_cast<uint32_t>(text.size()), text.data());
  };
  set(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, title);
  set(Atom("_NET_WM_NAME"), Atom("UTF8_STRING"), title);
  const std::string classes = std::string("qvgsink") + '\0' + "qvgsink" + '\0';
  set(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, classes);
}

xcb_atom_t SinkWindow::Atom(const char* name) {
  const auto asked = xcb_intern_atom(connection_.get(), 0, static_cast<uint16_t>(std::strlen(name)), name);
  const Reply<xcb_intern_atom_reply_t> answer(xcb_intern_atom_reply(connection_.get(), asked, nullptr));
  return answer ? answer->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void SinkWindow::MakePicture() {
  xcb_connection_t* const connection = connection_.get();
  placed_ = rectangle_.value_or(Rectangle{0, 0, frameWidth_, frameHeight_});
  width_ = placed_.width = Side(placed_.width);
  height_ = placed_.height = Side(placed_.height);
  picture_ = xcb_generate_id(connection);
  // The screen's own visual, whatever the host has: one with alpha would let the desktop shine through.
  const uint32_t values[] = {screen_->black_pixel, 0, XCB_GRAVITY_NORTH_WEST,
                             XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_EXPOSURE, screen_->default_colormap};
  const auto made = xcb_create_window_checked(
      connection, screen_->root_depth, picture_, frame_, static_cast<int16_t>(placed_.x),
      static_cast<int16_t>(placed_.y), static_cast<uint16_t>(placed_.width), static_cast<uint16_t>(placed_.height), 0,
      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_BIT_GRAVITY | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values);
  const Reply<xcb_generic_error_t> error(xcb_request_check(connection, made));
  if (error) throw std::runtime_error(own_ ? "a window can't be made" : "the host's window takes no child");
}

// ---- Wishes of other threads

std::pair<int, int> SinkWindow::Size() const {
  const std::lock_guard lock(mutex_);
  return {width_, height_};
}

void SinkWindow::SetRectangle(const std::optional<Rectangle>& rectangle) {
  {
    const std::lock_guard lock(mutex_);
    rectangle_ = rectangle;
  }
  Wake();
}

void SinkWindow::SetTakesInput(bool takesInput) {
  {
    const std::lock_guard lock(mutex_);
    takesInput_ = takesInput;
  }
  Wake();
}

void SinkWindow::Wake() {
  const uint64_t one = 1;
  // It fails when the counter is full: the thread wakes up then as well.
  [[maybe_unused]] const ssize_t written = write(wakeUp_, &one, sizeof one);
}

// ---- The window's thread. Nobody else uses the connection while it runs, so that no reply of another's hides an
// event.

void SinkWindow::Serve() {
  while (Wait()) {
    ApplyWishes();
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) Handle(*event);
    if (xcb_connection_has_error(connection_.get()) != 0) return ReportLoss();
    ReportPictureChanges();
  }
}

bool SinkWindow::Wait() {
  {
    const std::lock_guard lock(mutex_);
    if (ending_) return false;
  }
  xcb_flush(connection_.get());
  // Replies may have been read with events before them, which no file descriptor tells of any more.
  if (const Reply<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection_.get())}) {
    Handle(*event);
    return true;
  }
  pollfd files[] = {{xcb_get_file_descriptor(connection_.get()), POLLIN, 0}, {wakeUp_, POLLIN, 0}};
  while (poll(files, std::size(files), -1) < 0 && errno == EINTR) {
  }
  uint64_t wakeUps = 0;
  [[maybe_unused]] const ssize_t bytes = read(wakeUp_, &wakeUps, sizeof wakeUps);
  const std::lock_guard lock(mutex_);
  return !ending_;
}

void SinkWindow::ApplyWishes() {
  PlacePicture();
  SelectInput();
}

void SinkWindow::PlacePicture() {
  Rectangle wanted = {0, 0, frameWidth_, frameHeight_};
  {
    const std::lock_guard lock(mutex_);
    if (rectangle_) wanted = *rectangle_;
  }
  wanted.width = Side(wanted.width);
  wanted.height = Side(wanted.height);
  if (std::exchange(placed_, wanted) == wanted) return;
  const uint32_t values[] = {static_cast<uint32_t>(wanted.x), static_cast<uint32_t>(wanted.y),
                             static_cast<uint32_t>(wanted.width), static_cast<uint32_t>(wanted.height)};
  xcb_configure_window(connection_.get(), picture_,
                       XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                       values);
}

void SinkWindow::SelectInput() {
  bool takesInput = false;
  {
    const std::lock_guard lock(mutex_);
    takesInput = takesInput_;
  }
  if (std::exchange(selected_, takesInput) == takesInput) return;
  constexpr uint32_t kShared = XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
  constexpr uint32_t kExclusive = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE;
  uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  if (takesInput) events |= own_ ? kShared | kExclusive : kShared;
  xcb_change_window_attributes(connection_.get(), frame_, XCB_CW_EVENT_MASK, &events);
}

void SinkWindow::ReadKeys() {
  xcb_connection_t* const connection = connection_.get();
  const xcb_setup_t* const setup = xcb_get_setup(connection);
  firstKey_ = setup->min_keycode;
  const auto count = static_cast<uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  const Reply<xcb_get_keyboard_mapping_reply_t> reply(
      xcb_get_keyboard_mapping_reply(connection, xcb_get_keyboard_mapping(connection, firstKey_, count), nullptr));
  symbols_.clear();
  if (!reply) return;
  symbolsPerKey_ = reply->keysyms_per_keycode;
  const xcb_keysym_t* const first = xcb_get_keyboard_mapping_keysyms(reply.get());
  symbols_.assign(first, first + xcb_get_keyboard_mapping_keysyms_length(reply.get()));
}

void SinkWindow::Handle(const xcb_generic_event_t& event) {
  using Kind = WindowEvent::Kind;
  const auto as = [&]<class Event>() -> const Event& { return reinterpret_cast<const Event&>(event); };
  // Of motions and releases, too: they have the fields of presses.
  const auto& button = as.operator()<xcb_button_press_event_t>();
  const auto& key = as.operator()<xcb_key_press_event_t>();
  switch (event.response_type & 0x7f) {
    case XCB_CONFIGURE_NOTIFY:
      return HandleConfigure(as.operator()<xcb_configure_notify_event_t>());
    case XCB_EXPOSE:
      exposed_ = true;
      return;
    case XCB_DESTROY_NOTIFY:
      return ReportLoss();
    case XCB_CLIENT_MESSAGE: {
      const auto& message = as.operator()<xcb_client_message_event_t>();
      if (message.type == protocols_ && message.data.data32[0] == deleteWindow_) return Close();
      return;
    }
    case XCB_MAPPING_NOTIFY:
      return ReadKeys();
    case XCB_MOTION_NOTIFY:
      return ReportPointer(Kind::kPointerMoved, button);
    case XCB_BUTTON_PRESS:
      return ReportPointer(Kind::kButtonPressed, button);
    case XCB_BUTTON_RELEASE:
      return ReportPointer(Kind::kButtonReleased, button);
    case XCB_KEY_PRESS:
      return ReportKey(Kind::kKeyPressed, key);
    case XCB_KEY_RELEASE:
      return ReportKey(Kind::kKeyReleased, key);
    default:  // Errors among them: of windows that the host has destroyed.
      return;
  }
}

void SinkWindow::HandleConfigure(const xcb_configure_notify_event_t& event) {
  if (event.window == frame_) {
    frameWidth_ = event.width;
    frameHeight_ = event.height;
    PlacePicture();
  } else if (event.window == picture_) {
    const std::lock_guard lock(mutex_);
    resized_ = resized_ || width_ != event.width || height_ != event.height;
    width_ = event.width;
    height_ = event.height;
  }
}

void SinkWindow::ReportPointer(WindowEvent::Kind kind, const xcb_button_press_event_t& event) {
  const bool isButton = kind != WindowEvent::Kind::kPointerMoved;
  Report({.kind = kind,
          .x = event.event_x - placed_.x,
          .y = event.event_y - placed_.y,
          .button = isButton ? event.detail : 0U,
          .modifiers = event.state});
}

void SinkWindow::ReportKey(WindowEvent::Kind kind, const xcb_key_press_event_t& event) {
  const size_t index = static_cast<size_t>(event.detail - firstKey_) * symbolsPerKey_;
  if (event.detail < firstKey_ || index >= symbols_.size()) return;
  // The key's first symbol, without the modifiers, which are told beside it.
  if (const char* name = NameOf(symbols_[index])) Report({.kind = kind, .modifiers = event.state, .key = name});
}

// What draws to it still does.
void SinkWindow::Close() {
  xcb_unmap_window(connection_.get(), frame_);
  ReportLoss();
}

void SinkWindow::Report(const WindowEvent& event) {
  {
    const std::lock_guard lock(mutex_);
    if (ending_) return;
  }
  listener_(event);
}

void SinkWindow::ReportPictureChanges() {
  if (lost_) return;
  if (std::exchange(resized_, false)) Report({.kind = WindowEvent::Kind::kResized});
  if (std::exchange(exposed_, false)) Report({.kind = WindowEvent::Kind::kExposed});
}

void SinkWindow::ReportLoss() {
  if (std::exchange(lost_, true)) return;
  Report({.kind = own_ ? WindowEvent::Kind::kClosed : WindowEvent::Kind::kGone});
}

}  // namespace qvgst
