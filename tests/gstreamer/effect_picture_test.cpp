// What qvgeffect negotiates, and what pictures are after it, whatever formats they come and go in.
#include <algorithm>

#include "gstreamer/effectHarness.h"

namespace qvg::test {
namespace {

/// "" when pictures differ by no more than the limit, in 255ths, but for a border.
std::string Differ(const Image& expected, const Image& actual, double limit, int border = 0) {
  if (actual.empty()) return "nothing came";
  std::vector<bool> skip;
  for (int y = 0; y < expected.height; ++y) {
    for (int x = 0; x < expected.width; ++x) {
      skip.push_back(std::min(x, y) < border || x >= expected.width - border || y >= expected.height - border);
    }
  }
  return Difference(expected, actual, limit, skip);
}

// ---- Caps

struct NegotiationCase {
  const char *input, *downstream, *settings;
  const char* output;  ///< "" for none.
};

class EffectCaps : public testing::TestWithParam<NegotiationCase> {};

TEST_P(EffectCaps, AreChosenForTheInput) {
  const auto& [input, downstream, settings, output] = GetParam();
  EffectHarness effect(settings);
  ASSERT_EQ(effect.Negotiate(input, downstream), *output != '\0') << effect.OutputCaps();
  if (*output == '\0') return;
  GstCaps* wanted = gst_caps_from_string((std::string("video/x-raw, ") + output).c_str());
  GstCaps* chosen = gst_caps_from_string(effect.OutputCaps().c_str());
  EXPECT_TRUE(gst_caps_is_subset(chosen, wanted)) << effect.OutputCaps();
  gst_caps_unref(wanted);
  gst_caps_unref(chosen);
  EXPECT_EQ(effect.Output().width, effect.Input().width);
  EXPECT_EQ(effect.Output().height, effect.Input().height);
}

#define HD "width=1280, height=720, framerate=30/1, pixel-aspect-ratio=4/3"
#define SD "width=320, height=240, framerate=0/1"
#define ODD "width=321, height=240, framerate=30/1"
constexpr NegotiationCase kNegotiations[] = {
    // The input's format where that can be given, in the colours it has, as BT.601.
    {"format=NV12," SD, "", "", "format=NV12, colorimetry=bt601, chroma-site=mpeg2, framerate=0/1"},
    {"format=I420," HD, "", "", "format=I420, colorimetry=2:4:5:1, chroma-site=jpeg," HD},
    {"format=NV12, colorimetry=1:4:7:1," SD, "", "", "format=NV12, colorimetry=2:4:7:1"},
    {"format=P010_10LE, colorimetry=bt2100-pq," HD, "", "", "format=NV12, colorimetry=2:4:14:7"},
    {"format=YV12," SD, "", "", "format=NV12"},
    {"format=BGRx," SD, "", "", "format=BGRx, colorimetry=sRGB"},
    {"format=RGB," ODD, "", "", "format=RGB"},
    {"format=xRGB," SD, "", "", "format=RGBA"},
    {"format=ARGB," SD, "", "", "format=RGBA"},
    {"format=BGRA," SD, "", "", "format=BGRA"},
    {"format=BGRA," SD, "format={I420,BGR}", "", "format=BGR"},
    {"format=NV12," SD, "format={BGR,I420,RGBA}", "", "format=I420"},
    {"format=Y444," ODD, "", "", "format=RGBA"},
    {"format=NV12," ODD, "format={NV12,I420,BGRx}", "", "format=BGRx"},
    {"format=NV12," ODD, "format={NV12,I420}", "", ""},
    // Alpha where there are holes.
    {"format=NV12," SD, "", "key=green", "format=RGBA"},
    {"format=NV12," SD, "", "similarity=200", "format=RGBA"},
    {"format=NV12," SD, "", "key=green enable-bg=true", "format=NV12"},
    {"format=NV12," SD, "", "key=green enable-key=false", "format=NV12"},
    {"format=BGR," SD, "format={NV12,BGR,BGRA}", "key=green", "format=BGRA"},
    {"format=NV12," SD, "format=I420", "key=green", "format=I420"},
    // No other colours than those that are given.
    {"format=NV12," HD, "format=NV12, colorimetry=bt709", "", ""},
    {"format=NV12," HD, "format=NV12, colorimetry=bt601", "", "format=NV12, colorimetry=bt601"},
    {"format=NV12, colorimetry=1:4:7:1," SD, "format=NV12, colorimetry=1:4:7:1", "", ""},
    {"format=NV12, colorimetry=bt2100-pq," HD, "format=RGBA", "", "format=RGBA, colorimetry=1:1:14:7"},
    {"format=RGBA, colorimetry=1:1:5:1," HD, "", "", "format=RGBA, colorimetry=1:1:5:1"},
    {"format=NV12," HD, "format=RGBA, colorimetry=sRGB", "", "format=RGBA, colorimetry=sRGB"},
    {"format=NV12," HD, "format=RGBA", "", "format=RGBA, colorimetry=1:1:5:1"},
    // Memory and sizes.
    {"video/x-raw(memory:GLMemory), format=RGBA," SD, "", "", ""},
    {"format=NV12," SD, "video/x-raw(memory:DMABuf), format=NV12", "", ""},
    {"format=NV12," SD, "width=640, height=240", "", ""},
    {"format=YUY2," SD, "", "", ""},
};
INSTANTIATE_TEST_SUITE_P(Negotiations, EffectCaps, testing::ValuesIn(kNegotiations));

// ---- Pictures

constexpr const char* kYuv[] = {"NV12", "I420", "YV12", "P010_10LE", "P012_LE", "P016_LE", "Y42B", "Y444"};
constexpr const char* kRgb[] = {"RGBA", "BGRA", "ARGB", "ABGR", "RGBx", "BGRx", "xRGB", "xBGR", "RGB", "BGR"};
constexpr const char* kOutputs[] = {"NV12", "I420", "RGBA", "BGRA", "RGBx", "BGRx", "RGB", "BGR"};
/// Range 1 is the full one; matrices 3, 4 and 6 are BT.709, BT.601 and BT.2020.
constexpr const char* kCodings[] = {"2:4:0:0", "2:3:0:0", "2:6:0:0", "1:4:0:0", "1:3:0:0", "1:6:0:0"};
constexpr int kSizes[][2] = {{40, 30}, {33, 21}, {6, 2}, {3, 5}, {2, 2}, {1, 1}};
constexpr Layout kLayouts[] = {{}, {12, 64}, {2, 4}};

void ExpectInput(EffectHarness& effect, const std::string& format, int width, int height) {
  const std::string caps = CapsOf(format, width, height);
  ASSERT_TRUE(effect.Negotiate(caps, "format=RGBA")) << caps;
  const auto painting = FadingCorners(width, height);
  // As the frame holds it: what rounding its samples costs is not the element's fault.
  const Image expected = PictureOf(effect.Input(), MakeFrame(effect.Input(), painting).get());
  for (const Layout& layout : kLayouts) {
    EXPECT_EQ(Differ(expected, effect.Process(painting, layout), 1.6), "")
        << caps << ", " << layout.behindRows << " and " << layout.beforePlanes << " bytes beside";
  }
}

TEST(EffectPicture, IsThatOfEveryInput) {
  EffectHarness effect;
  int count = 0;
  for (const auto& [width, height] : kSizes) {
    for (const char* format : kYuv) {
      for (const char* coding : kCodings) {
        const char* site = ++count % 7 < 4 ? "jpeg" : "mpeg2";
        ExpectInput(effect, std::string(format) + ", colorimetry=" + coding + ", chroma-site=" + site, width, height);
      }
    }
    for (const char* format : kRgb) ExpectInput(effect, format, width, height);
  }
  ASSERT_TRUE(effect.Negotiate(CapsOf("NV12", 3840, 2160), "format=RGBA"));
  const Painting large = Corners(3840, 2160);
  EXPECT_EQ(Differ(Paint(large, 3840, 2160), effect.Process(large), 3), "");
}

TEST(EffectPicture, IsThatOfTheInputInEveryOutput) {
  for (const bool metaAllowed : {true, false}) {
    EffectHarness effect("", metaAllowed);
    for (const char* input : {"NV12, colorimetry=bt709, chroma-site=mpeg2", "BGR", "RGBA"}) {
      for (const auto& [width, height] : {std::array{48, 36}, {50, 38}, {47, 33}, {7, 2}, {1, 1}}) {
        for (const char* output : kOutputs) {
          const bool yuv = std::string(output) == "NV12" || std::string(output) == "I420";
          if (yuv && (width % 2 != 0 || height % 2 != 0)) continue;
          const std::string caps = CapsOf(input, width, height);
          ASSERT_TRUE(effect.Negotiate(caps, std::string("format=") + output)) << caps << " to " << output;
          const Buffer frame = MakeFrame(effect.Input(), Corners(width, height));
          const Image expected = PictureOf(effect.Input(), frame.get());
          const Buffer result = effect.Process(Own(gst_buffer_ref(frame.get())));
          // With a meta they are the library's memory, not a copy.
          const bool lent = metaAllowed && std::string(output).size() > 3 && output != std::string(input);
          EXPECT_EQ(gst_buffer_get_video_meta(result.get()) != nullptr, lent) << output;
          // At the border a sample of chroma stands for what lies beyond, too.
          EXPECT_EQ(Differ(expected, PictureOf(effect.Output(), result.get()), yuv ? 3 : 2, yuv ? 2 : 0), "")
              << caps << " to " << output;
        }
      }
    }
  }
}

// What upstream lays out in its own way is only for those who know of it.
TEST(EffectPicture, ReachesDownstreamThatTakesNoMeta) {
  for (const char* format : {"NV12, colorimetry=bt601, chroma-site=mpeg2", "RGB", "BGRA"}) {
    EffectHarness effect("", false);
    ASSERT_TRUE(effect.Negotiate(CapsOf(format, 48, 36)));
    const Painting painting = Corners(48, 36);
    const Buffer frame = MakeFrame(effect.Input(), painting, {24, 32});
    const Image expected = PictureOf(effect.Input(), frame.get());
    Buffer result = effect.Process(Own(gst_buffer_ref(frame.get())));
    ASSERT_EQ(gst_buffer_get_size(result.get()), effect.Output().size);
    result = Own(gst_buffer_make_writable(result.release()));
    while (GstVideoMeta* meta = gst_buffer_get_video_meta(result.get())) {
      gst_buffer_remove_meta(result.get(), &meta->meta);
    }
    EXPECT_EQ(Differ(expected, PictureOf(effect.Output(), result.get()), 0.01), "") << format;
  }
}

TEST(EffectPicture, IsNotTouchedWithoutNeed) {
  EffectHarness effect;
  for (const char* format : {"NV12", "I420", "RGBA", "BGRx"}) {
    ASSERT_TRUE(effect.Negotiate(CapsOf(format, 48, 36)));
    const Buffer frame = MakeFrame(effect.Input(), FadingCorners(48, 36), {24, 32});
    EXPECT_EQ(effect.Process(Own(gst_buffer_ref(frame.get()))), frame) << effect.OutputCaps();
  }
}

TEST(EffectPicture, CanBeWrittenToWithoutOthersSeeingIt) {
  EffectHarness effect;
  ASSERT_TRUE(effect.Negotiate(CapsOf("NV12", 64, 32), "format=RGBA"));
  Buffer result = effect.Process(MakeFrame(effect.Input(), Corners(64, 32)));
  const Image before = PictureOf(effect.Output(), result.get());
  const Buffer kept = Own(gst_buffer_copy(result.get()));
  result = Own(gst_buffer_make_writable(result.release()));
  GstVideoFrame frame;
  const GstVideoInfo info = effect.Output();
  ASSERT_TRUE(gst_video_frame_map(&frame, &info, result.get(), GST_MAP_READWRITE));
  static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0))[0] ^= 255;
  gst_video_frame_unmap(&frame);
  EXPECT_NE(Difference(before, PictureOf(info, result.get())), "");
  EXPECT_EQ(Difference(before, PictureOf(info, kept.get())), "");
}

}  // namespace
}  // namespace qvg::test
