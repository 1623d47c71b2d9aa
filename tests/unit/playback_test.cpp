// The preview's pacing, on a clock of its own.
#include "../../tools/qvg/window/playback.h"

#include <gtest/gtest.h>

namespace qvgtool {
namespace {

constexpr double kStep = 0.04;

TEST(PlaybackTest, FramesKeepTheClipsDistancesAfterDelaysAndPauses) {
  Playback playback(true);
  EXPECT_EQ(playback.Delay(0, 10), 0.0) << "the first frame is due at once";
  playback.Shown(0, 10);
  EXPECT_NEAR(*playback.Delay(kStep, 10.01), 0.03, 1e-9);
  playback.Shown(kStep, 10.2);
  EXPECT_EQ(playback.Delay(2 * kStep, 10.2), 0.0) << "no sleep while behind";
  playback.Shown(2 * kStep, 10.2);
  EXPECT_NEAR(*playback.Delay(1, 10.21), 0.79, 1e-9) << "back at the clip's own times";
  playback.TogglePause();
  EXPECT_FALSE(playback.Delay(1, 15).has_value());
  playback.TogglePause();
  EXPECT_EQ(playback.Delay(1, 15), 0.0);
  playback.Shown(1, 15);
  EXPECT_NEAR(*playback.Delay(1 + kStep, 15), kStep, 1e-9) << "it races after a long delay";
}

TEST(PlaybackTest, TheRateIsThatOfTheLastSecond) {
  Playback playback(false);
  EXPECT_EQ(playback.Rate(), 0);
  for (int i = 0; i < 10; ++i) playback.Shown(0, 0.5 * i);
  for (int i = 1; i <= 50; ++i) playback.Shown(0, 4.5 + 0.04 * i);
  EXPECT_NEAR(playback.Rate(), 25, 0.01);
  EXPECT_EQ(playback.Delay(1000, 7), 0.0) << "as fast as they come";
}

}  // namespace
}  // namespace qvgtool
