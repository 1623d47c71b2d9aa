#include "utils/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <map>
#include <sstream>
#include <thread>

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

/// What the default sink writes to standard output.
template <class Write>
std::string Written(Write write) {
  testing::internal::CaptureStdout();
  write();
  std::string text = testing::internal::GetCapturedStdout();
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  return text;
}

TEST_F(LogTest, ThresholdDropsLinesOfHigherLevels) {
  const struct {
    int32_t threshold;
    const char* lines;
  } cases[] = {{7, "m\n[ERROR] m\n[WARNING] m\n[INFO] m\n[DEBUG] m\nm\n"},
               {3, "m\n[ERROR] m\n[WARNING] m\n[INFO] m\n[DEBUG] m\n"},
               {1, "m\n[ERROR] m\n[WARNING] m\n"},
               {0, "m\n[ERROR] m\n"},
               {-1, "m\n"}};
  const auto logAll = [] {
    for (int32_t level = -1; level <= 4; ++level)
      for (const char* const message : {"", "m"}) Logger::Instance().Log(message, level);
  };
  for (const auto& [threshold, lines] : cases) {
    Logger::Instance().SetThreshold(threshold);
    EXPECT_EQ(Written(logAll), lines) << "threshold " << threshold;
  }
  Logger::Instance().SetThreshold(kLogDebug);
  Logger::Instance().SetSink(nullptr, 0);
  EXPECT_EQ(Written(logAll), "");
}

TEST_F(LogTest, LinesOfSeveralThreadsStayWhole) {
  const std::string text = Written([] {
    std::vector<std::thread> threads;
    // libstdc++'s latch loses wake-ups where it can't wait on the system's own (seen with MinGW's GCC 12).
    std::atomic<int> begun = 0;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([i, &begun] {
        for (++begun; begun < 4;) std::this_thread::yield();
        for (int n = 0; n < 1000; ++n) DefaultLogSink(std::string(80, static_cast<char>('a' + i)), i, 0);
      });
    }
    for (std::thread& thread : threads) thread.join();
  });
  std::istringstream lines(text);
  std::map<std::string, int> counts;
  for (std::string line; std::getline(lines, line);) ++counts[line];
  EXPECT_EQ(counts.size(), 4u);
  for (const auto& [line, count] : counts) EXPECT_EQ(count, 1000) << line;
}

TEST_F(LogTest, ThresholdOfTheEnvironment) {
  const struct {
    const char* name;
    int32_t threshold;
  } cases[] = {{nullptr, 3}, {"", 3}, {"error", 0}, {"warning", 1}, {"info", 2}, {"debug", 3}, {"off", -1}, {"Off", 3}};
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
  EXPECT_EQ(LogTimestamp(sys_days{2025y / 3 / 31} + 8h), "2025-03-31.08:00:00.000");
}

}  // namespace
}  // namespace qvg
