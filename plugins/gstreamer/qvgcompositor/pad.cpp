#include "qvgcompositor/pad.h"

#include <iterator>

G_DEFINE_TYPE(GstQvgCompositorPad, gst_qvg_compositor_pad, GST_TYPE_VIDEO_AGGREGATOR_PAD)

namespace {

using qvgst::Placement;

const GEnumValue kBlendTypes[] = {
    {QVG_BLEND_NORMAL, "Over what is below", "normal"},
    {QVG_BLEND_ADD, "Sum", "add"},
    {QVG_BLEND_LUMINOSITY, "With the luminosity of what is below", "luminosity"},
    {QVG_BLEND_COLOR_BURN, "Colour burn", "color-burn"},
    {QVG_BLEND_COLOR_DODGE, "Colour dodge", "color-dodge"},
    {QVG_BLEND_DARKEN, "The darker one, channel by channel", "darken"},
    {QVG_BLEND_DARKER_COLOR, "Whichever colour is darker as a whole", "darker-color"},
    {QVG_BLEND_HARD_LIGHT, "Hard light", "hard-light"},
    {QVG_BLEND_LIGHTEN, "The lighter one, channel by channel", "lighten"},
    {QVG_BLEND_MULTIPLY, "Product", "multiply"},
    {QVG_BLEND_OVERLAY, "Overlay", "overlay"},
    {QVG_BLEND_SCREEN, "Screen", "screen"},
    {QVG_BLEND_ERASE_ALPHA, "Keeps what is below where this is transparent", "erase-alpha"},
    {QVG_BLEND_ERASE_LUMA, "Keeps what is below where this is dark or transparent", "erase-luma"},
    {QVG_BLEND_SOFT_LIGHT, "Soft light", "soft-light"},
    {QVG_BLEND_MASK_ALPHA, "Keeps what is below where this is opaque", "mask-alpha"},
    {QVG_BLEND_MASK_LUMA, "Keeps what is below where this is bright and opaque", "mask-luma"},
    {QVG_BLEND_NONE, "Replaces colour and alpha of what is below", "replace"},
    {0, nullptr, nullptr}};

const GEnumValue kMatteTypes[] = {{QVG_MATTE_ALPHA, "Shown where the matte is opaque", "alpha"},
                                  {QVG_MATTE_ALPHA_INVERTED, "Shown where the matte is transparent", "alpha-inverted"},
                                  {QVG_MATTE_LUMA, "Shown where the matte is bright", "luma"},
                                  {QVG_MATTE_LUMA_INVERTED, "Shown where the matte is dark", "luma-inverted"},
                                  {0, nullptr, nullptr}};

GType BlendType() {
  static const GType type = g_enum_register_static("GstQvgBlendType", kBlendTypes);
  return type;
}

GType MatteType() {
  static const GType type = g_enum_register_static("GstQvgMatteType", kMatteTypes);
  return type;
}

/// A property of a number, and the number.
struct IntegerRow {
  const char *name, *help;
  int low, high;
  int& (*of)(Placement&);
};
const IntegerRow kIntegers[] = {
    {"xpos", "Left edge of the picture, in pixels from that of the output", G_MININT, G_MAXINT,
     [](Placement& p) -> int& { return p.x; }},
    {"ypos", "Upper edge of the picture, in pixels from that of the output", G_MININT, G_MAXINT,
     [](Placement& p) -> int& { return p.y; }},
    {"width", "Width of the picture in the output, in pixels; -1: what keeps its shape, or its own", -1, G_MAXINT,
     [](Placement& p) -> int& { return p.width; }},
    {"height", "Height of the picture in the output, in pixels; -1: what keeps its shape, or its own", -1, G_MAXINT,
     [](Placement& p) -> int& { return p.height; }},
    {"crop-left", "Pixels of the source to leave away at the left", 0, G_MAXINT,
     [](Placement& p) -> int& { return p.crop.left; }},
    {"crop-top", "Pixels of the source to leave away at the top", 0, G_MAXINT,
     [](Placement& p) -> int& { return p.crop.top; }},
    {"crop-right", "Pixels of the source to leave away at the right", 0, G_MAXINT,
     [](Placement& p) -> int& { return p.crop.right; }},
    {"crop-bottom", "Pixels of the source to leave away at the bottom", 0, G_MAXINT,
     [](Placement& p) -> int& { return p.crop.bottom; }},
};

constexpr guint kFirstInteger = 1;
enum : guint { kRotation = kFirstInteger + std::size(kIntegers), kOpacity, kBlend, kMatte, kMatteTypeId };

constexpr auto kFlags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_CONTROLLABLE |
                                                 GST_PARAM_MUTABLE_PLAYING);

GstQvgCompositorPad::State& StateOf(gpointer pad) { return *static_cast<GstQvgCompositorPad*>(pad)->state; }

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
  auto& state = StateOf(object);
  GST_OBJECT_LOCK(object);
  Placement& place = state.placement;
  switch (id) {
    case kRotation:
      place.rotation = g_value_get_double(value);
      break;
    case kOpacity:
      place.opacity = g_value_get_double(value);
      break;
    case kBlend:
      place.blendType = g_value_get_enum(value);
      break;
    case kMatte:
      state.matte = g_value_get_string(value) != nullptr ? g_value_get_string(value) : "";
      break;
    case kMatteTypeId:
      place.matteType = g_value_get_enum(value);
      break;
    default:
      kIntegers[id - kFirstInteger].of(place) = g_value_get_int(value);
      break;
  }
  GST_OBJECT_UNLOCK(object);
  static_cast<void>(spec);
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
  auto& state = StateOf(object);
  GST_OBJECT_LOCK(object);
  Placement& place = state.placement;
  switch (id) {
    case kRotation:
      g_value_set_double(value, place.rotation);
      break;
    case kOpacity:
      g_value_set_double(value, place.opacity);
      break;
    case kBlend:
      g_value_set_enum(value, place.blendType);
      break;
    case kMatte:
      g_value_set_string(value, state.matte.empty() ? nullptr : state.matte.c_str());
      break;
    case kMatteTypeId:
      g_value_set_enum(value, place.matteType);
      break;
    default:
      g_value_set_int(value, kIntegers[id - kFirstInteger].of(place));
      break;
  }
  GST_OBJECT_UNLOCK(object);
  static_cast<void>(spec);
}

void Finalize(GObject* object) {
  delete static_cast<GstQvgCompositorPad*>(static_cast<gpointer>(object))->state;
  G_OBJECT_CLASS(gst_qvg_compositor_pad_parent_class)->finalize(object);
}

}  // namespace

static void gst_qvg_compositor_pad_init(GstQvgCompositorPad* pad) { pad->state = new GstQvgCompositorPad::State(); }

static void gst_qvg_compositor_pad_class_init(GstQvgCompositorPadClass* type) {
  auto* object = G_OBJECT_CLASS(type);
  object->set_property = &SetProperty;
  object->get_property = &GetProperty;
  object->finalize = &Finalize;
  Placement defaults;
  for (guint i = 0; i < std::size(kIntegers); ++i) {
    const IntegerRow& row = kIntegers[i];
    g_object_class_install_property(
        object, kFirstInteger + i,
        g_param_spec_int(row.name, row.name, row.help, row.low, row.high, row.of(defaults), kFlags));
  }
  g_object_class_install_property(
      object, kRotation,
      g_param_spec_double("rotation", "rotation", "Degrees clockwise about the picture's centre", -G_MAXDOUBLE,
                          G_MAXDOUBLE, defaults.rotation, kFlags));
  g_object_class_install_property(
      object, kOpacity,
      g_param_spec_double("opacity", "opacity", "Opacity of the picture; multiplies its alpha", 0, 1, defaults.opacity,
                          kFlags));
  g_object_class_install_property(
      object, kBlend,
      g_param_spec_enum("blend-type", "blend-type", "How the picture is blended with what is below it", BlendType(),
                        defaults.blendType, kFlags));
  g_object_class_install_property(
      object, kMatte,
      g_param_spec_string("matte", "matte",
                          "Name of another pad (sink_1): its picture, where it would lie in the output, changes this "
                          "one's alpha and is not shown itself",
                          nullptr, static_cast<GParamFlags>(kFlags & ~GST_PARAM_CONTROLLABLE)));
  g_object_class_install_property(object, kMatteTypeId,
                                  g_param_spec_enum("matte-type", "matte-type", "How the matte changes the alpha",
                                                    MatteType(), defaults.matteType, kFlags));
}
