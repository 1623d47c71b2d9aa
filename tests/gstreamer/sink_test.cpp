// The element qvgsink in pipelines, and what the screen shows of them.
#include <gst/gst.h>
#include <gst/video/navigation.h>
#include <gst/video/videooverlay.h>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/platform.h"

namespace qvg::test {
namespace {

template <class T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

struct Place {
  int x, y, width, height;
};

/// Until it is so; false when it doesn't become so.
bool Eventually(const std::function<bool()>& isSo) {
  for (int tries = 0; tries < 500; ++tries) {
    if (isSo()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

// ---- The screen

xcb_connection_t* Server() {
  static xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
  return connection;
}

xcb_window_t IdOf(const HostWindow& window) {
  return static_cast<xcb_window_t>(reinterpret_cast<uintptr_t>(window.handle()));
}

std::vector<xcb_window_t> ChildrenOf(xcb_window_t window) {
  const Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(Server(), xcb_query_tree(Server(), window), nullptr),
                                           &std::free);
  if (!tree) return {};
  const xcb_window_t* const first = xcb_query_tree_children(tree.get());
  return {first, first + xcb_query_tree_children_length(tree.get())};
}

Image PixelsOf(xcb_window_t window) {
  const Reply<xcb_get_geometry_reply_t> size(
      xcb_get_geometry_reply(Server(), xcb_get_geometry(Server(), window), nullptr), &std::free);
  if (!size) return {};
  const auto asked =
      xcb_get_image(Server(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0, size->width, size->height, ~uint32_t{0});
  const Reply<xcb_get_image_reply_t> answer(xcb_get_image_reply(Server(), asked, nullptr), &std::free);
  return answer ? ImageOfBGRX(xcb_get_image_data(answer.get()), size->width, size->height) : Image();
}

/// An event as a user's action would cause it.
template <class Event>
void Send(xcb_window_t window, uint32_t mask, Event event, bool propagate = true) {
  std::array<char, 32> bytes = {};
  std::memcpy(bytes.data(), &event, std::min(sizeof event, bytes.size()));
  xcb_send_event(Server(), propagate, window, mask, bytes.data());
  xcb_flush(Server());
}

xcb_button_press_event_t Pointer(uint8_t type, xcb_window_t window, int x, int y) {
  xcb_button_press_event_t event = {};
  event.response_type = type;
  event.detail = 1;
  event.event = window;
  event.event_x = static_cast<int16_t>(x);
  event.event_y = static_cast<int16_t>(y);
  return event;
}

// ---- Frames: four colours, a quarter each

constexpr std::array<std::array<uint8_t, 3>, 4> kQuarters = {{{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 0}}};

/// By number, at the upper left, the upper right, the lower left and the lower right.
using Order = std::array<size_t, 4>;

/// Whether the image has the frame at the place, and black beside it.
bool Shows(const Image& image, const Place& place, const Order& order = {0, 1, 2, 3}) {
  if (image.empty()) return false;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const int left = x - place.x, top = y - place.y;
      const bool inside = left >= 0 && top >= 0 && left < place.width && top < place.height;
      // Where quarters meet they are mixed.
      if (std::abs(2 * left - place.width) < 8 || std::abs(2 * top - place.height) < 8) continue;
      const auto index = static_cast<size_t>((2 * left > place.width) + 2 * (2 * top > place.height));
      const auto& quarter = kQuarters[order[index]];
      for (size_t part = 0; part < 3; ++part) {
        const double wanted = inside ? quarter[part] / 255.0 : 0;
        if (std::abs(image.at(x, y)[part] - wanted) > 0.02) return false;
      }
    }
  }
  return true;
}

class Stream {
 public:
  /// host: given when the sink asks for it; null for none.
  explicit Stream(const HostWindow* host = nullptr,
                  const char* description = "appsrc name=source ! qvgsink name=sink") {
    pipeline = gst_parse_launch(description, nullptr);
    source = gst_bin_get_by_name(GST_BIN(pipeline), "source");
    sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    gst_util_set_object_arg(G_OBJECT(source), "format", "time");
    g_object_set(sink, "sync", FALSE, nullptr);
    GstBus* const bus = gst_element_get_bus(pipeline);
    gst_bus_set_sync_handler(
        bus,
        [](GstBus*, GstMessage* message, gpointer window) {
          if (!gst_is_video_overlay_prepare_window_handle_message(message)) return GST_BUS_PASS;
          const auto handle = reinterpret_cast<guintptr>(window);
          if (handle != 0) gst_video_overlay_set_window_handle(GST_VIDEO_OVERLAY(GST_MESSAGE_SRC(message)), handle);
          return GST_BUS_DROP;
        },
        host != nullptr ? host->handle() : nullptr, nullptr);
    gst_object_unref(bus);
  }
  ~Stream() {
    SetState(GST_STATE_NULL);
    gst_object_unref(source);
    gst_object_unref(sink);
    gst_object_unref(pipeline);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  GstStateChangeReturn SetState(GstState state) { return gst_element_set_state(pipeline, state); }
  void Push(int width, int height, const char* parAndMore = "1/1") {
    const std::string text = "video/x-raw,format=RGB,framerate=25/1,width=" + std::to_string(width) +
                             ",height=" + std::to_string(height) + ",pixel-aspect-ratio=" + parAndMore;
    const int stride = (3 * width + 3) / 4 * 4;
    GstBuffer* buffer = gst_buffer_new_allocate(nullptr, static_cast<gsize>(stride * height), nullptr);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const auto& quarter = kQuarters[static_cast<size_t>((2 * x >= width) + 2 * (2 * y >= height))];
        gst_buffer_fill(buffer, static_cast<gsize>(y * stride + 3 * x), quarter.data(), quarter.size());
      }
    }
    GstCaps* const caps = gst_caps_from_string(text.c_str());
    GstSample* const sample = gst_sample_new(buffer, caps, nullptr, nullptr);
    GstFlowReturn flow = GST_FLOW_OK;
    g_signal_emit_by_name(source, "push-sample", sample, &flow);
    gst_sample_unref(sample);
    gst_caps_unref(caps);
    gst_buffer_unref(buffer);
  }
  /// The first message of these types; what an error says, "" for others, "none".
  std::string Message(int types) {
    GstBus* const bus = gst_element_get_bus(pipeline);
    GstMessage* const message = gst_bus_timed_pop_filtered(bus, 10 * GST_SECOND, static_cast<GstMessageType>(types));
    gst_object_unref(bus);
    if (message == nullptr) return "none";
    std::string text;
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
      GError* error = nullptr;
      gst_message_parse_error(message, &error, nullptr);
      text = error->message;
      g_error_free(error);
    }
    gst_message_unref(message);
    return text;
  }
  void End() {
    GstFlowReturn flow = GST_FLOW_OK;
    g_signal_emit_by_name(source, "end-of-stream", &flow);
  }
  /// Navigation events that go upstream from now on, each with a ";" behind it.
  void WatchNavigation() {
    GstPad* const pad = gst_element_get_static_pad(source, "src");
    gst_pad_add_probe(
        pad, GST_PAD_PROBE_TYPE_EVENT_UPSTREAM,
        [](GstPad*, GstPadProbeInfo* info, gpointer stream) {
          GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
          if (GST_EVENT_TYPE(event) == GST_EVENT_NAVIGATION) static_cast<Stream*>(stream)->Note(event);
          return GST_PAD_PROBE_OK;
        },
        this, nullptr);
    gst_object_unref(pad);
  }
  /// Called for each of them, on the thread that it is sent on.
  void OnNavigation(const std::function<void()>& action) {
    const std::lock_guard lock(mutex_);
    action_ = action;
  }
  std::string Navigation() {
    const std::lock_guard lock(mutex_);
    return navigation_;
  }
  GstVideoOverlay* Overlay() const { return GST_VIDEO_OVERLAY(sink); }

  GstElement *pipeline, *source, *sink;

 private:
  void Note(GstEvent* event) {
    const GstStructure* const fields = gst_event_get_structure(event);
    gdouble x = -1, y = -1;
    gst_structure_get(fields, "pointer_x", G_TYPE_DOUBLE, &x, "pointer_y", G_TYPE_DOUBLE, &y, nullptr);
    const char* const key = gst_structure_get_string(fields, "key");
    std::unique_lock lock(mutex_);
    navigation_ += gst_structure_get_string(fields, "event") + std::string(" ") +
                   (key != nullptr ? key : std::to_string(std::lround(x)) + "," + std::to_string(std::lround(y))) + ";";
    const std::function<void()> action = action_;
    lock.unlock();
    action();
  }

  std::mutex mutex_;
  std::string navigation_;
  std::function<void()> action_ = [] {};
};

class Sink : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    gst_init(nullptr, nullptr);
    GstPlugin* const plugin = gst_plugin_load_file(QVG_GST_PLUGIN, nullptr);
    ASSERT_NE(plugin, nullptr);
    gst_object_unref(plugin);
  }
  void SetUp() override {
    if (!HostWindow::Available()) GTEST_SKIP() << "there is no display";
    root_ = xcb_setup_roots_iterator(xcb_get_setup(Server())).data->root;
  }
  /// The sink's own top-level windows.
  std::vector<xcb_window_t> Windows() const {
    std::vector<xcb_window_t> windows;
    for (const xcb_window_t window : ChildrenOf(root_)) {
      const auto asked = xcb_get_property(Server(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 2);
      const Reply<xcb_get_property_reply_t> name(xcb_get_property_reply(Server(), asked, nullptr), &std::free);
      if (name && xcb_get_property_value_length(name.get()) > 0) windows.push_back(window);
    }
    return windows;
  }
  bool Appears(const HostWindow& window, const Place& place) {
    return Eventually([&] { return Shows(window.Pixels(), place); });
  }

  xcb_window_t root_ = XCB_WINDOW_NONE;
};

TEST_F(Sink, ShowsFrames) {
  constexpr struct {
    int width, height;
    const char* par;
    int hostWidth, hostHeight;  // 0: a window of its own
    bool forced;
    Place rectangle, shown;  // rectangle: of the window, width 0 for all of it; shown: in that
  } kRows[] = {
      {161, 91, "1/1", 0, 0, true, {}, {0, 0, 161, 91}},
      {160, 96, "2/1", 0, 0, true, {}, {0, 0, 320, 96}},
      {160, 96, "1/2", 0, 0, true, {}, {0, 0, 160, 192}},
      {160, 80, "1/1", 400, 400, true, {}, {0, 100, 400, 200}},
      {160, 80, "1/1", 400, 400, false, {}, {0, 0, 400, 400}},
      {160, 80, "1/2", 400, 200, true, {}, {100, 0, 200, 200}},
      {640, 360, "1/1", 320, 240, true, {}, {0, 30, 320, 180}},
      {160, 80, "1/1", 400, 300, true, {40, 60, 200, 200}, {40, 110, 200, 100}},
      {160, 80, "4/3", 0, 0, false, {20, 10, 100, 60}, {20, 10, 100, 60}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.width << " x " << row.height << " by " << row.par << " in " << row.hostWidth
                                    << " x " << row.hostHeight);
    const HostWindow host(std::max(1, row.hostWidth), std::max(1, row.hostHeight), 700, 400);
    Stream stream(row.hostWidth > 0 ? &host : nullptr);
    g_object_set(stream.sink, "force-aspect-ratio", row.forced, nullptr);
    const Place& r = row.rectangle;
    gst_video_overlay_set_render_rectangle(stream.Overlay(), r.x, r.y, r.width > 0 ? r.width : -1,
                                           r.width > 0 ? r.height : -1);
    stream.SetState(GST_STATE_PAUSED);
    stream.Push(row.width, row.height, row.par);
    EXPECT_TRUE(Eventually([&] {
      const auto own = Windows();
      const xcb_window_t window = row.hostWidth > 0 ? IdOf(host) : own.empty() ? root_ : own.front();
      return Shows(PixelsOf(window), row.shown);
    }));
  }
  EXPECT_TRUE(Eventually([&] { return Windows().empty(); }));
}

TEST_F(Sink, PutsFramesUpright) {
  constexpr struct {
    const char *direction, *tag;
    Order order;
    const char* move;  // to a place in the frame, from one in the window
  } kRows[] = {
      {"identity", "rotate-90", {0, 1, 2, 3}, "mouse-move 20,20;"},
      {"90r", nullptr, {2, 0, 3, 1}, "mouse-move 20,60;"},
      {"180", nullptr, {3, 2, 1, 0}, "mouse-move 140,60;"},
      {"90l", nullptr, {1, 3, 0, 2}, "mouse-move 140,20;"},
      {"horiz", nullptr, {1, 0, 3, 2}, "mouse-move 140,20;"},
      {"vert", nullptr, {2, 3, 0, 1}, "mouse-move 20,60;"},
      {"ul-lr", nullptr, {0, 2, 1, 3}, "mouse-move 20,20;"},
      {"ur-ll", nullptr, {3, 1, 2, 0}, "mouse-move 140,60;"},
      {"auto", "rotate-90", {2, 0, 3, 1}, "mouse-move 20,60;"},
      {"auto", nullptr, {0, 1, 2, 3}, "mouse-move 20,20;"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.direction << " " << (row.tag != nullptr ? row.tag : ""));
    const HostWindow host(160, 160);
    Stream stream(&host);
    gst_util_set_object_arg(G_OBJECT(stream.sink), "video-direction", row.direction);
    stream.WatchNavigation();
    stream.SetState(GST_STATE_PLAYING);
    stream.Push(160, 80);
    if (row.tag != nullptr) {
      gst_element_send_event(stream.source,
                             gst_event_new_tag(gst_tag_list_new(GST_TAG_IMAGE_ORIENTATION, row.tag, nullptr)));
    }
    stream.Push(160, 80);
    const bool turned = (row.order[0] ^ row.order[1]) == 2;  // One has been below the other.
    const Place place = turned ? Place{40, 0, 80, 160} : Place{0, 40, 160, 80};
    EXPECT_TRUE(Eventually([&] { return Shows(host.Pixels(), place, row.order); }));
    const double x = place.x + place.width / (turned ? 4.0 : 8.0), y = place.y + place.height / (turned ? 8.0 : 4.0);
    gst_navigation_send_event_simple(GST_NAVIGATION(stream.sink),
                                     gst_navigation_event_new_mouse_move(x, y, GST_NAVIGATION_MODIFIER_NONE));
    EXPECT_EQ(stream.Navigation(), row.move);
  }
}

TEST_F(Sink, KeepsAPausedPictureInTheWindow) {
  HostWindow host(200, 100, 0, 0), other(300, 300, 400, 0);
  const uint32_t black = 0;
  xcb_change_window_attributes(Server(), IdOf(host), XCB_CW_BACK_PIXEL, &black);
  xcb_flush(Server());
  Stream stream(&host);
  stream.SetState(GST_STATE_PAUSED);
  stream.Push(160, 80);
  ASSERT_TRUE(Appears(host, {0, 0, 200, 100}));
  host.Resize(300, 240);
  EXPECT_TRUE(Appears(host, {0, 45, 300, 150})) << "resized";
  gst_video_overlay_set_render_rectangle(stream.Overlay(), 100, 100, 120, 60);
  EXPECT_TRUE(Appears(host, {100, 100, 120, 60})) << "in a rectangle";
  gst_video_overlay_set_render_rectangle(stream.Overlay(), -1, -1, -1, -1);
  EXPECT_TRUE(Appears(host, {0, 45, 300, 150})) << "in all of the window";
  g_object_set(stream.sink, "force-aspect-ratio", FALSE, nullptr);
  EXPECT_TRUE(Appears(host, {0, 0, 300, 240})) << "stretched";
  {
    const HostWindow cover(500, 500);
    ASSERT_TRUE(Eventually([&] { return !Shows(host.Pixels(), {0, 0, 300, 240}); }));
  }
  EXPECT_TRUE(Appears(host, {0, 0, 300, 240})) << "uncovered";
  gst_video_overlay_set_window_handle(stream.Overlay(), reinterpret_cast<guintptr>(other.handle()));
  EXPECT_TRUE(Appears(other, {0, 0, 300, 300})) << "moved";
  EXPECT_TRUE(Eventually([&] { return ChildrenOf(IdOf(host)).empty(); }));
}

TEST_F(Sink, OutlivesItsHostsWindow) {
  HostWindow host(200, 100), other(200, 100, 300, 0);
  Stream stream(&host);
  stream.SetState(GST_STATE_PLAYING);
  stream.Push(160, 80);
  ASSERT_TRUE(Appears(host, {0, 0, 200, 100}));
  stream.Push(80, 160);
  EXPECT_TRUE(Appears(host, {75, 0, 50, 100})) << "other caps";
  host.Destroy();
  for (int i = 0; i < 20; ++i) stream.Push(100, 50 + i);
  stream.Push(160, 80);
  EXPECT_EQ(stream.Message(GST_MESSAGE_ERROR | GST_MESSAGE_ASYNC_DONE), "");
  gst_video_overlay_set_window_handle(stream.Overlay(), reinterpret_cast<guintptr>(other.handle()));
  EXPECT_TRUE(Appears(other, {0, 0, 200, 100}));
  stream.End();
  EXPECT_EQ(stream.Message(GST_MESSAGE_ERROR | GST_MESSAGE_EOS), "");
}

TEST_F(Sink, SharesTheScreenWithOthers) {
  const HostWindow hosts[] = {{160, 80, 0, 0}, {200, 200, 200, 0}, {80, 40, 500, 0}};
  Stream stream(
      nullptr,
      "appsrc name=source ! tee name=t ! queue ! qvgsink name=sink t. ! queue ! qvgsink name=sink1 sync=false "
      "t. ! queue ! qvgsink name=sink2 sync=false");
  for (int i = 0; i < 3; ++i) {
    const std::string name = i == 0 ? "sink" : "sink" + std::to_string(i);
    GstElement* const sink = gst_bin_get_by_name(GST_BIN(stream.pipeline), name.c_str());
    gst_video_overlay_set_window_handle(GST_VIDEO_OVERLAY(sink), reinterpret_cast<guintptr>(hosts[i].handle()));
    gst_object_unref(sink);
  }
  stream.SetState(GST_STATE_PLAYING);
  for (int i = 0; i < 50; ++i) stream.Push(160, 80);
  EXPECT_TRUE(Appears(hosts[0], {0, 0, 160, 80}));
  EXPECT_TRUE(Appears(hosts[1], {0, 50, 200, 100}));
  EXPECT_TRUE(Appears(hosts[2], {0, 0, 80, 40}));
}

TEST_F(Sink, TellsThatTheUserHasClosedTheWindow) {
  Stream stream;
  stream.SetState(GST_STATE_PLAYING);
  stream.Push(160, 80);
  ASSERT_TRUE(Eventually([&] { return Windows().size() == 1 && Shows(PixelsOf(Windows()[0]), {0, 0, 160, 80}); }));
  const auto atom = [](const std::string& name) {
    const auto asked = xcb_intern_atom(Server(), 1, static_cast<uint16_t>(name.size()), name.c_str());
    return Reply<xcb_intern_atom_reply_t>(xcb_intern_atom_reply(Server(), asked, nullptr), &std::free)->atom;
  };
  xcb_client_message_event_t message = {};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = Windows()[0];
  message.type = atom("WM_PROTOCOLS");
  message.data.data32[0] = atom("WM_DELETE_WINDOW");
  Send(message.window, XCB_EVENT_MASK_NO_EVENT, message, false);
  EXPECT_EQ(stream.Message(GST_MESSAGE_ERROR), "Output window was closed");
  // What is started anew gets a new one.
  stream.SetState(GST_STATE_READY);
  EXPECT_TRUE(Eventually([&] { return Windows().empty(); }));
  stream.SetState(GST_STATE_PLAYING);
  stream.Push(160, 80);
  EXPECT_TRUE(Eventually([&] { return Windows().size() == 1 && Shows(PixelsOf(Windows()[0]), {0, 0, 160, 80}); }));
}

// Of its own window all, of a host's what more than one can get; and places are the frame's.
TEST_F(Sink, SendsInputUpstream) {
  for (const bool own : {true, false}) {
    SCOPED_TRACE(own);
    const HostWindow host(320, 320, 400, 0);
    const uint32_t presses = XCB_EVENT_MASK_BUTTON_PRESS;
    xcb_change_window_attributes(Server(), IdOf(host), XCB_CW_EVENT_MASK, &presses);
    Stream stream(own ? nullptr : &host);
    stream.WatchNavigation();
    if (!own) gst_video_overlay_set_render_rectangle(stream.Overlay(), 0, 80, 320, 160);
    stream.SetState(GST_STATE_PAUSED);
    stream.Push(160, 80);
    const xcb_window_t* window = nullptr;
    const xcb_window_t hostId = IdOf(host);
    xcb_window_t ownId = XCB_WINDOW_NONE;
    ASSERT_TRUE(Eventually([&] {
      if (own && !Windows().empty()) ownId = Windows()[0];
      window = own ? &ownId : &hostId;
      return Shows(PixelsOf(*window), own ? Place{0, 0, 160, 80} : Place{0, 80, 320, 160});
    }));
    // To the picture, from where they go on to the window, in which places don't change.
    const xcb_window_t picture = ChildrenOf(*window).at(0);
    Send(picture, XCB_EVENT_MASK_BUTTON_PRESS, Pointer(XCB_BUTTON_PRESS, picture, 40, 100));
    Send(picture, XCB_EVENT_MASK_POINTER_MOTION, Pointer(XCB_MOTION_NOTIFY, picture, 40, 100));
    auto key = Pointer(XCB_KEY_PRESS, picture, 0, 0);
    key.detail = 38;
    Send(picture, XCB_EVENT_MASK_KEY_PRESS, key);
    const std::string wanted =
        own ? "mouse-button-press 40,100;mouse-move 40,100;key-press a;" : "mouse-move 20,10;key-press a;";
    EXPECT_TRUE(Eventually([&] { return stream.Navigation() == wanted; })) << stream.Navigation();
    const Reply<xcb_generic_event_t> press(own ? nullptr : xcb_wait_for_event(Server()), &std::free);
    EXPECT_TRUE(own || (press->response_type & 0x7f) == XCB_BUTTON_PRESS);
    // What hears of it may take the window away.
    gst_video_overlay_set_render_rectangle(stream.Overlay(), -1, -1, -1, -1);
    const HostWindow other(80, 40, 800, 0);
    stream.OnNavigation(
        [&] { gst_video_overlay_set_window_handle(stream.Overlay(), reinterpret_cast<guintptr>(other.handle())); });
    Send(picture, XCB_EVENT_MASK_POINTER_MOTION, Pointer(XCB_MOTION_NOTIFY, picture, 0, 0));
    EXPECT_TRUE(Appears(other, {0, 0, 80, 40}));
    EXPECT_TRUE(Eventually([&] { return own ? Windows().empty() : ChildrenOf(hostId).empty(); }));
    stream.SetState(GST_STATE_NULL);
  }
}

size_t FilesAndThreads() {
  const auto count = [](const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
  };
  return static_cast<size_t>(count("/proc/self/fd") + count("/proc/self/task"));
}

TEST_F(Sink, LeavesNothingBehind) {
  const HostWindow host(160, 80);
  Stream stream(&host);
  size_t before = 0;
  for (int round = 0; round < 20; ++round) {
    for (const GstState state : {GST_STATE_PAUSED, GST_STATE_PLAYING, GST_STATE_PAUSED}) {
      stream.SetState(state);
      stream.Push(160, 80);
      ASSERT_TRUE(Appears(host, {0, 0, 160, 80})) << round;
    }
    stream.SetState(GST_STATE_READY);
    EXPECT_TRUE(Appears(host, {0, 0, 0, 0})) << "black";
    stream.SetState(round % 2 == 1 ? GST_STATE_NULL : GST_STATE_READY);
    if (round == 5) before = FilesAndThreads();
  }
  EXPECT_TRUE(Eventually([&] { return ChildrenOf(IdOf(host)).empty(); }));
  EXPECT_TRUE(Eventually([&] { return FilesAndThreads() <= before; }));
}

TEST_F(Sink, TellsThatThereIsNowhereToShowAnything) {
  Stream lost;
  gst_video_overlay_set_window_handle(lost.Overlay(), 12345);
  lost.SetState(GST_STATE_PLAYING);
  lost.Push(160, 80);
  EXPECT_EQ(lost.Message(GST_MESSAGE_ERROR), "Video can't be shown in the window.");

  const std::string display = std::getenv("DISPLAY");
  unsetenv("DISPLAY");
  Stream blind;
  EXPECT_EQ(blind.SetState(GST_STATE_READY), GST_STATE_CHANGE_FAILURE);
  setenv("DISPLAY", display.c_str(), 1);
  EXPECT_EQ(blind.Message(GST_MESSAGE_ERROR), "There is no display to show video on, or no OpenGL 4.2 for it.");
}

}  // namespace
}  // namespace qvg::test
