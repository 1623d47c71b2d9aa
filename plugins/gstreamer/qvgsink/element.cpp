// The element qvgsink: GStreamer's side of it. What it shows, and where, is Presenter.
#include "qvgsink/element.h"

#include <gst/video/gstvideosink.h>
#include <gst/video/navigation.h>
#include <gst/video/videooverlay.h>

#include <atomic>
#include <exception>
#include <optional>
#include <string>

#include "core/frameUpload.h"
#include "core/log.h"
#include "qvgsink/orientation.h"
#include "qvgsink/presenter.h"

namespace {

using qvgst::category;

/// Everything of the element that is not GStreamer's.
struct State {
  explicit State(qvgst::SinkWindow::Listener listener) : presenter(std::move(listener)) {}

  qvgst::Presenter presenter;
  std::atomic<bool> forceAspectRatio = true, takesInput = true;
  std::atomic<GstVideoOrientationMethod> direction = GST_VIDEO_ORIENTATION_IDENTITY;
  std::atomic<GstVideoOrientationMethod> tagged = GST_VIDEO_ORIENTATION_IDENTITY;  // What the stream's tags say.
  std::atomic<bool> closed = false;  // By the user, who wants no more of it.
};

enum : guint { kForceAspectRatio = 1, kHandleEvents, kVideoDirection, kOverlay };

void InitOverlay(gpointer interface, gpointer data);
void InitNavigation(gpointer interface, gpointer data);

}  // namespace

struct GstQvgSink {
  GstVideoSink parent;
  State* state;
};
struct GstQvgSinkClass {
  GstVideoSinkClass parent;
};

G_DEFINE_TYPE_WITH_CODE(GstQvgSink, gst_qvg_sink, GST_TYPE_VIDEO_SINK,
                        G_IMPLEMENT_INTERFACE(GST_TYPE_VIDEO_OVERLAY, InitOverlay)
                            G_IMPLEMENT_INTERFACE(GST_TYPE_NAVIGATION, InitNavigation)
                                G_IMPLEMENT_INTERFACE(GST_TYPE_VIDEO_DIRECTION, nullptr))

namespace {

State& StateOf(gpointer element) { return *static_cast<GstQvgSink*>(element)->state; }

void Orient(State& state) {
  const GstVideoOrientationMethod direction = state.direction;
  state.presenter.SetOrientation(
      qvgst::Orientation::Of(direction == GST_VIDEO_ORIENTATION_AUTO ? state.tagged.load() : direction));
  state.presenter.Redraw();
}

// ---- Properties

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
  State& state = StateOf(object);
  if (id == kForceAspectRatio) {
    state.forceAspectRatio = g_value_get_boolean(value) != FALSE;
    state.presenter.SetForceAspectRatio(state.forceAspectRatio);
    state.presenter.Redraw();
  } else if (id == kHandleEvents) {
    gst_video_overlay_handle_events(GST_VIDEO_OVERLAY(object), g_value_get_boolean(value));
  } else if (id == kVideoDirection) {
    state.direction = static_cast<GstVideoOrientationMethod>(g_value_get_enum(value));
    Orient(state);
  } else if (!gst_video_overlay_set_property(object, kOverlay, id, value)) {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
  }
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
  const State& state = StateOf(object);
  if (id == kForceAspectRatio) {
    g_value_set_boolean(value, state.forceAspectRatio);
  } else if (id == kHandleEvents) {
    g_value_set_boolean(value, state.takesInput);
  } else if (id == kVideoDirection) {
    g_value_set_enum(value, state.direction);
  } else {
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
  }
}

// ---- The window that applications give, and what happens in it

void Expose(GstVideoOverlay* overlay) { StateOf(overlay).presenter.Redraw(); }

void HandleEvents(GstVideoOverlay* overlay, gboolean handle) {
  State& state = StateOf(overlay);
  state.takesInput = handle != FALSE;
  state.presenter.SetTakesInput(state.takesInput);
}

void SetRenderRectangle(GstVideoOverlay* overlay, gint x, gint y, gint width, gint height) {
  std::optional<qvgst::Rectangle> rectangle;
  if (width > 0 && height > 0) rectangle = {x, y, width, height};
  StateOf(overlay).presenter.SetRectangle(rectangle);
}

void SetWindowHandle(GstVideoOverlay* overlay, guintptr handle) {
  StateOf(overlay).presenter.SetHost(static_cast<xcb_window_t>(handle));
}

void InitOverlay(gpointer interface, gpointer /*data*/) {
  auto* overlay = static_cast<GstVideoOverlayInterface*>(interface);
  overlay->expose = &Expose;
  overlay->handle_events = &HandleEvents;
  overlay->set_render_rectangle = &SetRenderRectangle;
  overlay->set_window_handle = &SetWindowHandle;
}

/// Places are the window's, and become the frame's.
void SendNavigation(GstNavigation* navigation, GstEvent* event) {
  event = gst_event_make_writable(event);
  if (gdouble x = 0, y = 0; gst_navigation_event_get_coordinates(event, &x, &y)) {
    const auto [frameX, frameY] = StateOf(navigation).presenter.ToFrame(x, y);
    gst_navigation_event_set_coordinates(event, frameX, frameY);
  }
  gst_event_ref(event);
  if (!gst_pad_push_event(GST_VIDEO_SINK_PAD(navigation), event)) {
    gst_element_post_message(GST_ELEMENT(navigation), gst_navigation_message_new_event(GST_OBJECT(navigation), event));
  }
  gst_event_unref(event);
}

void InitNavigation(gpointer interface, gpointer /*data*/) {
  static_cast<GstNavigationInterface*>(interface)->send_event_simple = &SendNavigation;
}

GstEvent* NavigationOf(const qvgst::WindowEvent& event) {
  using Kind = qvgst::WindowEvent::Kind;
  const auto modifiers = static_cast<GstNavigationModifierType>(event.modifiers);  // They are X11's.
  const auto button = static_cast<gint>(event.button);
  switch (event.kind) {
    case Kind::kPointerMoved:
      return gst_navigation_event_new_mouse_move(event.x, event.y, modifiers);
    case Kind::kButtonPressed:
      return gst_navigation_event_new_mouse_button_press(button, event.x, event.y, modifiers);
    case Kind::kButtonReleased:
      return gst_navigation_event_new_mouse_button_release(button, event.x, event.y, modifiers);
    case Kind::kKeyPressed:
      return gst_navigation_event_new_key_press(event.key, modifiers);
    case Kind::kKeyReleased:
      return gst_navigation_event_new_key_release(event.key, modifiers);
    default:
      return nullptr;
  }
}

/// On the window's thread.
void OnWindowEvent(GstQvgSink* self, const qvgst::WindowEvent& event) {
  using Kind = qvgst::WindowEvent::Kind;
  State& state = *self->state;
  if (event.kind == Kind::kResized || event.kind == Kind::kExposed) {
    if (!state.presenter.Redraw()) GST_CAT_WARNING_OBJECT(category, self, "%s", state.presenter.Failure().c_str());
  } else if (event.kind == Kind::kClosed) {
    state.closed = true;
    state.presenter.Drop();
    GST_ELEMENT_ERROR(self, RESOURCE, NOT_FOUND, ("Output window was closed"), (nullptr));
  } else if (event.kind == Kind::kGone) {
    state.presenter.Drop();
    GST_CAT_INFO_OBJECT(category, self, "the application has destroyed its window: nothing is shown");
  } else if (GstEvent* navigation = NavigationOf(event)) {
    gst_navigation_send_event_simple(GST_NAVIGATION(self), navigation);
  }
}

// ---- States and frames

GstStateChangeReturn ChangeState(GstElement* element, GstStateChange change) {
  State& state = StateOf(element);
  if (change == GST_STATE_CHANGE_NULL_TO_READY && !state.presenter.Open()) {
    GST_ELEMENT_ERROR(element, RESOURCE, OPEN_WRITE, ("There is no display to show video on, or no OpenGL 4.2 for it."),
                      ("%s", state.presenter.Failure().c_str()));
    return GST_STATE_CHANGE_FAILURE;
  }
  const GstStateChangeReturn result = GST_ELEMENT_CLASS(gst_qvg_sink_parent_class)->change_state(element, change);
  if (change == GST_STATE_CHANGE_PAUSED_TO_READY) {
    state.presenter.Clear();
    // What is started anew gets a new window.
    if (state.closed.exchange(false)) state.presenter.SetHost(XCB_WINDOW_NONE);
  }
  if (change == GST_STATE_CHANGE_READY_TO_NULL) state.presenter.Close();
  return result;
}

gboolean SetInfo(GstVideoSink* sink, GstCaps* /*caps*/, const GstVideoInfo* info) {
  StateOf(sink).presenter.SetFormat(*info);
  return TRUE;
}

gboolean TakeEvent(GstBaseSink* base, GstEvent* event) {
  State& state = StateOf(base);
  GstVideoOrientationMethod tagged = GST_VIDEO_ORIENTATION_IDENTITY;
  GstTagList* tags = nullptr;
  if (GST_EVENT_TYPE(event) == GST_EVENT_TAG) gst_event_parse_tag(event, &tags);
  const bool says = tags != nullptr && gst_video_orientation_from_tag(tags, &tagged);
  if (says || GST_EVENT_TYPE(event) == GST_EVENT_STREAM_START) {
    if (state.tagged.exchange(tagged) != tagged) Orient(state);
  }
  return GST_BASE_SINK_CLASS(gst_qvg_sink_parent_class)->event(base, event);
}

/// Frames that don't say how long they last are shown until the next one: those that come late are left out, then, too.
void GetTimes(GstBaseSink* base, GstBuffer* buffer, GstClockTime* start, GstClockTime* end) {
  GST_BASE_SINK_CLASS(gst_qvg_sink_parent_class)->get_times(base, buffer, start, end);
  if (GST_CLOCK_TIME_IS_VALID(*end) || !GST_CLOCK_TIME_IS_VALID(*start)) return;
  const GstClockTime duration = StateOf(base).presenter.FrameDuration();
  if (GST_CLOCK_TIME_IS_VALID(duration)) *end = *start + duration;
}

gboolean ProposeAllocation(GstBaseSink* /*base*/, GstQuery* query) {
  gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
  return TRUE;
}

std::string Title() {
  const char* const names[] = {g_get_application_name(), g_get_prgname()};
  for (const char* name : names) {
    if (name != nullptr) return name;
  }
  return "qvgsink";
}

GstFlowReturn ShowFrame(GstVideoSink* sink, GstBuffer* buffer) {
  State& state = StateOf(sink);
  if (state.closed) return GST_FLOW_ERROR;
  if (state.presenter.IsWithoutWindow()) gst_video_overlay_prepare_window_handle(GST_VIDEO_OVERLAY(sink));
  try {
    if (const auto own = state.presenter.MakeWindow(Title())) {
      gst_video_overlay_got_window_handle(GST_VIDEO_OVERLAY(sink), *own);
    }
  } catch (const std::exception& error) {
    GST_ELEMENT_ERROR(sink, RESOURCE, OPEN_WRITE, ("Video can't be shown in the window."), ("%s", error.what()));
    return GST_FLOW_ERROR;
  }
  if (state.presenter.Show(buffer)) return GST_FLOW_OK;
  GST_ELEMENT_ERROR(sink, RESOURCE, WRITE, ("A frame could not be shown."), ("%s", state.presenter.Failure().c_str()));
  return GST_FLOW_ERROR;
}

void Finalize(GObject* object) {
  delete static_cast<GstQvgSink*>(static_cast<gpointer>(object))->state;
  G_OBJECT_CLASS(gst_qvg_sink_parent_class)->finalize(object);
}

}  // namespace

static void gst_qvg_sink_init(GstQvgSink* self) {
  self->state = new State([self](const qvgst::WindowEvent& event) { OnWindowEvent(self, event); });
}

static void gst_qvg_sink_class_init(GstQvgSinkClass* type) {
  constexpr auto kFlags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
  auto* object = G_OBJECT_CLASS(type);
  object->set_property = &SetProperty;
  object->get_property = &GetProperty;
  object->finalize = &Finalize;
  g_object_class_install_property(
      object, kForceAspectRatio,
      g_param_spec_boolean("force-aspect-ratio", "Force aspect ratio",
                           "Keeps the proportions of the video, with black beside it", TRUE, kFlags));
  g_object_class_install_property(
      object, kHandleEvents,
      g_param_spec_boolean("handle-events", "Handle events",
                           "Sends pointer and keys of the window upstream; of an application's window only what more "
                           "than one can get: keys and the pointer's moves",
                           TRUE, kFlags));
  g_object_class_override_property(object, kVideoDirection, "video-direction");
  gst_video_overlay_install_properties(object, kOverlay);

  auto* element = GST_ELEMENT_CLASS(type);
  gst_element_class_set_static_metadata(element, "Video window", "Sink/Video",
                                        "Shows video in a window of its own, or of an application's, on OpenGL and X11",
                                        "the qvGLRenderer authors");
  GstCaps* caps = qvgst::FrameUpload::Caps();
  gst_element_class_add_pad_template(element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
  gst_caps_unref(caps);
  element->change_state = &ChangeState;

  GST_BASE_SINK_CLASS(type)->event = &TakeEvent;
  GST_BASE_SINK_CLASS(type)->get_times = &GetTimes;
  GST_BASE_SINK_CLASS(type)->propose_allocation = &ProposeAllocation;
  GST_VIDEO_SINK_CLASS(type)->set_info = &SetInfo;
  GST_VIDEO_SINK_CLASS(type)->show_frame = &ShowFrame;
}
