// Every allocation of the library's own code fails once, alone and with all that follow: no exception leaves a slot, a
// slot that says success shows the right picture, the next frame is right, and nothing of GL is left.
//
// QVG_FAULT_STRIDE in the environment takes every n-th point (1: all of them), QVG_FAULT_POINT one of them ("17", or
// "17+" with all that follow).
#include <execinfo.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "driver/eglHooks.h"
#include "glNames.h"
#include "script.h"
#include "support/platform.h"
#include "utils/log.h"

namespace qvg::test {
namespace {

constexpr int kStride = 7;

char point[80] = "";  // for the last words

[[noreturn]] void Terminate() {
  std::fprintf(stderr, "terminated at %s\n", point);
  void* places[40];
  backtrace_symbols_fd(places, backtrace(places, 40), STDERR_FILENO);
  std::abort();
}

class AllocationTest : public testing::TestWithParam<Scenario> {
 protected:
  void SetUp() override {
    if (GetParam().kind == Scenario::kShows && !HostWindow::Available()) GTEST_SKIP() << "no display";
    std::set_terminate(&Terminate);
    Logger::Instance().SetSink([](const std::string&, int32_t, intptr_t) {}, 0);
    CountNames();
  }
  void TearDown() override { Logger::Instance().SetSink(&DefaultLogSink, 0); }

  /// What is wrong with one run in which nothing fails.
  std::string Faultless(Pictures* shown) {
    Script script(*shown);
    ArmHeap({});
    GetParam().run(script);
    DisarmHeap();
    script.End();
    if (shown->empty()) *shown = script.Shown();
    if (script.table != nullptr) table_ = script.table;
    return script.Faults();
  }

  /// What is wrong with a run in which allocations fail; gives how many there were.
  std::string Run(const HeapFault& fault, int* allocations) {
    Script script(expected_);
    if (GetParam().kind != Scenario::kStarts) {
      ArmHeap({});
      script.Start();
    }
    ArmHeap(fault);
    GetParam().run(script);
    *allocations = DisarmHeap();
    script.End();
    if (script.table != nullptr) table_ = script.table;
    return script.Faults();
  }

  /// Ends the library.
  void Stop() {
    if (table_ == nullptr) table_ = QVG_GetGLRendererInterface(nullptr);
    QVG_ReleaseGLRendererInterface(&table_);
    ASSERT_EQ(Hooks().contexts, 0);
  }

  /// The GL names that a start and release have left, but for those that go with their context.
  static NameBalance Since(const NameBalance& before) {
    NameBalance left = LivingNames();
    for (size_t i = 0; i < left.size(); ++i) left[i] -= before[i];
    left[kVertexArray] = 0;
    return left;
  }

  /// A point and the frame after it.
  void Point(const HeapFault& fault) {
    std::snprintf(point, sizeof point, "%s, allocation %d%s", GetParam().name, fault.first, fault.onwards ? "+" : "");
    SCOPED_TRACE(point);
    int allocations = 0;
    const NameBalance before = LivingNames();
    EXPECT_EQ(Run(fault, &allocations), "");
    EXPECT_EQ(Faultless(&expected_), "") << "the next frame";
    Stop();
    // A release that gets no context leaves names to go with the last one.
    if (GetParam().kind != Scenario::kEnds) {
      EXPECT_EQ(Since(before), left_) << "GL names are left";
    }
    ++points_;
  }

  const HeapOwner test_{HeapOwner::kTest};
  const QVGGLRendererInterface* table_ = nullptr;
  Pictures expected_;
  NameBalance left_ = {};  // by a run without a fault
  int points_ = 0;
};

TEST_P(AllocationTest, EachMayFail) {
  NameBalance before = {};
  // The second run has nothing left to make for the process.
  for (int round = 0; round < 2; ++round) {
    before = LivingNames();
    ASSERT_EQ(Faultless(&expected_), "");
    Stop();
  }
  left_ = Since(before);
  int allocations = 0;
  ASSERT_EQ(Run({}, &allocations), "");
  Stop();
  if (const char* one = std::getenv("QVG_FAULT_POINT"); one != nullptr) {
    return Point({std::atoi(one), std::string(one).ends_with('+')});
  }
  const char* const wanted = std::getenv("QVG_FAULT_STRIDE");
  const int stride = std::max(wanted != nullptr ? std::atoi(wanted) : kStride, 1);
  for (int first = 1; first <= allocations; first += stride) {
    for (const bool onwards : {false, true}) Point({first, onwards});
    if (HasFatalFailure()) break;
  }
  std::printf("             %d points of %d\n", points_, 2 * allocations);
  RecordProperty("points", points_);
}

INSTANTIATE_TEST_SUITE_P(, AllocationTest, testing::ValuesIn(Scenarios()),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace qvg::test
