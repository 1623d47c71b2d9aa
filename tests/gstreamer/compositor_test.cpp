// The element qvgcompositor, between pads of the test, against the CPU reference of drawing.
#include <gst/check/gstharness.h>
#include <gst/controller/gstdirectcontrolbinding.h>
#include <gst/controller/gstinterpolationcontrolsource.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "gstreamer/effectHarness.h"
#include "gstreamer/videoFrames.h"
#include "reference/drawing.h"

namespace qvg::test {
namespace {

constexpr int kWidth = 96, kHeight = 64;
constexpr double kStep = 1 / 255.0;

/// The element with one harness for each source; the first one's is that of the output, too.
class Compositor {
 public:
  /// settings: as after the element's name for gst-launch.
  explicit Compositor(const std::string& settings, size_t sources, const std::string& downstream = "RGBA") {
    LoadPlugin();
    element_ = gst_parse_launch(("qvgcompositor " + settings).c_str(), nullptr);
    gst_object_ref_sink(element_);
    bus_ = gst_bus_new();
    gst_element_set_bus(element_, bus_);
    for (size_t i = 0; i < sources; ++i) Add(i == 0);
    const std::string caps = "video/x-raw, format=" + downstream;
    gst_harness_set_sink_caps_str(harnesses_[0], caps.c_str());
    gst_harness_play(harnesses_[0]);
  }
  ~Compositor() {
    gst_element_set_state(element_, GST_STATE_NULL);
    gst_element_set_bus(element_, nullptr);
    for (GstHarness* harness : harnesses_) gst_harness_teardown(harness);
    gst_object_unref(element_);
    gst_object_unref(bus_);
  }
  Compositor(const Compositor&) = delete;
  Compositor& operator=(const Compositor&) = delete;

  GstElement* Element() const { return element_; }

  /// A source more, as an application requests one while the element plays.
  void Add(bool output = false) {
    const std::string name = "sink_" + std::to_string(harnesses_.size());
    harnesses_.push_back(gst_harness_new_with_element(element_, name.c_str(), output ? "src" : nullptr));
  }
  /// Takes the last source away, with its pad.
  void Remove() {
    gst_harness_teardown(harnesses_.back());
    harnesses_.pop_back();
  }

  void SetFormat(size_t source, const std::string& format, int width, int height) {
    const std::string caps = "video/x-raw, format=" + format + ", framerate=25/1, width=" + std::to_string(width) +
                             ", height=" + std::to_string(height);
    gst_harness_set_src_caps_str(harnesses_[source], caps.c_str());
    if (formats_.size() <= source) formats_.resize(source + 1);
    formats_[source] = InfoOf(caps);
  }

  void Push(size_t source, const Painting& painting) {
    Buffer frame = MakeFrame(formats_[source], painting);
    GST_BUFFER_PTS(frame.get()) = time_;
    GST_BUFFER_DURATION(frame.get()) = kDuration;
    EXPECT_EQ(gst_harness_push(harnesses_[source], frame.release()), GST_FLOW_OK);
  }
  void PushAll(const std::vector<Painting>& paintings) {
    for (size_t i = 0; i < paintings.size(); ++i) Push(i, paintings[i]);
    time_ += kDuration;
  }
  /// What comes of one frame of each source.
  Image Compose(const std::vector<Painting>& paintings) {
    PushAll(paintings);
    const Buffer result = Own(gst_harness_pull(harnesses_[0]));
    return result ? PictureOf(Output(), result.get()) : Image();
  }

  GstVideoInfo Output() const {
    GstCaps* caps = gst_pad_get_current_caps(harnesses_[0]->sinkpad);
    GstVideoInfo info;
    gst_video_info_from_caps(&info, caps);
    gst_caps_unref(caps);
    return info;
  }

  void End(size_t source) { gst_harness_push_event(harnesses_[source], gst_event_new_eos()); }

  /// The first error on the bus; empty when there is none.
  std::string Error() const {
    GstMessage* message = gst_bus_pop_filtered(bus_, GST_MESSAGE_ERROR);
    if (message == nullptr) return {};
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    std::string text = error->message;
    g_error_free(error);
    gst_message_unref(message);
    return text;
  }

 private:
  static constexpr GstClockTime kDuration = GST_SECOND / 25;

  GstElement* element_;
  GstBus* bus_;
  std::vector<GstHarness*> harnesses_;
  std::vector<GstVideoInfo> formats_;
  GstClockTime time_ = 0;
};

Painting PaintingOf(const Image& image) {
  return [image](double x, double y) {
    return image.at(std::clamp(static_cast<int>(std::lround(x)), 0, image.width - 1),
                    std::clamp(static_cast<int>(std::lround(y)), 0, image.height - 1));
  };
}

/// How a layer lies, in the reference's terms.
struct Lie {
  double x = 0, y = 0, width = 0, height = 0;  // 0: the picture's own size.
  double rotation = 0, opacity = 1;
  int blend = QVG_BLEND_NORMAL;
  int matteType = QVG_MATTE_NONE;
};

DrawResult Drawn(const Image& target, const Image& source, const Lie& lie, const Image& matte = {}) {
  DrawScene scene;
  scene.source = source;
  scene.target = target;
  scene.matte = matte;
  scene.camera = DefaultCamera(target.width, target.height);
  const double width = lie.width > 0 ? lie.width : source.width, height = lie.height > 0 ? lie.height : source.height;
  scene.params.blendType = lie.blend;
  scene.params.matteType = lie.matteType;
  scene.params.opacity = lie.opacity;
  scene.params.rotation[2] = lie.rotation;
  scene.params.scale[0] = width / source.width;
  scene.params.scale[1] = height / source.height;
  scene.params.translation[0] = lie.x + (width - target.width) / 2;
  scene.params.translation[1] = lie.y + (height - target.height) / 2;
  return ExpectedDraw(scene);
}

void ExpectNear(const Image& got, const DrawResult& wanted, double tolerance) {
  ASSERT_EQ(got.width, wanted.image.width);
  ASSERT_EQ(got.height, wanted.image.height);
  for (int y = 0; y < got.height; ++y) {
    for (int x = 0; x < got.width; ++x) {
      if (wanted.onEdge[static_cast<size_t>(y) * static_cast<size_t>(got.width) + static_cast<size_t>(x)]) continue;
      const Color& a = got.at(x, y);
      Color b = wanted.image.at(x, y);
      for (double& part : b) part = std::clamp(part, 0.0, 1.0);
      // Colours of what is transparent mean nothing.
      for (size_t i = 0; i < 4; ++i) {
        ASSERT_NEAR(a[i] * (i < 3 ? a[3] : 1), b[i] * (i < 3 ? b[3] : 1), tolerance) << x << ", " << y << ": " << i;
      }
    }
  }
}

/// Pixels that a source loses at its sides.
struct Cut {
  int left = 0, top = 0, right = 0, bottom = 0;
};

TEST(GstCompositor, LayersLieWhereTheirPropertiesSay) {
  const struct {
    const char* settings;
    Lie lie;
    Cut cut = {};
  } rows[] = {
      {"sink_1::xpos=10 sink_1::ypos=7", {.x = 10, .y = 7}},
      {"sink_1::xpos=-9 sink_1::ypos=50", {.x = -9, .y = 50}},
      {"sink_1::width=64 sink_1::height=24", {.width = 64, .height = 24}},
      {"sink_1::width=20 sink_1::xpos=30", {.x = 30, .width = 20, .height = 15}},
      {"sink_1::height=48", {.width = 64, .height = 48}},
      {"sink_1::xpos=30 sink_1::ypos=20 sink_1::rotation=30", {.x = 30, .y = 20, .rotation = 30}},
      {"sink_1::opacity=0.3", {.opacity = 0.3}},
      {"sink_1::crop-left=6 sink_1::crop-top=4 sink_1::crop-right=3 sink_1::crop-bottom=2 sink_1::xpos=5",
       {.x = 5},
       {6, 4, 3, 2}},
      {"sink_1::crop-left=6 sink_1::crop-right=10 sink_1::width=32", {.width = 32, .height = 48}, {6, 0, 10, 0}},
  };
  for (const auto& [settings, lie, cut] : rows) {
    SCOPED_TRACE(settings);
    const Image below = Quantised(Picture(kWidth, kHeight, 1, true)), above = Quantised(Picture(32, 24, 2));
    const Image left = MakeImage(32 - cut.left - cut.right, 24 - cut.top - cut.bottom,
                                 [&, &c = cut](int x, int y) { return above.at(x + c.left, y + c.top); });
    Compositor compositor(settings, 2, "RGBA, width=96, height=64");
    compositor.SetFormat(0, "RGBA", kWidth, kHeight);
    compositor.SetFormat(1, "BGRA", 32, 24);
    ExpectNear(compositor.Compose({PaintingOf(below), PaintingOf(above)}), Drawn(below, left, lie), 2.5 * kStep);
  }
}

TEST(GstCompositor, EveryBlendTypeBlends) {
  LoadPlugin();
  const Image below = Quantised(Picture(kWidth, kHeight, 1, true)), above = Quantised(Picture(kWidth, kHeight, 2));
  auto* const types = static_cast<GEnumClass*>(g_type_class_ref(
      g_type_from_name("GstQvgBlendType") != 0 ? g_type_from_name("GstQvgBlendType") : G_TYPE_INVALID));
  ASSERT_EQ(types->n_values, 18U);
  for (guint i = 0; i < types->n_values; ++i) {
    SCOPED_TRACE(types->values[i].value_nick);
    Compositor compositor(std::string("sink_1::opacity=0.8 sink_1::blend-type=") + types->values[i].value_nick, 2);
    compositor.SetFormat(0, "RGBA", kWidth, kHeight);
    compositor.SetFormat(1, "RGBA", kWidth, kHeight);
    ExpectNear(compositor.Compose({PaintingOf(below), PaintingOf(above)}),
               Drawn(below, above, {.opacity = 0.8, .blend = types->values[i].value}), 3 * kStep);
  }
  g_type_class_unref(types);
}

TEST(GstCompositor, AMatteIsAnotherPadsPictureWhereItWouldLie) {
  const Image below = Quantised(Picture(kWidth, kHeight, 1, true)),
              above = Quantised(Picture(kWidth, kHeight, 2, true)), shape = Quantised(Picture(32, 24, 3));
  const Lie place = {.x = 20, .y = 10, .width = 50, .height = 40};
  const Image matte = Drawn(Image(kWidth, kHeight), shape, place).image;
  const std::pair<const char*, int> types[] = {{"alpha", QVG_MATTE_ALPHA},
                                               {"alpha-inverted", QVG_MATTE_ALPHA_INVERTED},
                                               {"luma", QVG_MATTE_LUMA},
                                               {"luma-inverted", QVG_MATTE_LUMA_INVERTED}};
  for (const auto& [name, type] : types) {
    SCOPED_TRACE(name);
    Compositor compositor(std::string("sink_1::matte=sink_2 sink_2::xpos=20 sink_2::ypos=10 sink_2::width=50 "
                                      "sink_2::height=40 sink_1::matte-type=") +
                              name,
                          3);
    compositor.SetFormat(0, "RGBA", kWidth, kHeight);
    compositor.SetFormat(1, "RGBx", kWidth, kHeight);
    compositor.SetFormat(2, "ARGB", 32, 24);
    ExpectNear(compositor.Compose({PaintingOf(below), PaintingOf(above), PaintingOf(shape)}),
               Drawn(below, above, {.matteType = type}, matte), 4 * kStep);
  }
}

const Color kRed = {1, 0, 0, 1}, kGreen = {0, 1, 0, 1}, kBlue = {0, 0, 1, 1};
Painting Plain(const Color& color) {
  return [color](double, double) { return color; };
}

void ExpectColor(const Image& image, int x, int y, const Color& color) {
  ASSERT_LT(x, image.width);
  ASSERT_LT(y, image.height);
  for (size_t i = 0; i < 4; ++i) EXPECT_NEAR(image.at(x, y)[i], color[i], 4 * kStep) << x << ", " << y << ": " << i;
}

TEST(GstCompositor, SourcesKeepTheirFormatsAndTheOutputHoldsThemAll) {
  Compositor compositor("sink_1::xpos=50 sink_1::ypos=30 sink_2::width=10", 3, "{ NV12, RGBA }");
  compositor.SetFormat(0, "NV12, colorimetry=bt709", 64, 48);
  compositor.SetFormat(1, "RGBA", 31, 21);
  compositor.SetFormat(2, "I420, colorimetry=bt601, pixel-aspect-ratio=2/1", 20, 20);
  const Image image = compositor.Compose({Plain(kRed), Plain({0, 1, 0, 0.5}), Plain(kBlue)});
  const GstVideoInfo output = compositor.Output();
  EXPECT_EQ(GST_VIDEO_INFO_FORMAT(&output), GST_VIDEO_FORMAT_NV12);
  // 81 x 51 has no whole samples of chroma: an even size next to it.
  EXPECT_NEAR(image.width, 81, 1);
  EXPECT_NEAR(image.height, 51, 1);
  ExpectColor(image, 30, 40, kRed);
  ExpectColor(image, 60, 40, {0.5, 0.5, 0, 1});
  ExpectColor(image, 76, 46, {0, 0.5, 0, 1});
  // Twice as wide as high, of its pixels' shape.
  ExpectColor(image, 4, 2, kBlue);
  ExpectColor(image, 4, 8, kRed);
  EXPECT_EQ(compositor.Error(), "");
}

TEST(GstCompositor, TheBackgroundShowsWhereNoPictureIs) {
  const struct {
    const char *settings, *format;
    Color beside;
  } rows[] = {{"", "RGBA", {0, 0, 0, 1}},
              {"background-color=0x8000ff00", "RGBA", {0, 1, 0, 0.5}},
              {"background-color=0x8000ff00", "NV12", kGreen},
              {"background-color=0x00000000", "{ NV12, RGBA }", {0, 0, 0, 0}}};
  for (const auto& [settings, format, beside] : rows) {
    SCOPED_TRACE(settings);
    Compositor compositor(std::string("sink_0::xpos=20 ") + settings, 1, format);
    compositor.SetFormat(0, "RGB", 20, 20);
    const Image image = compositor.Compose({Plain(kRed)});
    ExpectColor(image, 4, 4, beside);
    ExpectColor(image, 30, 10, kRed);
  }
}

TEST(GstCompositor, PropertiesOrderAndSourcesChangeWhileItPlays) {
  Compositor compositor("", 2);
  compositor.SetFormat(0, "RGB", 40, 40);
  compositor.SetFormat(1, "RGB", 40, 40);
  const std::vector<Painting> both = {Plain(kRed), Plain(kGreen)};
  ExpectColor(compositor.Compose(both), 5, 5, kGreen);

  const auto set = [&](const char* name, const char* value) {
    GObject* pad = nullptr;
    GParamSpec* spec = nullptr;
    ASSERT_TRUE(gst_child_proxy_lookup(GST_CHILD_PROXY(compositor.Element()), name, &pad, &spec));
    gst_util_set_object_arg(pad, spec->name, value);
    gst_object_unref(pad);
  };
  set("sink_0::zorder", "5");
  ExpectColor(compositor.Compose(both), 5, 5, kRed);
  set("sink_0::opacity", "0");
  ExpectColor(compositor.Compose(both), 5, 5, kGreen);
  set("sink_1::xpos", "10");
  ExpectColor(compositor.Compose(both), 5, 5, {0, 0, 0, 1});

  compositor.Add();
  compositor.SetFormat(2, "NV12", 8, 8);
  ExpectColor(compositor.Compose({both[0], both[1], Plain(kBlue)}), 5, 5, kBlue);
  compositor.SetFormat(2, "BGRx", 4, 4);
  // Aggregators of video look at new caps with one frame, and go on with the next.
  compositor.PushAll({both[0], both[1], Plain(kBlue)});
  const Image smaller = compositor.Compose({both[0], both[1], Plain(kBlue)});
  ExpectColor(smaller, 2, 2, kBlue);
  ExpectColor(smaller, 6, 6, {0, 0, 0, 1});
  compositor.Remove();
  compositor.Compose(both);  // The frame that was held up.
  ExpectColor(compositor.Compose(both), 2, 2, {0, 0, 0, 1});
  EXPECT_EQ(compositor.Error(), "");
}

TEST(GstCompositor, AControllerMovesALayer) {
  Compositor compositor("", 2);
  compositor.SetFormat(0, "RGB", 64, 16);
  compositor.SetFormat(1, "RGB", 16, 16);
  GstPad* pad = gst_element_get_static_pad(compositor.Element(), "sink_1");
  GstControlSource* source = gst_interpolation_control_source_new();
  g_object_set(source, "mode", GST_INTERPOLATION_MODE_LINEAR, nullptr);
  auto* const values = GST_TIMED_VALUE_CONTROL_SOURCE(source);
  gst_timed_value_control_source_set(values, 0, 0);
  gst_timed_value_control_source_set(values, GST_SECOND, 25 * 16);
  gst_object_add_control_binding(GST_OBJECT(pad),
                                 gst_direct_control_binding_new_absolute(GST_OBJECT(pad), "xpos", source));
  for (int frame = 0; frame < 3; ++frame) {
    const Image image = compositor.Compose({Plain(kRed), Plain(kGreen)});
    for (int place = 0; place < 3; ++place) ExpectColor(image, 16 * place + 8, 8, place == frame ? kGreen : kRed);
  }
  gst_object_unref(source);
  gst_object_unref(pad);
}

TEST(GstCompositor, ASourceThatEndsGoesAndAnotherThatIsReleasedMeanwhileDoesNoHarm) {
  Compositor compositor("", 2);
  compositor.SetFormat(0, "RGB", 40, 40);
  compositor.SetFormat(1, "RGB", 40, 40);
  ExpectColor(compositor.Compose({Plain(kRed), Plain(kGreen)}), 5, 5, kGreen);
  compositor.End(1);
  ExpectColor(compositor.Compose({Plain(kRed)}), 5, 5, kRed);

  std::atomic<bool> ended = false;
  std::thread application([&] {
    while (!ended) {
      GstPad* pad = gst_element_request_pad_simple(compositor.Element(), "sink_%u");
      gst_element_release_request_pad(compositor.Element(), pad);
      gst_object_unref(pad);
    }
  });
  // A pad without a frame holds the others up: what counts is that nothing breaks.
  for (int i = 0; i < 50; ++i) compositor.Push(0, Plain(kRed));
  ended = true;
  application.join();
  EXPECT_EQ(compositor.Error(), "");
}

TEST(GstCompositor, StartsAndEndsAnyNumberOfTimes) {
  LoadPlugin();
  GstElement* pipeline = gst_parse_launch(
      "qvgcompositor name=one sink_1::xpos=10 ! video/x-raw,format=NV12 ! qvgeffect bright=5 ! fakesink name=end "
      "videotestsrc ! video/x-raw,width=64,height=48 ! one. videotestsrc ! video/x-raw,format=RGBA,width=32,height=32 "
      "! one.",
      nullptr);
  ASSERT_NE(pipeline, nullptr);
  for (int i = 0; i < 10; ++i) {
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    ASSERT_EQ(gst_element_get_state(pipeline, nullptr, nullptr, 20 * GST_SECOND), GST_STATE_CHANGE_SUCCESS);
    gst_element_set_state(pipeline, i % 2 == 0 ? GST_STATE_NULL : GST_STATE_READY);
  }
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
}

}  // namespace
}  // namespace qvg::test
