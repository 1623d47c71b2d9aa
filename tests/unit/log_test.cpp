#include "utils/log.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <utility>

namespace qvg {
namespace {

using std::chrono::sys_days;
using namespace std::chrono_literals;

class LogTest : public testing::Test {
 protected:
  void TearDown() override {
    Logger::Instance().SetSink(&DefaultLogSink, 0);
    Logger::Instance().SetThreshold(kLogDebug);
  }
};

/// What messages, empty ones too, of every level and beyond write to standard output.
std::string WrittenOfAllLevels() {
  testing::internal::CaptureStdout();
  for (int32_t level = -1; level <= 4; ++level)
    for (const char* const message : {"", "m"}) Logger::Instance().Log(message, level);
  std::string text = testing::internal::GetCapturedStdout();
  std::erase(text, '\r');
  return text;
}

TEST_F(LogTest, ThresholdDropsLinesOfHigherLevels) {
  const std::pair<int32_t, const char*> cases[] = {
      {7, "m\n[ERROR] m\n[WARNING] m\n[INFO] m\n[DEBUG] m\nm\n"}, {1, "m\n[ERROR] m\n[WARNING] m\n"}, {-1, "m\n"}};
  for (const auto& [threshold, lines] : cases) {
    Logger::Instance().SetThreshold(threshold);
    EXPECT_EQ(WrittenOfAllLevels(), lines) << "threshold " << threshold;
  }
  Logger::Instance().SetThreshold(kLogDebug);
  Logger::Instance().SetSink(nullptr, 0);
  EXPECT_EQ(WrittenOfAllLevels(), "");
}

TEST_F(LogTest, ThresholdOfTheEnvironment) {
  const std::pair<const char*, int32_t> cases[] = {{nullptr, 3}, {"", 3},      {"error", 0}, {"warning", 1},
                                                   {"info", 2},  {"debug", 3}, {"off", -1},  {"Off", 3}};
  for (const auto& [name, threshold] : cases) EXPECT_EQ(ThresholdNamed(name), threshold);
}

TEST_F(LogTest, TimestampIsLocalTimeWithLeadingZeros) {
  static char zone[] = "TZ=TST-05:30";  // east of Greenwich
  static char utc[] = "TZ=UTC0";
  ASSERT_EQ(putenv(zone), 0);
  tzset();
  EXPECT_EQ(LogTimestamp(sys_days{2025y / 3 / 31} + 2h + 35min + 9s + 7ms), "2025-03-31.08:05:09.007");
  // Less than a millisecond is dropped, not rounded.
  const auto last = sys_days{2024y / 12 / 31} + 18h + 29min + 59s + 999'900us;
  EXPECT_EQ(LogTimestamp(std::chrono::floor<std::chrono::system_clock::duration>(last)), "2024-12-31.23:59:59.999");
  putenv(utc);
  tzset();
}

}  // namespace
}  // namespace qvg
