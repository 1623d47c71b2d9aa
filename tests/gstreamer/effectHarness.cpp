#include "gstreamer/effectHarness.h"

#include <stdexcept>

namespace qvg::test {

void LoadPlugin() {
  static const bool loaded = [] {
    gst_init(nullptr, nullptr);
    GError* error = nullptr;
    GstPlugin* plugin = gst_plugin_load_file(QVG_GST_PLUGIN, &error);
    if (plugin == nullptr) throw std::runtime_error(error->message);
    gst_object_unref(plugin);
    return true;
  }();
  static_cast<void>(loaded);
}

EffectHarness::EffectHarness(const std::string& settings, bool metaAllowed) {
  LoadPlugin();
  bus_ = gst_bus_new();
  element = gst_parse_launch(("qvgeffect " + settings).c_str(), nullptr);
  if (element == nullptr) throw std::invalid_argument(settings);
  gst_object_ref_sink(element);
  gst_element_set_bus(element, bus_);
  harness = gst_harness_new_with_element(element, "sink", "src");
  if (metaAllowed) gst_harness_add_propose_allocation_meta(harness, GST_VIDEO_META_API_TYPE, nullptr);
}

EffectHarness::~EffectHarness() {
  gst_element_set_state(element, GST_STATE_NULL);
  gst_element_set_bus(element, nullptr);
  gst_harness_teardown(harness);
  gst_object_unref(element);
  gst_object_unref(bus_);
}

std::string CapsOf(const std::string& format, int width, int height) {
  return "format=" + format + ", framerate=25/1, width=" + std::to_string(width) + ", height=" + std::to_string(height);
}

bool EffectHarness::Negotiate(const std::string& input, const std::string& downstream) {
  const auto full = [](const std::string& caps) {
    return caps.starts_with("video/") || caps == "ANY" ? caps : "video/x-raw, " + caps;
  };
  gst_harness_set_sink_caps_str(harness, downstream.empty() ? "ANY" : full(downstream).c_str());
  GstCaps* caps = gst_caps_from_string(full(input).c_str());
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  gst_harness_push_event(harness, gst_event_new_stream_start("test"));
  gst_harness_push_event(harness, gst_event_new_caps(caps));
  gst_harness_push_event(harness, gst_event_new_segment(&segment));
  // Pads keep caps events for later where they are refused: what counts is what has arrived.
  GstPad* pad = gst_element_get_static_pad(element, "sink");
  GstCaps* taken = gst_pad_get_current_caps(pad);
  const bool done = taken != nullptr && gst_caps_is_equal(taken, caps);
  gst_clear_caps(&taken);
  gst_object_unref(pad);
  if (done) gst_video_info_from_caps(&input_, caps);
  gst_caps_unref(caps);
  return done;
}

GstVideoInfo EffectHarness::Output() const { return InfoOf(OutputCaps()); }

std::string EffectHarness::OutputCaps() const {
  GstCaps* caps = gst_pad_get_current_caps(harness->sinkpad);
  if (caps == nullptr) return {};
  char* text = gst_caps_to_string(caps);
  std::string result = text;
  g_free(text);
  gst_caps_unref(caps);
  return result;
}

Buffer EffectHarness::Process(Buffer frame) {
  const GstFlowReturn flow = gst_harness_push(harness, frame.release());
  EXPECT_EQ(flow, GST_FLOW_OK) << gst_flow_get_name(flow);
  return Own(gst_harness_try_pull(harness));
}

Image EffectHarness::Process(const Painting& painting, const Layout& layout) {
  const Buffer result = Process(MakeFrame(input_, painting, layout));
  return result ? PictureOf(Output(), result.get()) : Image();
}

std::vector<Message> EffectHarness::Messages() {
  std::vector<Message> messages;
  while (GstMessage* message = gst_bus_pop(bus_)) {
    Message& row = messages.emplace_back(Message{GST_MESSAGE_TYPE(message), {}, {}});
    GError* error = nullptr;
    char* debug = nullptr;
    if (row.type == GST_MESSAGE_ERROR) gst_message_parse_error(message, &error, &debug);
    if (row.type == GST_MESSAGE_WARNING) gst_message_parse_warning(message, &error, &debug);
    if (row.type == GST_MESSAGE_ELEMENT) row.text = gst_structure_get_name(gst_message_get_structure(message));
    if (error != nullptr) row.text = error->message;
    if (debug != nullptr) row.debug = debug;
    g_clear_error(&error);
    g_free(debug);
    gst_message_unref(message);
    if (row.text.empty()) messages.pop_back();
  }
  return messages;
}

}  // namespace qvg::test
