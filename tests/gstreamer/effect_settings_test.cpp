// The properties of qvgeffect, and what they do to pictures.
#include <gst/controller/gstdirectcontrolbinding.h>
#include <gst/controller/gstinterpolationcontrolsource.h>
#include <qvGLRenderer/qvGLRenderer.hpp>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

#include "gstreamer/effectHarness.h"
#include "reference/effectScenes.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace qvg::test {
namespace {

std::string Hyphened(std::string name) {
  std::replace(name.begin(), name.end(), '_', '-');
  return name;
}

/// A file that is gone with the object.
struct File {
  std::string path;

  explicit File(const char* name) : path(std::filesystem::temp_directory_path() / (std::to_string(getpid()) + name)) {}
  File(const char* name, const Image& image) : File(name) {
    stbi_write_png(path.c_str(), image.width, image.height, 4, Bytes(image).data(), 4 * image.width);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { std::filesystem::remove(path); }
};

/// Three upright stripes.
Painting Stripes(int width, const Color& left, const Color& middle, const Color& right) {
  return [=](double x, double) { return 3 * x < width ? left : 3 * x < 2 * width ? middle : right; };
}

constexpr Color kScreen = {0.1, 0.7, 0.2, 1}, kSkin = {0.8, 0.55, 0.45, 1}, kGrey = {0.5, 0.5, 0.5, 1},
                kBlueScreen = {0.1, 0.2, 0.8, 1};

// ---- What the properties are

TEST(EffectProperties, AreThoseOfTheTable) {
  EffectHarness effect;
  GObjectClass* type = G_OBJECT_GET_CLASS(effect.element);
  const Library library;  // The host's own; no GL is needed for its table.
  const EffectParameters rows = Effect::Parameters();
  ASSERT_GT(rows.count, 10U);
  for (const QVGParamDescriptor& row : rows) {
    GParamSpec* spec = g_object_class_find_property(type, Hyphened(row.name).c_str());
    ASSERT_NE(spec, nullptr) << row.name;
    EXPECT_TRUE(spec->flags & GST_PARAM_CONTROLLABLE) << row.name;
    if (row.valueType == QVG_PARAM_INTEGER) {
      const GParamSpecInt* number = G_PARAM_SPEC_INT(spec);
      EXPECT_EQ(number->minimum, row.minimum.value.integer) << row.name;
      EXPECT_EQ(number->maximum, row.maximum.value.integer) << row.name;
      EXPECT_EQ(number->default_value, row.defaultValue.value.integer) << row.name;
    }
  }
  EXPECT_EQ(G_PARAM_SPEC_UINT(g_object_class_find_property(type, "color"))->default_value, 0x00ff00U);
  guint count = 0;
  GParamSpec** specs = g_object_class_list_properties(type, &count);
  for (guint i = 0; i < count; ++i) {
    const std::string text = g_param_spec_get_blurb(specs[i]) != nullptr ? g_param_spec_get_blurb(specs[i]) : "";
    EXPECT_GT(text.size(), 3U) << specs[i]->name;
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; })) << text;
  }
  g_free(specs);
}

// ---- What they do

/// How a case of the reference is written for gst-launch. The key colour becomes that of bytes.
std::string SettingsOf(const EffectCase& effect, Triple& key) {
  std::string text;
  for (const auto& [name, value] : effect.values) text += Hyphened(name) + "=" + std::to_string(value) + " ";
  unsigned packed = 0;
  for (double& part : key) {
    const auto byte = static_cast<unsigned>(std::lround(part * 255));
    packed = packed << 8 | byte;
    part = byte / 255.0;
  }
  return effect.key ? text + "color=" + std::to_string(packed) : text;
}

// Straight pictures in and out, also where an effect works on multiplied ones.
TEST(EffectSettings, GiveThePictureOfTheReference) {
  const Image source = Quantised(Straight(EffectPicture(96, 64, 1)));
  Image premultiplied = source;
  for (Color& texel : premultiplied.texels) {
    for (size_t i = 0; i < 3; ++i) texel[i] *= texel[3];
  }
  premultiplied = Quantised(premultiplied);
  const auto painting = [&](double x, double y) { return source.at(static_cast<int>(x), static_cast<int>(y)); };
  for (const EffectCase& row : EffectCases()) {
    if (!row.background.empty() || row.dark) continue;
    EffectScene scene;
    for (const auto& [name, value] : row.values) SetParameter(scene.settings, name, value);
    Triple key = row.key.value_or(kGreen);
    EffectHarness effect(SettingsOf(row, key));
    scene.settings.keyChroma = KeyChroma(key);
    scene.frame = premultiplied;
    const EffectResult expected = ExpectedEffect(scene);
    ASSERT_TRUE(effect.Negotiate(CapsOf("RGBA", 96, 64), "format=RGBA"));
    const Image actual = effect.Process(painting);
    ASSERT_EQ(actual.texels.size(), source.texels.size());
    size_t wrong = 0;
    for (size_t i = 0; i < actual.texels.size(); ++i) {
      const Color low = expected.low.texels[i], high = expected.high.texels[i], &got = actual.texels[i];
      wrong += got[3] < low[3] - 0.004 || got[3] > high[3] + 0.004;
      // Multiplied again it must be what the effect made, as far as a straight colour can be that bright: a dark rim
      // would not.
      for (size_t part = 0; part < 3; ++part) {
        const double multiplied = got[part] * got[3];
        wrong += multiplied < std::min(low[part], low[3]) - 0.006 || multiplied > std::min(high[part], high[3]) + 0.006;
      }
    }
    EXPECT_EQ(wrong, 0U) << Text(row);
  }
}

TEST(EffectSettings, ShowInTheNextFrame) {
  EffectHarness effect;
  ASSERT_TRUE(effect.Negotiate(CapsOf("RGBA", 32, 32), "format=RGBA"));
  const Painting painting = [](double, double) { return kGrey; };
  const auto brightness = [&] { return effect.Process(painting).at(16, 16)[0]; };
  const auto isOn = [&](const char* name) {
    gboolean on = FALSE;
    g_object_get(effect.element, name, &on, nullptr);
    return on != FALSE;
  };
  EXPECT_NEAR(brightness(), 0.5, 0.004);
  EXPECT_FALSE(isOn("enable-color"));
  g_object_set(effect.element, "bright", 40, nullptr);
  EXPECT_TRUE(isOn("enable-color"));
  const double bright = brightness();
  EXPECT_GT(bright, 0.55);
  g_object_set(effect.element, "enable-color", FALSE, nullptr);
  EXPECT_FALSE(isOn("enable-color"));
  EXPECT_NEAR(brightness(), 0.5, 0.004);
  g_object_set(effect.element, "bright", 80, nullptr);
  EXPECT_NEAR(brightness(), 0.5, 0.004) << "a switch that was set stays";
  g_object_set(effect.element, "enable-color", TRUE, nullptr);
  EXPECT_GT(brightness(), bright);
  // A switch alone, with nothing to do.
  g_object_set(effect.element, "bright", 0, "enable-beauty", TRUE, nullptr);
  EXPECT_NEAR(brightness(), 0.5, 0.004);
}

TEST(EffectSettings, FollowTheTimeOfTheStream) {
  EffectHarness effect;
  ASSERT_TRUE(effect.Negotiate(CapsOf("RGBA", 16, 16), "format=RGBA"));
  GstControlSource* source = gst_interpolation_control_source_new();
  g_object_set(source, "mode", GST_INTERPOLATION_MODE_LINEAR, nullptr);
  gst_timed_value_control_source_set(GST_TIMED_VALUE_CONTROL_SOURCE(source), 0, 0.5);
  gst_timed_value_control_source_set(GST_TIMED_VALUE_CONTROL_SOURCE(source), 10 * GST_SECOND, 1);
  gst_object_add_control_binding(GST_OBJECT(effect.element),
                                 gst_direct_control_binding_new(GST_OBJECT(effect.element), "bright", source));
  // From the second second of the stream on, whose frames are stamped from 100 s.
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  segment.start = 100 * GST_SECOND;
  segment.time = 2 * GST_SECOND;
  gst_harness_push_event(effect.harness, gst_event_new_segment(&segment));
  for (const int second : {0, 4, 8}) {
    Buffer frame = MakeFrame(effect.Input(), Corners(16, 16));
    GST_BUFFER_PTS(frame.get()) = static_cast<GstClockTime>(100 + second) * GST_SECOND;
    effect.Process(std::move(frame));
    int bright = 0;
    g_object_get(effect.element, "bright", &bright, nullptr);
    EXPECT_NEAR(bright, 10 * (second + 2), 1);
  }
  gst_object_unref(source);
}

TEST(EffectSettings, MayChangeInAnyThread) {
  EffectHarness effect;
  ASSERT_TRUE(effect.Negotiate(CapsOf("RGBA", 8, 8), "format=RGBA"));
  std::atomic<bool> ending = false;
  std::thread user([&] {
    for (int i = 0; !ending; ++i) {
      g_object_set(effect.element, "enable-color", i % 2, "enable-key", i / 2 % 2, "bgfile", i % 3 ? nullptr : "",
                   nullptr);
    }
  });
  for (int i = 0; i < 1000 && !HasFailure(); ++i) effect.Process(Corners(8, 8));
  ending = true;
  user.join();
}

// ---- The image behind

TEST(EffectBackground, IsCutToTheShapeOfTheFrame) {
  const Color red = {1, 0, 0, 1}, blue = {0, 0, 1, 1}, white = {1, 1, 1, 1};
  // A column of three squares, whose middle one has a white top.
  const File file("column.png", MakeImage(60, 180, [&](int, int y) {
                    return y < 60 || y >= 120 ? red : y < 75 ? white : blue;
                  }));
  EffectHarness effect("color=0x19b233 bgfile=" + file.path);
  struct {
    int width, height, y;
    Color color;
  } const kPlaces[] = {{60, 60, 3, white}, {60, 60, 40, blue},  {60, 60, 58, blue},
                       {40, 120, 10, red}, {40, 120, 110, red}, {40, 120, 60, blue}};
  for (const auto& [width, height, y, color] : kPlaces) {
    ASSERT_TRUE(effect.Negotiate(CapsOf("BGRx", width, height)));
    const Image image = effect.Process([](double, double) { return kScreen; });
    for (size_t part = 0; part < 3; ++part) {
      EXPECT_NEAR(image.at(width / 2, y)[part], color[part], 0.02) << width << " x " << height << ", " << y;
    }
  }
  EXPECT_TRUE(effect.Messages().empty());
}

TEST(EffectBackground, IsWarnedOfOnceWhenItCannotBeRead) {
  const File broken("broken.png");
  std::ofstream(broken.path) << "no picture";
  for (const std::string& path : {std::string("/nowhere/beach.png"), broken.path, std::string("/tmp")}) {
    EffectHarness effect("bgfile=" + path);
    ASSERT_TRUE(effect.Negotiate(CapsOf("RGBA", 8, 8)));
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(Difference(Paint(Corners(8, 8), 8, 8), effect.Process(Corners(8, 8)), 1), "");
      g_object_set(effect.element, "shadow", 0, nullptr);
    }
    const auto messages = effect.Messages();
    ASSERT_EQ(messages.size(), 1U) << path;
    EXPECT_EQ(messages[0].type, GST_MESSAGE_WARNING);
    EXPECT_NE(messages[0].text.find(path), std::string::npos) << messages[0].text;
  }
}

// ---- Keys

struct KeyCase {
  const char* key;
  Color screen;
  bool keyed;
  const char* warning;  ///< Part of it; null for none.
};

class EffectKey : public testing::TestWithParam<KeyCase> {};

TEST_P(EffectKey, TakesTheScreenAway) {
  const auto& [key, screen, keyed, warning] = GetParam();
  EffectHarness effect("key=" + std::string(key));
  ASSERT_TRUE(effect.Negotiate(CapsOf("NV12", 96, 64)));
  EXPECT_EQ(effect.Output().finfo->format, GST_VIDEO_FORMAT_RGBA);
  const Painting painting = Stripes(96, screen, kSkin, screen);
  for (int i = 0; i < 3; ++i) {
    const Image image = effect.Process(painting);
    ASSERT_FALSE(image.empty());
    EXPECT_NEAR(image.at(8, 32)[3], keyed ? 0 : 1, 0.01);
    EXPECT_NEAR(image.at(48, 32)[3], 1, 0.01);
    for (size_t part = 0; part < 3; ++part) EXPECT_NEAR(image.at(48, 32)[part], kSkin[part], 0.03);
  }
  const auto messages = effect.Messages();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].type, warning != nullptr ? GST_MESSAGE_WARNING : GST_MESSAGE_ELEMENT);
  EXPECT_NE(messages[0].text.find(warning != nullptr ? warning : "qvg-key-found"), std::string::npos)
      << messages[0].text;
}

constexpr KeyCase kKeys[] = {
    {"auto", kScreen, true, nullptr},         {"auto", kBlueScreen, true, nullptr},
    {"green", kScreen, true, nullptr},        {"#1ab233", kScreen, true, nullptr},
    {"0x1933cc", kBlueScreen, true, nullptr}, {"auto", kGrey, false, "No key was found"},
    {"sceen", kScreen, false, "sceen"},       {"#12345", kScreen, false, "#12345"},
    {"#1234567", kScreen, false, "#1234567"},
};
INSTANTIATE_TEST_SUITE_P(Keys, EffectKey, testing::ValuesIn(kKeys));

TEST(EffectKeyChange, TakesEffectAndIsTakenBack) {
  EffectHarness effect("key=auto");
  ASSERT_TRUE(effect.Negotiate(CapsOf("RGBA", 96, 64)));
  const Painting none = [](double, double) { return kGrey; };
  const Painting green = Stripes(96, kScreen, kSkin, kScreen), blue = Stripes(96, kBlueScreen, kSkin, kBlueScreen);
  const auto alpha = [&](const Painting& painting) { return effect.Process(painting).at(8, 32)[3]; };
  EXPECT_EQ(alpha(none), 1);
  for (int i = 0; i < 60 && alpha(green) > 0; ++i) continue;
  EXPECT_EQ(alpha(green), 0) << "a screen that appears later is found";
  EXPECT_EQ(alpha(blue), 1);
  g_object_set(effect.element, "key", "blue", nullptr);
  EXPECT_EQ(alpha(blue), 0);
  EXPECT_EQ(alpha(green), 1) << "the key before";
  g_object_set(effect.element, "key", nullptr, nullptr);
  EXPECT_EQ(alpha(blue), 1);
  g_object_set(effect.element, "key", "green", nullptr);
  EXPECT_EQ(alpha(green), 0);
  g_object_set(effect.element, "key", "grue", nullptr);
  EXPECT_EQ(alpha(green), 1);
  // Values that were given stay.
  g_object_set(effect.element, "similarity", 200, "key", "#1ab233", nullptr);
  EXPECT_EQ(alpha(green), 0);
  guint color = 0;
  int similarity = 0;
  g_object_get(effect.element, "color", &color, "similarity", &similarity, nullptr);
  EXPECT_EQ(color, 0x1ab233U);
  EXPECT_EQ(similarity, 200);
}

TEST(EffectKeyChange, HasTheFormatChangedWhereAlphaIsTaken) {
  EffectHarness effect;
  ASSERT_TRUE(effect.Negotiate(CapsOf("NV12", 96, 64), "format={ NV12, RGBA }"));
  const Painting green = Stripes(96, kScreen, kSkin, kScreen);
  const auto format = [&] {
    // The format of a frame is settled before its settings are looked at.
    for (int i = 0; i < 2; ++i) effect.Process(green);
    const GstVideoInfo output = effect.Output();
    return GST_VIDEO_INFO_FORMAT(&output);
  };
  EXPECT_EQ(format(), GST_VIDEO_FORMAT_NV12);
  g_object_set(effect.element, "key", "green", nullptr);
  EXPECT_EQ(format(), GST_VIDEO_FORMAT_RGBA);
  EXPECT_EQ(effect.Process(green).at(8, 32)[3], 0);
  g_object_set(effect.element, "key", nullptr, nullptr);
  EXPECT_EQ(format(), GST_VIDEO_FORMAT_NV12);
}

}  // namespace
}  // namespace qvg::test
