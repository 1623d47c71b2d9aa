// The element qvgcompositor: GStreamer's side of it. What it does to frames is Composition.
#include "qvgcompositor/element.h"

#include <gst/video/gstvideoaggregator.h>
#include <gst/video/video.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "core/frameOutput.h"
#include "core/frameUpload.h"
#include "qvgcompositor/composition.h"
#include "qvgcompositor/pad.h"

namespace {

constexpr guint kDefaultBackground = 0xff000000;
enum : guint { kBackground = 1 };

/// Everything of the element that is not GStreamer's.
struct State {
  std::mutex composing;  ///< Held while pictures of pads are in use; a pad that goes takes its own away.
  qvgst::Composition composition;
  GstVideoInfo output;
  guint background = kDefaultBackground;  ///< Under the object's lock.
};

}  // namespace

struct GstQvgCompositor {
  GstVideoAggregator parent;
  State* state;
};
struct GstQvgCompositorClass {
  GstVideoAggregatorClass parent;
};

static void gst_qvg_compositor_child_proxy_init(gpointer interface, gpointer data);

G_DEFINE_TYPE_WITH_CODE(GstQvgCompositor, gst_qvg_compositor, GST_TYPE_VIDEO_AGGREGATOR,
                        G_IMPLEMENT_INTERFACE(GST_TYPE_CHILD_PROXY, gst_qvg_compositor_child_proxy_init))

namespace {

State& StateOf(gpointer element) { return *static_cast<GstQvgCompositor*>(element)->state; }
GstQvgCompositorPad::State& PadStateOf(gpointer pad) { return *static_cast<GstQvgCompositorPad*>(pad)->state; }

guint BackgroundOf(gpointer element) {
  GST_OBJECT_LOCK(element);
  const guint background = StateOf(element).background;
  GST_OBJECT_UNLOCK(element);
  return background;
}

void SetProperty(GObject* object, guint /*id*/, const GValue* value, GParamSpec* /*spec*/) {
  GST_OBJECT_LOCK(object);
  StateOf(object).background = g_value_get_uint(value);
  GST_OBJECT_UNLOCK(object);
}

void GetProperty(GObject* object, guint /*id*/, GValue* value, GParamSpec* /*spec*/) {
  g_value_set_uint(value, BackgroundOf(object));
}

// ---- Pads, which are the children whose properties "sink_1::xpos" and the like name.

GObject* ChildAt(GstChildProxy* proxy, guint index) {
  GST_OBJECT_LOCK(proxy);
  auto* child = static_cast<GObject*>(g_list_nth_data(GST_ELEMENT(proxy)->sinkpads, index));
  if (child != nullptr) gst_object_ref(child);
  GST_OBJECT_UNLOCK(proxy);
  return child;
}

guint ChildCount(GstChildProxy* proxy) {
  GST_OBJECT_LOCK(proxy);
  const guint count = GST_ELEMENT(proxy)->numsinkpads;
  GST_OBJECT_UNLOCK(proxy);
  return count;
}

GstPad* RequestPad(GstElement* element, GstPadTemplate* pads, const gchar* name, const GstCaps* caps) {
  GstPad* pad = GST_ELEMENT_CLASS(gst_qvg_compositor_parent_class)->request_new_pad(element, pads, name, caps);
  if (pad != nullptr) gst_child_proxy_child_added(GST_CHILD_PROXY(element), G_OBJECT(pad), GST_OBJECT_NAME(pad));
  return pad;
}

void ReleasePad(GstElement* element, GstPad* pad) {
  gst_child_proxy_child_removed(GST_CHILD_PROXY(element), G_OBJECT(pad), GST_OBJECT_NAME(pad));
  gst_object_ref(pad);
  GST_ELEMENT_CLASS(gst_qvg_compositor_parent_class)->release_pad(element, pad);
  {
    const std::lock_guard lock(StateOf(element).composing);
    PadStateOf(pad).picture.Clear();
  }
  gst_object_unref(pad);
}

// ---- Caps

/// Every source may have a format and a size of its own.
gboolean SinkQuery(GstAggregator* base, GstAggregatorPad* pad, GstQuery* query) {
  GstCaps* const possible = gst_pad_get_pad_template_caps(GST_PAD(pad));
  gboolean answered = TRUE;
  if (GST_QUERY_TYPE(query) == GST_QUERY_CAPS) {
    GstCaps* filter = nullptr;
    gst_query_parse_caps(query, &filter);
    GstCaps* result = filter != nullptr ? gst_caps_intersect_full(filter, possible, GST_CAPS_INTERSECT_FIRST)
                                        : gst_caps_ref(possible);
    gst_query_set_caps_result(query, result);
    gst_caps_unref(result);
  } else if (GST_QUERY_TYPE(query) == GST_QUERY_ACCEPT_CAPS) {
    GstCaps* caps = nullptr;
    gst_query_parse_accept_caps(query, &caps);
    gst_query_set_accept_caps_result(query, gst_caps_is_subset(caps, possible));
  } else {
    answered = GST_AGGREGATOR_CLASS(gst_qvg_compositor_parent_class)->sink_query(base, pad, query);
  }
  gst_caps_unref(possible);
  return answered;
}

GstCaps* UpdateCaps(GstVideoAggregator* /*base*/, GstCaps* downstream) {
  GstCaps* possible = qvgst::FrameOutput::Caps();
  qvgst::FrameOutput::RestrictColorimetry(possible, nullptr);
  GstCaps* caps = gst_caps_intersect_full(downstream, possible, GST_CAPS_INTERSECT_FIRST);
  gst_caps_unref(possible);
  return caps;
}

/// The smallest output that shows all of every source, and its highest frame rate.
GstCaps* FixateCaps(GstAggregator* base, GstCaps* caps) {
  int width = 0, height = 0, rateN = 0, rateD = 1;
  GstVideoInfo first;
  gst_video_info_init(&first);
  GST_OBJECT_LOCK(base);
  for (GList* l = GST_ELEMENT(base)->sinkpads; l != nullptr; l = l->next) {
    const GstVideoInfo& info = GST_VIDEO_AGGREGATOR_PAD(l->data)->info;
    if (info.finfo == nullptr || GST_VIDEO_INFO_WIDTH(&info) == 0) continue;
    if (GST_VIDEO_INFO_WIDTH(&first) == 0) first = info;
    GST_OBJECT_LOCK(l->data);
    const qvgst::Placement place = PadStateOf(l->data).placement;
    GST_OBJECT_UNLOCK(l->data);
    const auto [w, h] = place.SizeOf(info);
    width = std::max(width, place.x + w);
    height = std::max(height, place.y + h);
    if (GST_VIDEO_INFO_FPS_N(&info) > 0 &&
        gst_util_fraction_compare(GST_VIDEO_INFO_FPS_N(&info), GST_VIDEO_INFO_FPS_D(&info), rateN, rateD) > 0) {
      rateN = GST_VIDEO_INFO_FPS_N(&info);
      rateD = GST_VIDEO_INFO_FPS_D(&info);
    }
  }
  GST_OBJECT_UNLOCK(base);
  if (rateN == 0) rateN = 25;

  caps = qvgst::FrameOutput::Choose(caps, first, BackgroundOf(base) >> 24 < 255);
  if (gst_caps_is_empty(caps)) return caps;
  caps = gst_caps_make_writable(gst_caps_truncate(caps));
  GstStructure* structure = gst_caps_get_structure(caps, 0);
  gst_structure_fixate_field_nearest_int(structure, "width", std::max(1, width));
  gst_structure_fixate_field_nearest_int(structure, "height", std::max(1, height));
  gst_structure_fixate_field_nearest_fraction(structure, "framerate", rateN, rateD);
  if (gst_structure_has_field(structure, "pixel-aspect-ratio")) {
    gst_structure_fixate_field_nearest_fraction(structure, "pixel-aspect-ratio", 1, 1);
  } else {
    gst_structure_set(structure, "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, nullptr);
  }
  gst_structure_set(structure, "interlace-mode", G_TYPE_STRING, "progressive", nullptr);
  caps = gst_caps_fixate(caps);
  qvgst::FrameOutput::Complete(gst_caps_get_structure(caps, 0), first.colorimetry);
  return caps;
}

/// The base class refuses outputs without alpha where a source has it. Here these are laid over an opaque background,
/// so it is shown formats without.
class AlphaHidden {
 public:
  explicit AlphaHidden(GstElement* element) : element_(element) {
    GST_OBJECT_LOCK(element_);
    for (GList* l = element_->sinkpads; l != nullptr; l = l->next) {
      GstVideoInfo& info = GST_VIDEO_AGGREGATOR_PAD(l->data)->info;
      if (info.finfo == nullptr || !GST_VIDEO_INFO_HAS_ALPHA(&info)) continue;
      hidden_.emplace_back(GST_VIDEO_AGGREGATOR_PAD(gst_object_ref(l->data)), info.finfo);
      info.finfo = gst_video_format_get_info(GST_VIDEO_FORMAT_RGBx);
    }
    GST_OBJECT_UNLOCK(element_);
  }
  ~AlphaHidden() {
    GST_OBJECT_LOCK(element_);
    for (const auto& [pad, format] : hidden_) pad->info.finfo = format;
    GST_OBJECT_UNLOCK(element_);
    for (const auto& [pad, format] : hidden_) gst_object_unref(pad);
  }
  AlphaHidden(const AlphaHidden&) = delete;
  AlphaHidden& operator=(const AlphaHidden&) = delete;

 private:
  GstElement* element_;
  std::vector<std::pair<GstVideoAggregatorPad*, const GstVideoFormatInfo*>> hidden_;
};

void Complain(GstAggregator* base, const char* what) {
  GST_ELEMENT_ERROR(base, LIBRARY, FAILED, ("%s", what), ("%s", StateOf(base).composition.Failure().c_str()));
}

gboolean NegotiatedCaps(GstAggregator* base, GstCaps* caps) {
  {
    const AlphaHidden hidden(GST_ELEMENT(base));
    if (!GST_AGGREGATOR_CLASS(gst_qvg_compositor_parent_class)->negotiated_src_caps(base, caps)) return FALSE;
  }
  State& state = StateOf(base);
  if (!gst_video_info_from_caps(&state.output, caps)) return FALSE;
  if (state.composition.SetFormat(state.output, false)) return TRUE;
  Complain(base, "There is no room for the output.");
  return FALSE;
}

gboolean ProposeAllocation(GstAggregator* /*base*/, GstAggregatorPad* /*pad*/, GstQuery* /*decided*/, GstQuery* query) {
  gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
  return TRUE;
}

/// Buffers are the library's memory: none of downstream's pools is of use.
gboolean DecideAllocation(GstAggregator* base, GstQuery* query) {
  State& state = StateOf(base);
  const bool metaAllowed = gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr) != FALSE;
  while (gst_query_get_n_allocation_pools(query) > 0) gst_query_remove_nth_allocation_pool(query, 0);
  return static_cast<gboolean>(state.composition.SetFormat(state.output, metaAllowed));
}

// ---- States and frames

gboolean Start(GstAggregator* base) {
  State& state = StateOf(base);
  if (!state.composition.Start()) {
    Complain(base, "The renderer can't start: there is no OpenGL 4.2 to be had.");
    return FALSE;
  }
  return GST_AGGREGATOR_CLASS(gst_qvg_compositor_parent_class)->start(base);
}

gboolean Stop(GstAggregator* base) {
  const gboolean stopped = GST_AGGREGATOR_CLASS(gst_qvg_compositor_parent_class)->stop(base);
  State& state = StateOf(base);
  const std::lock_guard lock(state.composing);
  GST_OBJECT_LOCK(base);
  for (GList* l = GST_ELEMENT(base)->sinkpads; l != nullptr; l = l->next) PadStateOf(l->data).picture.Clear();
  GST_OBJECT_UNLOCK(base);
  state.composition.Stop();
  return stopped;
}

/// The layers of the frame that is due, from the lowest to the highest. The pads own what they point to.
std::vector<qvgst::Layer> Collect(GstVideoAggregator* base, std::vector<GstPad*>& pads) {
  std::vector<qvgst::Layer> layers;
  std::vector<std::string> names, mattes;
  GST_OBJECT_LOCK(base);
  for (GList* l = GST_ELEMENT(base)->sinkpads; l != nullptr; l = l->next) {
    auto* pad = GST_VIDEO_AGGREGATOR_PAD(l->data);
    auto& state = PadStateOf(pad);
    GstBuffer* buffer = gst_video_aggregator_pad_get_current_buffer(pad);
    if (buffer == nullptr) {
      state.picture.Clear();
      continue;
    }
    pads.push_back(GST_PAD(gst_object_ref(pad)));
    names.emplace_back(GST_OBJECT_NAME(pad));
    GST_OBJECT_LOCK(pad);
    layers.push_back({&state.picture, buffer, pad->info, state.placement, {}, false});
    mattes.push_back(state.matte);
    GST_OBJECT_UNLOCK(pad);
  }
  GST_OBJECT_UNLOCK(base);
  for (size_t i = 0; i < layers.size(); ++i) {
    const auto found = std::find(names.begin(), names.end(), mattes[i]);
    if (mattes[i].empty() || found == names.end()) continue;
    layers[i].matte = static_cast<size_t>(found - names.begin());
    layers[*layers[i].matte].isMatte = true;
  }
  return layers;
}

GstFlowReturn CreateOutput(GstVideoAggregator* /*base*/, GstBuffer** output) {
  *output = gst_buffer_new();
  return GST_FLOW_OK;
}

GstFlowReturn AggregateFrames(GstVideoAggregator* base, GstBuffer* output) {
  State& state = StateOf(base);
  const guint background = BackgroundOf(base);
  std::vector<GstPad*> pads;
  GstBuffer* composed = nullptr;
  {
    const std::lock_guard lock(state.composing);
    const std::vector<qvgst::Layer> layers = Collect(base, pads);
    composed = state.composition.Compose(layers, background);
  }
  for (GstPad* pad : pads) gst_object_unref(pad);
  if (composed == nullptr) {
    Complain(GST_AGGREGATOR(base), "A frame could not be rendered.");
    return GST_FLOW_ERROR;
  }
  gst_buffer_copy_into(output, composed, static_cast<GstBufferCopyFlags>(GST_BUFFER_COPY_MEMORY | GST_BUFFER_COPY_META),
                       0, static_cast<gsize>(-1));
  gst_buffer_unref(composed);
  return GST_FLOW_OK;
}

void Finalize(GObject* object) {
  delete static_cast<GstQvgCompositor*>(static_cast<gpointer>(object))->state;
  G_OBJECT_CLASS(gst_qvg_compositor_parent_class)->finalize(object);
}

}  // namespace

static void gst_qvg_compositor_child_proxy_init(gpointer interface, gpointer /*data*/) {
  auto* proxy = static_cast<GstChildProxyInterface*>(interface);
  proxy->get_child_by_index = &ChildAt;
  proxy->get_children_count = &ChildCount;
}

static void gst_qvg_compositor_init(GstQvgCompositor* self) {
  self->state = new State();
  gst_video_info_init(&self->state->output);
}

static void gst_qvg_compositor_class_init(GstQvgCompositorClass* type) {
  auto* object = G_OBJECT_CLASS(type);
  object->set_property = &SetProperty;
  object->get_property = &GetProperty;
  object->finalize = &Finalize;
  g_object_class_install_property(
      object, kBackground,
      g_param_spec_uint(
          "background-color", "background-color",
          "Colour below the pictures, 0xAARRGGBB. Where it is not opaque a format with alpha is preferred; "
          "outputs without alpha take it for opaque",
          0, G_MAXUINT, kDefaultBackground,
          static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_CONTROLLABLE |
                                   GST_PARAM_MUTABLE_PLAYING)));

  auto* element = GST_ELEMENT_CLASS(type);
  gst_element_class_set_static_metadata(
      element, "Compositor", "Filter/Editor/Video/Compositor",
      "Lays pictures over each other, with position, size, rotation, opacity, blend types and mattes, on OpenGL",
      "the qvGLRenderer authors");
  GstCaps* caps = qvgst::FrameOutput::Caps();
  gst_element_class_add_pad_template(
      element, gst_pad_template_new_with_gtype("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps, GST_TYPE_AGGREGATOR_PAD));
  gst_caps_unref(caps);
  caps = qvgst::FrameUpload::Caps();
  gst_element_class_add_pad_template(element, gst_pad_template_new_with_gtype("sink_%u", GST_PAD_SINK, GST_PAD_REQUEST,
                                                                              caps, gst_qvg_compositor_pad_get_type()));
  gst_caps_unref(caps);
  element->request_new_pad = &RequestPad;
  element->release_pad = &ReleasePad;

  auto* aggregator = GST_AGGREGATOR_CLASS(type);
  aggregator->start = &Start;
  aggregator->stop = &Stop;
  aggregator->sink_query = &SinkQuery;
  aggregator->fixate_src_caps = &FixateCaps;
  aggregator->negotiated_src_caps = &NegotiatedCaps;
  aggregator->propose_allocation = &ProposeAllocation;
  aggregator->decide_allocation = &DecideAllocation;

  auto* video = GST_VIDEO_AGGREGATOR_CLASS(type);
  video->update_caps = &UpdateCaps;
  video->create_output_buffer = &CreateOutput;
  video->aggregate_frames = &AggregateFrames;
}
