// qvgeffect through states, streams and failures.
#include <qvGLRenderer/qvGLRenderer.hpp>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <thread>

#include "gstreamer/effectHarness.h"

namespace qvg::test {
namespace {

constexpr const char* kCaps[] = {"NV12", "RGBA", "I420", "BGR", "Y444", "P010_10LE"};

double PixelOf(EffectHarness& effect) {
  const Image image = effect.Process([](double, double) { return Color{0.5, 0.5, 0.5, 1}; });
  return image.empty() ? -1 : image.at(image.width / 2, image.height / 2)[1];
}

TEST(EffectLife, StartsAndEndsAnyNumberOfTimes) {
  EffectHarness effect("bright=40");
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(effect.Negotiate(CapsOf(kCaps[i % 6], 64, 32)));
    EXPECT_GT(PixelOf(effect), 0.55) << i;
    ASSERT_EQ(gst_element_set_state(effect.element, GST_STATE_NULL), GST_STATE_CHANGE_SUCCESS);
    ASSERT_EQ(gst_element_set_state(effect.element, GST_STATE_PLAYING), GST_STATE_CHANGE_SUCCESS);
  }
}

TEST(EffectLife, OfOneElementIsNotThatOfOthers) {
  std::unique_ptr<EffectHarness> effects[3];
  // Each time one of them starts or ends, in changing order; those that live give frames.
  for (const int which : {0, 1, 2, 0, 1, 0, 2, 2, 1, 0, 0, 2, 1}) {
    auto& changed = effects[which];
    if (changed) {
      changed.reset();
    } else {
      changed = std::make_unique<EffectHarness>("bright=40");
      ASSERT_TRUE(changed->Negotiate(CapsOf(kCaps[which], 32, 32)));
    }
    for (const auto& effect : effects) {
      EXPECT_TRUE(!effect || PixelOf(*effect) > 0.55);
    }
  }
}

// Frames are the library's own memory.
TEST(EffectLife, EndsBeforeThatOfItsFrames) {
  std::vector<Buffer> kept;
  std::vector<GstVideoInfo> infos;
  const Painting painting = Corners(64, 32);
  for (const char* output : {"NV12", "I420", "RGBA", "BGRx"}) {
    EffectHarness effect;
    ASSERT_TRUE(effect.Negotiate(CapsOf("Y444", 64, 32), std::string("format=") + output));
    infos.push_back(effect.Output());
    for (int i = 0; i < 3; ++i) kept.push_back(effect.Process(MakeFrame(effect.Input(), painting)));
  }
  for (size_t i = 0; i < kept.size(); ++i) {
    const Image image = PictureOf(infos[i / 3], kept[i].get());
    EXPECT_EQ(Difference(Crop(Paint(painting, 64, 32), 20, 10, 16, 8), Crop(image, 20, 10, 16, 8), 4), "");
  }
  // The last one is given back from another thread.
  std::thread([&] { kept.clear(); }).join();
  EffectHarness effect("bright=40");
  ASSERT_TRUE(effect.Negotiate(CapsOf("RGBA", 32, 32)));
  EXPECT_GT(PixelOf(effect), 0.55);
}

TEST(EffectLife, GoesOnWithOtherCapsWithoutGrowing) {
  EffectHarness effect("bright=10");
  const auto resident = [] {
    size_t pages = 0, inMemory = 0;
    std::ifstream("/proc/self/statm") >> pages >> inMemory;
    return inMemory * 4 / 1024.0;
  };
  [[maybe_unused]] double before = 0;  // Sanitizers keep what is freed.
  for (int i = 0; i < 2000; ++i) {
    if (i == 500) before = resident();
    const int width = 320 + 32 * (i / 5 % 7), height = 200 + 20 * (i / 5 % 5);
    ASSERT_TRUE(i % 5 != 0 || effect.Negotiate(CapsOf(kCaps[i / 5 % 6], width, height)));
    const Buffer frame = Own(gst_buffer_new_allocate(nullptr, effect.Input().size, nullptr));
    gst_buffer_memset(frame.get(), 0, 128, effect.Input().size);
    const Buffer result = effect.Process(Own(gst_buffer_ref(frame.get())));
    ASSERT_NE(result, nullptr);
    ASSERT_EQ(effect.Output().width, width);
  }
#ifndef __SANITIZE_ADDRESS__
  // Megabytes; a frame of each size that stayed would be more.
  EXPECT_LT(resident() - before, 8);
#endif
}

// ---- Streams

TEST(EffectStream, KeepsTimesFlagsAndPlaces) {
  for (const char* settings : {"", "bright=20"}) {
    EffectHarness effect(settings);
    ASSERT_TRUE(effect.Negotiate(CapsOf("RGBA", 32, 16)));
    for (const guint flag :
         {GST_BUFFER_FLAG_DELTA_UNIT, GST_BUFFER_FLAG_MARKER, GST_BUFFER_FLAG_CORRUPTED, GST_BUFFER_FLAG_DISCONT}) {
      Buffer frame = MakeFrame(effect.Input(), Corners(32, 16), {4, 0});
      GST_BUFFER_PTS(frame.get()) = 3 * GST_SECOND;
      GST_BUFFER_DTS(frame.get()) = 2 * GST_SECOND;
      GST_BUFFER_DURATION(frame.get()) = 40 * GST_MSECOND;
      GST_BUFFER_OFFSET(frame.get()) = 75;
      GST_BUFFER_FLAG_SET(frame.get(), flag);
      gst_buffer_add_video_region_of_interest_meta(frame.get(), "face", 3, 4, 5, 6);
      GstCaps* clock = gst_caps_new_empty_simple("timestamp/x-unix");
      gst_buffer_add_reference_timestamp_meta(frame.get(), clock, 7, 8);
      gst_caps_unref(clock);
      const Buffer result = effect.Process(std::move(frame));
      ASSERT_NE(result, nullptr);
      EXPECT_EQ(GST_BUFFER_PTS(result.get()), 3 * GST_SECOND);
      EXPECT_EQ(GST_BUFFER_DTS(result.get()), 2 * GST_SECOND);
      EXPECT_EQ(GST_BUFFER_DURATION(result.get()), 40 * GST_MSECOND);
      EXPECT_EQ(GST_BUFFER_OFFSET(result.get()), 75U);
      EXPECT_TRUE(GST_BUFFER_FLAG_IS_SET(result.get(), flag)) << flag;
      const auto* face = gst_buffer_get_video_region_of_interest_meta_id(result.get(), 0);
      ASSERT_NE(face, nullptr);
      EXPECT_EQ(face->x, 3U);
      ASSERT_NE(gst_buffer_get_reference_timestamp_meta(result.get(), nullptr), nullptr);
    }
  }
}

TEST(EffectStream, GoesOnAfterFlushSeekGapAndEnd) {
  EffectHarness effect("bright=40");
  ASSERT_TRUE(effect.Negotiate(CapsOf("NV12", 32, 16)));
  EXPECT_GT(PixelOf(effect), 0.55);
  const auto push = [&](GstEvent* event) { EXPECT_TRUE(gst_harness_push_event(effect.harness, event)); };
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  push(gst_event_new_gap(0, GST_SECOND));
  push(gst_event_new_flush_start());
  EXPECT_EQ(gst_harness_push(effect.harness, MakeFrame(effect.Input(), Corners(32, 16)).release()), GST_FLOW_FLUSHING);
  push(gst_event_new_flush_stop(TRUE));
  segment.start = segment.time = 60 * GST_SECOND;
  push(gst_event_new_segment(&segment));
  EXPECT_GT(PixelOf(effect), 0.55);
  // Without a picture, and too small for one: that ends this stream, not the process.
  push(gst_event_new_eos());
  EXPECT_EQ(gst_harness_push(effect.harness, MakeFrame(effect.Input(), Corners(32, 16)).release()), GST_FLOW_EOS);
  push(gst_event_new_flush_start());
  push(gst_event_new_flush_stop(TRUE));
  push(gst_event_new_segment(&segment));
  EXPECT_GT(PixelOf(effect), 0.55);
  EXPECT_TRUE(effect.Messages().empty());
  EXPECT_EQ(gst_harness_push(effect.harness, gst_buffer_new_allocate(nullptr, 7, nullptr)), GST_FLOW_ERROR);
  EXPECT_EQ(effect.Messages().at(0).type, GST_MESSAGE_ERROR);
}

// ---- Without OpenGL, and beside a host that uses it

TEST(EffectFailure, IsAnErrorThatSaysWhy) {
  testing::internal::CaptureStdout();
  EffectHarness effect("bright=40");
  gst_element_set_state(effect.element, GST_STATE_NULL);
  setenv("QVG_CONTEXT", "device:99", 1);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(gst_element_set_state(effect.element, GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
    const auto messages = effect.Messages();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].type, GST_MESSAGE_ERROR);
    EXPECT_NE(messages[0].text.find("OpenGL"), std::string::npos) << messages[0].text;
    EXPECT_NE(messages[0].debug.find("device 99: none"), std::string::npos) << messages[0].debug;
    gst_element_set_state(effect.element, GST_STATE_NULL);
  }
  unsetenv("QVG_CONTEXT");
  EXPECT_EQ(gst_element_set_state(effect.element, GST_STATE_PLAYING), GST_STATE_CHANGE_SUCCESS);
  ASSERT_TRUE(effect.Negotiate(CapsOf("NV12", 32, 16)));
  EXPECT_GT(PixelOf(effect), 0.55);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(EffectFailure, IsNotThatOfAHostThatEndsItsOwnLibrary) {
  EffectHarness effect("bright=40");
  ASSERT_TRUE(effect.Negotiate(CapsOf("NV12", 32, 16)));
  {
    const Library library;
    const Context context = Context::New();
    const CurrentContext current(context);
    ASSERT_TRUE(current);
    EXPECT_GT(PixelOf(effect), 0.55);
    uint8_t bytes[4] = {1, 2, 3, 4};
    const Texture texture = Texture::FromFrame(PixelBuffer(QVG_FORMAT_RGBA, 1, 1, bytes));
    const ReadBack read = texture.ReadRGBA();
    ASSERT_TRUE(read);
    EXPECT_EQ(read.Row(0)[2], 3);
  }
  EXPECT_GT(PixelOf(effect), 0.55);
}

}  // namespace
}  // namespace qvg::test
