// The element qvgeffect: GStreamer's side of it. What it does to frames is EffectPass.
#include "qvgeffect/element.h"

#include <gst/base/gstbasetransform.h>
#include <gst/video/video.h>

#include <new>
#include <string>
#include <utility>

#include "core/frameOutput.h"
#include "core/log.h"
#include "qvgeffect/effectPass.h"
#include "qvgeffect/effectSettings.h"
#include "qvgeffect/effectTable.h"
#include "qvgeffect/keyRequest.h"

namespace {

/// Everything of the element that is not GStreamer's.
struct State {
  qvgst::EffectSettings settings;
  qvgst::EffectPass pass{settings};
  bool sameFormat = false, metaAllowed = false;
  bool holes = false;   // Whether alpha was wanted when the output's format was chosen.
  std::string warning;  // The last one, which is not repeated with each frame.

  // Under the object's lock.
  std::string key;
  bool keyChanged = false;
};

enum : guint { kKey = 1, kFirstRow };

}  // namespace

struct GstQvgEffect {
  GstBaseTransform parent;
  State* state;
};
struct GstQvgEffectClass {
  GstBaseTransformClass parent;
};

G_DEFINE_TYPE(GstQvgEffect, gst_qvg_effect, GST_TYPE_BASE_TRANSFORM)

namespace {

State& StateOf(gpointer element) { return *static_cast<GstQvgEffect*>(element)->state; }

// ---- Properties

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* /*spec*/) {
  State& state = StateOf(object);
  if (id >= kFirstRow) {
    state.settings.SetProperty(id - kFirstRow, value);
    return;
  }
  const char* text = g_value_get_string(value);
  GST_OBJECT_LOCK(object);
  state.key = text != nullptr ? text : "";
  state.keyChanged = true;
  GST_OBJECT_UNLOCK(object);
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* /*spec*/) {
  const State& state = StateOf(object);
  if (id >= kFirstRow) {
    state.settings.GetProperty(id - kFirstRow, value);
    return;
  }
  GST_OBJECT_LOCK(object);
  g_value_set_string(value, state.key.empty() ? nullptr : state.key.c_str());
  GST_OBJECT_UNLOCK(object);
}

// ---- Caps

GstCaps* TransformCaps(GstBaseTransform* base, GstPadDirection direction, GstCaps* caps, GstCaps* filter) {
  GstCaps* any = gst_caps_new_empty();
  for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
    GstCapsFeatures* features = gst_caps_get_features(caps, i);
    if (!gst_caps_features_is_any(features) &&
        !gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY)) {
      continue;
    }
    GstStructure* structure = gst_structure_copy(gst_caps_get_structure(caps, i));
    gst_structure_remove_fields(structure, "format", "colorimetry", "chroma-site", nullptr);
    gst_caps_append_structure(any, structure);
  }
  GstPad* other = direction == GST_PAD_SINK ? base->srcpad : base->sinkpad;
  GstCaps* possible = gst_pad_get_pad_template_caps(other);
  GstCaps* result = gst_caps_intersect_full(any, possible, GST_CAPS_INTERSECT_FIRST);
  gst_caps_unref(any);
  gst_caps_unref(possible);
  if (direction == GST_PAD_SINK) {
    GstVideoInfo info;
    const bool fixed = gst_caps_is_fixed(caps) && gst_video_info_from_caps(&info, caps);
    result = gst_caps_make_writable(result);
    qvgst::FrameOutput::RestrictColorimetry(result, fixed ? &info.colorimetry : nullptr);
  }
  if (filter == nullptr) return result;
  GstCaps* filtered = gst_caps_intersect_full(filter, result, GST_CAPS_INTERSECT_FIRST);
  gst_caps_unref(result);
  return filtered;
}

/// Whether the picture is to be transparent in places, now or as soon as a key is found.
bool WantsHoles(GstBaseTransform* base) {
  const State& state = StateOf(base);
  GST_OBJECT_LOCK(base);
  const bool keyed = !state.key.empty();
  GST_OBJECT_UNLOCK(base);
  const bool keyable = keyed && !state.settings.IsGiven("enable_key");
  return (keyable || state.settings.IsOn("enable_key")) && !state.settings.IsOn("enable_bg");
}

/// The output keeps the input's format where that can be given, unless alpha is to be seen.
GstCaps* FixateCaps(GstBaseTransform* base, GstPadDirection direction, GstCaps* caps, GstCaps* others) {
  State& state = StateOf(base);
  GstVideoInfo info;
  if (direction == GST_PAD_SINK && gst_video_info_from_caps(&info, caps)) {
    state.holes = WantsHoles(base);
    others = qvgst::FrameOutput::Choose(others, info, state.holes || GST_VIDEO_INFO_HAS_ALPHA(&info));
  }
  others = gst_caps_fixate(others);
  if (direction == GST_PAD_SINK && gst_video_info_from_caps(&info, caps) && !gst_caps_is_empty(others)) {
    others = gst_caps_make_writable(others);
    qvgst::FrameOutput::Complete(gst_caps_get_structure(others, 0), info.colorimetry);
  }
  return others;
}

gboolean SetCaps(GstBaseTransform* base, GstCaps* input, GstCaps* output) {
  State& state = StateOf(base);
  GstVideoInfo from, to;
  if (!gst_video_info_from_caps(&from, input) || !gst_video_info_from_caps(&to, output)) return FALSE;
  state.pass.SetFormats(from, to, state.metaAllowed);
  // Where it isn't said it was anyone's guess.
  if (!gst_structure_has_field(gst_caps_get_structure(input, 0), "chroma-site")) from.chroma_site = to.chroma_site;
  state.sameFormat = gst_video_info_is_equal(&from, &to) != FALSE;
  return TRUE;
}

gboolean ProposeAllocation(GstBaseTransform* base, GstQuery* decided, GstQuery* query) {
  if (!GST_BASE_TRANSFORM_CLASS(gst_qvg_effect_parent_class)->propose_allocation(base, decided, query)) return FALSE;
  gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
  return TRUE;
}

/// Buffers are the library's memory: none of downstream's pools is of use.
gboolean DecideAllocation(GstBaseTransform* base, GstQuery* query) {
  State& state = StateOf(base);
  state.metaAllowed = gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr) != FALSE;
  state.pass.AllowMeta(state.metaAllowed);
  while (gst_query_get_n_allocation_pools(query) > 0) gst_query_remove_nth_allocation_pool(query, 0);
  return TRUE;
}

// ---- States and frames

gboolean Start(GstBaseTransform* base) {
  State& state = StateOf(base);
  state.warning.clear();
  GST_OBJECT_LOCK(base);
  state.keyChanged = true;
  GST_OBJECT_UNLOCK(base);
  if (state.pass.Start()) return TRUE;
  GST_ELEMENT_ERROR(base, LIBRARY, INIT, ("The renderer can't start: there is no OpenGL 4.2 to be had."),
                    ("%s", state.pass.Failure().c_str()));
  return FALSE;
}

gboolean Stop(GstBaseTransform* base) {
  StateOf(base).pass.Stop();
  return TRUE;
}

void Warn(GstBaseTransform* base, const std::string& text) {
  State& state = StateOf(base);
  if (std::exchange(state.warning, text) != text)
    GST_ELEMENT_WARNING(base, STREAM, FAILED, ("%s", text.c_str()), (nullptr));
}

void TakeKey(GstBaseTransform* base, const std::string& key) {
  State& state = StateOf(base);
  state.settings.ForgetFound();
  const auto request = qvgst::KeyNamed(key);
  if (!request) {
    state.pass.Ask(std::nullopt);
    if (!key.empty()) Warn(base, key + " is no colour (#rrggbb or a name), and not \"auto\"");
  } else if (request->named && state.settings.IsGiven("similarity")) {
    // Values that were given are taken as they stand, with the colour.
    state.pass.Ask(std::nullopt);
    state.settings.Find("color", qvgst::ColorValue(*request->named));
  } else {
    state.pass.Ask(*request);
  }
}

/// What has been set since the last frame, as far as it is more than a value.
void TakeChanges(GstBaseTransform* base) {
  State& state = StateOf(base);
  GST_OBJECT_LOCK(base);
  const std::string key = state.key;
  const bool keyChanged = std::exchange(state.keyChanged, false);
  GST_OBJECT_UNLOCK(base);
  if (keyChanged) TakeKey(base, key);
  // The next frame's format may be another one then.
  if (const bool holes = WantsHoles(base); std::exchange(state.holes, holes) != holes) {
    gst_base_transform_reconfigure_src(base);
  }
}

/// Tells the application what key was found, or why none was.
void Report(GstBaseTransform* base, const qvgst::EffectPass::Answer& answer) {
  State& state = StateOf(base);
  if (!answer.found) {
    Warn(base, "No key was found, so nothing is keyed yet: " + answer.text);
    return;
  }
  guint color = 0;
  gint similarity = 0, smoothness = 0, spill = 0;
  g_object_get(base, "color", &color, "similarity", &similarity, "smoothness", &smoothness, "anti-spill", &spill,
               nullptr);
  for (const char* name : {"color", "similarity", "smoothness", "anti-spill"}) g_object_notify(G_OBJECT(base), name);
  state.warning.clear();
  gst_element_post_message(
      GST_ELEMENT(base),
      gst_message_new_element(
          GST_OBJECT(base),
          gst_structure_new("qvg-key-found", "color", G_TYPE_UINT, color, "similarity", G_TYPE_INT, similarity,
                            "smoothness", G_TYPE_INT, smoothness, "anti-spill", G_TYPE_INT, spill, nullptr)));
}

GstFlowReturn GenerateOutput(GstBaseTransform* base, GstBuffer** output) {
  State& state = StateOf(base);
  GstBuffer* input = std::exchange(base->queued_buf, nullptr);
  *output = nullptr;
  if (input == nullptr) return GST_FLOW_OK;
  const GstClockTime time = gst_segment_to_stream_time(&base->segment, GST_FORMAT_TIME, GST_BUFFER_PTS(input));
  if (GST_CLOCK_TIME_IS_VALID(time)) gst_object_sync_values(GST_OBJECT(base), time);
  TakeChanges(base);
  const bool unchanged = state.sameFormat && !state.settings.AnyStageOn() && !state.pass.IsAsked();
  GstBuffer* result = unchanged ? state.pass.PassOn(input) : state.pass.Process(input);
  if (result != nullptr && result != input) GST_BASE_TRANSFORM_GET_CLASS(base)->copy_metadata(base, input, result);
  gst_buffer_unref(input);
  const std::string imageFailure = state.pass.TakeImageFailure();
  if (!imageFailure.empty()) Warn(base, "There is no background image: " + imageFailure);
  if (const auto answer = state.pass.TakeAnswer()) Report(base, *answer);
  if (result == nullptr) {
    GST_ELEMENT_ERROR(base, LIBRARY, FAILED, ("A frame could not be rendered."), ("%s", state.pass.Failure().c_str()));
    return GST_FLOW_ERROR;
  }
  *output = result;
  return GST_FLOW_OK;
}

/// Places in the picture stay what they are; what is about memory or colours does not.
gboolean TransformMeta(GstBaseTransform* /*base*/, GstBuffer* /*output*/, GstMeta* meta, GstBuffer* /*input*/) {
  static const char* const kKept[] = {GST_META_TAG_VIDEO_STR, GST_META_TAG_VIDEO_ORIENTATION_STR,
                                      GST_META_TAG_VIDEO_SIZE_STR, nullptr};
  const gchar* const* tags = gst_meta_api_type_get_tags(meta->info->api);
  for (; tags != nullptr && *tags != nullptr; ++tags) {
    if (!g_strv_contains(kKept, *tags)) return FALSE;
  }
  return TRUE;
}

void Finalize(GObject* object) {
  delete static_cast<GstQvgEffect*>(static_cast<gpointer>(object))->state;
  G_OBJECT_CLASS(gst_qvg_effect_parent_class)->finalize(object);
}

void AddPad(GstElementClass* element, const char* name, GstPadDirection direction, GstCaps* caps) {
  gst_element_class_add_pad_template(element, gst_pad_template_new(name, direction, GST_PAD_ALWAYS, caps));
  gst_caps_unref(caps);
}

}  // namespace

static void gst_qvg_effect_init(GstQvgEffect* self) {
  self->state = new State();
  gst_base_transform_set_qos_enabled(&self->parent, TRUE);
}

static void gst_qvg_effect_class_init(GstQvgEffectClass* type) {
  auto* object = G_OBJECT_CLASS(type);
  object->set_property = &SetProperty;
  object->get_property = &GetProperty;
  object->finalize = &Finalize;
  g_object_class_install_property(
      object, kKey,
      g_param_spec_string(
          "key", "key",
          "Makes a screen of this colour transparent: #rrggbb or a name; auto finds the colour. The "
          "values are found in the frames, unless similarity is set",
          nullptr, static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING)));
  guint id = kFirstRow;
  for (const QVGParamDescriptor& row : qvgst::EffectTable()) {
    g_object_class_install_property(object, id++, qvgst::EffectSettings::NewProperty(row));
  }

  auto* element = GST_ELEMENT_CLASS(type);
  gst_element_class_set_static_metadata(
      element, "Keying, skin and colour", "Filter/Effect/Video",
      "Keys out a coloured background, smooths and whitens skin, corrects colour and lays the picture over an image, "
      "on OpenGL",
      "the qvGLRenderer authors");
  AddPad(element, "sink", GST_PAD_SINK, qvgst::FrameUpload::Caps());
  AddPad(element, "src", GST_PAD_SRC, qvgst::FrameOutput::Caps());

  auto* transform = GST_BASE_TRANSFORM_CLASS(type);
  transform->transform_caps = &TransformCaps;
  transform->fixate_caps = &FixateCaps;
  transform->set_caps = &SetCaps;
  transform->propose_allocation = &ProposeAllocation;
  transform->decide_allocation = &DecideAllocation;
  transform->start = &Start;
  transform->stop = &Stop;
  transform->generate_output = &GenerateOutput;
  // Not called, as outputs are generated; but without it the base class takes the element for one that changes nothing,
  // and does not ask downstream what memory it takes.
  transform->transform = [](GstBaseTransform*, GstBuffer*, GstBuffer*) { return GST_FLOW_NOT_SUPPORTED; };
  transform->transform_meta = &TransformMeta;
}
