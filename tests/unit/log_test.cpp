#include "utils/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <latch>
#include <map>
#include <sstream>
#include <thread>

#include "base/glError.h"

namespace qvg {
namespace {

using std::chrono::sys_days;
using namespace std::chrono_literals;

class LogTest : public testing::Test {
 protected:
  void SetUp() override { Logger::Instance().SetSink(&Keep, reinterpret_cast<intptr_t>(this)); }
  void TearDown() override {
    Logger::Instance().SetSink(&DefaultLogSink, 0);
    Logger::Instance().SetThreshold(kLogDebug);
  }

  static void Keep(const std::string& message, int32_t level, intptr_t self) {
    reinterpret_cast<LogTest*>(self)->lines_ += std::to_string(level) + message + ' ';
  }
  std::string Take() { return std::exchange(lines_, ""); }

 private:
  std::string lines_;
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

TEST_F(LogTest, DefaultSinkPutsTheLevelInFront) {
  const struct {
    int32_t level;
    const char* line;
  } cases[] = {{0, "[ERROR] text\n"}, {1, "[WARNING] text\n"}, {2, "[INFO] text\n"}, {3, "[DEBUG] text\n"},
               {4, "text\n"},         {7, "text\n"},           {-1, "text\n"}};
  for (const auto& [level, line] : cases) {
    EXPECT_EQ(Written([level = level] { DefaultLogSink("text", level, 0); }), line);
    EXPECT_EQ(Written([level = level] { DefaultLogSink("", level, 0); }), "");
  }
}

TEST_F(LogTest, LinesOfSeveralThreadsStayWhole) {
  const std::string text = Written([] {
    std::vector<std::thread> threads;
    std::latch start(4);
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([i, &start] {
        start.arrive_and_wait();
        for (int n = 0; n < 1000; ++n) DefaultLogSink(std::string(80, static_cast<char>('a' + i)), i, 0);
      });
    }
    for (std::thread& thread : threads) thread.join();
  });
  std::istringstream lines(text);
  std::map<std::string, int> counts;
  for (std::string line; std::getline(lines, line);) ++counts[line];
  EXPECT_EQ(counts, (std::map<std::string, int>{{"[ERROR] " + std::string(80, 'a'), 1000},
                                                {"[WARNING] " + std::string(80, 'b'), 1000},
                                                {"[INFO] " + std::string(80, 'c'), 1000},
                                                {"[DEBUG] " + std::string(80, 'd'), 1000}}));
}

TEST_F(LogTest, ThresholdDropsLinesOfHigherLevels) {
  const struct {
    int32_t threshold;
    const char* lines;
  } cases[] = {{3, "-1m 0m 1m 2m 3m "}, {7, "-1m 0m 1m 2m 3m 4m "}, {1, "-1m 0m 1m "}, {0, "-1m 0m "}, {-1, "-1m "}};
  for (const auto& [threshold, lines] : cases) {
    Logger::Instance().SetThreshold(threshold);
    for (int32_t level = -1; level <= 4; ++level) Logger::Instance().Log("m", level);
    EXPECT_EQ(Take(), lines) << "threshold " << threshold;
  }
  Logger::Instance().SetThreshold(kLogDebug);
  Logger::Instance().SetSink(nullptr, reinterpret_cast<intptr_t>(this));
  EXPECT_EQ(Written([] { Logger::Instance().Log("m", kLogError); }), "");
  EXPECT_EQ(Take(), "");
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
  const struct {
    std::chrono::system_clock::time_point time;
    const char* text;
  } cases[] = {
      {sys_days{2025y / 3 / 31} + 2h + 35min + 9s + 7ms, "2025-03-31.08:05:09.007"},
      {sys_days{2024y / 12 / 31} + 18h + 29min + 59s + 999ms, "2024-12-31.23:59:59.999"},
      {sys_days{2024y / 12 / 31} + 18h + 30min, "2025-01-01.00:00:00.000"},
      // Less than a millisecond is dropped, not rounded.
      {std::chrono::floor<std::chrono::system_clock::duration>(sys_days{2024y / 2 / 29} + 45ms + 999'900ns),
       "2024-02-29.05:30:00.045"},
  };
  for (const auto& [time, text] : cases) EXPECT_EQ(LogTimestamp(time), text);
  putenv(utc);
  tzset();
  EXPECT_EQ(LogTimestamp(sys_days{2025y / 3 / 31} + 8h), "2025-03-31.08:00:00.000");
}

TEST(GLErrorTest, EveryCodeHasAText) {
  const struct {
    uint32_t code;
    const char* text;
  } cases[] = {{0, ""},
               {0x0500, "Invalid enum"},
               {0x0501, "Invalid value"},
               {0x0502, "Invalid Operation"},
               {0x0503, "Undecoded gl error, num= 1283"},
               {0x0504, "Undecoded gl error, num= 1284"},
               {0x0505, "Out of memory"},
               {0x0506, "Framebuffer object is not complete"},
               {0xFFFFFFFF, "Undecoded gl error, num= 4294967295"}};
  for (const auto& [code, text] : cases) EXPECT_EQ(DecodeGLError(code), text);
}

}  // namespace
}  // namespace qvg
