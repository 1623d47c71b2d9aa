// For every call of the driver and the platform, and every allocation of the library's code, that a host's work makes:
// when it fails, or all from it on, each slot says so or has done what it says, no exception leaves it, nothing is
// lost, and the next frame is exact.
//
// QVG_FAULT_STRIDE in the environment takes every n-th of them (1: all), QVG_FAULT_AT one.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "faults.h"
#include "host.h"
#include "support/platform.h"
#include "utils/log.h"

namespace qvg::test {
namespace {

int Number(const char* variable, int otherwise) {
  const char* const text = std::getenv(variable);
  return text != nullptr ? std::atoi(text) : otherwise;
}

struct Course {
  Scenario scenario;
  FaultSource source;
  FaultMode mode;
  bool warm;  ///< The same work was done before.
};

std::string NameOf(const Course& course) {
  return std::string(course.scenario.name) + (course.source == FaultSource::kDriver ? "Driver" : "Heap") +
         (course.mode == FaultMode::kOne ? "One" : "From") + (course.warm ? "Warm" : "Cold");
}

void PrintTo(const Course& course, std::ostream* out) { *out << NameOf(course); }

/// What the library is for the length of a scenario.
class Life {
 public:
  explicit Life(const Scenario& scenario)
      : scenario_(scenario), gl_(scenario.begin == Scenario::kReleased ? *Released() : StartLibrary()) {
    if (scenario_.begin == Scenario::kWithContext) context_ = gl_.GetSharedContext();
  }
  ~Life() {
    gl_.ReleaseSharedContext(&context_);
    ReleaseLibrary();
  }

  /// Runs the scenario with the context current, if it wants one.
  Host Run(const Host* expected = nullptr) {
    if (scenario_.begin != Scenario::kReleased) StartLibrary();
    if (context_ != nullptr) {
      const WithoutFaults undisturbed;
      gl_.MakeCurrentContext(context_, nullptr);
    }
    Host host(gl_);
    host.expected = expected;
    scenario_.run(host);
    return host;
  }
  Host RunUndisturbed() {
    const WithoutFaults undisturbed;
    return Run();
  }
  bool ClearPools() {
    return scenario_.begin != Scenario::kWithContext ||
           (gl_.ClearTexturePool() && gl_.ClearRenderBufferPool() && gl_.ClearPixelBufferPool());
  }

 private:
  // The table, which there is also while the library does not run.
  static const QVGGLRendererInterface* Released() {
    const auto* table = &StartLibrary();
    ReleaseLibrary();
    return table;
  }

  const Scenario& scenario_;
  const QVGGLRendererInterface& gl_;
  QVGGLContext* context_ = nullptr;
};

/// What is wrong with the steps of a run in which something may have failed.
std::string FaultsOf(const Host& host, const Host& expected, FaultMode mode, bool disturbed) {
  std::string faults = host.faults;
  bool failedBefore = false;
  for (size_t i = 0; i < host.steps.size(); ++i) {
    const Step& step = host.steps[i];
    const std::string which = "step " + std::to_string(i);
    if (!disturbed && !step.done) faults += which + " fails; ";
    // One failing call explains the failure of the operation that made it, and of what needs its result.
    if (disturbed && mode == FaultMode::kOne && !step.done && !step.hit && !failedBefore) {
      faults += which + " fails without a fault; ";
    }
    failedBefore |= step.hit && !step.done;
    if (step.done && i < expected.steps.size() && step.picture != expected.steps[i].picture) {
      faults += which + " says success and shows something else; ";
    }
  }
  if (!disturbed && host.steps.size() != expected.steps.size()) faults += "steps are missing; ";
  return faults;
}

/// Where the program is, for who finds it dead.
char place[160];
[[maybe_unused]] const bool tellsPlace = [] {
  for (const int number : {SIGSEGV, SIGABRT}) {
    std::signal(number, [](int received) {
      std::fprintf(stderr, "ended at %s\n", place);
      std::signal(received, SIG_DFL);
      std::raise(received);
    });
  }
  return true;
}();

class FaultTest : public testing::TestWithParam<Course> {
 protected:
  void SetUp() override {
    if (GetParam().scenario.window && !HostWindow::Available()) GTEST_SKIP() << "no X server";
    // Lines are made, as this takes memory, too.
    Logger::Instance().SetSink([](const std::string&, int32_t, intptr_t) {}, 0);
    WatchHeap();
  }
  void TearDown() override { Logger::Instance().SetSink(&DefaultLogSink, 0); }

  /// Runs with the call of that number failing; what is wrong then.
  std::string RunAt(int at) {
    const Course& course = GetParam();
    const Census before = Living();
    std::string faults;
    FaultReport report;
    {
      Life life(course.scenario);
      if (course.warm) life.RunUndisturbed();
      ArmFault(course.source, at, course.mode);
      const Host host = life.Run(expected_.get());
      report = DisarmFault();
      fired_ = report.failed > 0;
      faults += FaultsOf(host, *expected_, course.mode, true);
      const std::string next = FaultsOf(life.Run(expected_.get()), *expected_, course.mode, false);
      if (!next.empty()) faults += "the next frame: " + next;
      if (!life.ClearPools()) faults += "pools can't be cleared; ";
    }
    std::string lost = Difference(before, Living());
    // Names go with their share group.
    if (report.platformFailed && course.scenario.begin != Scenario::kWithContext &&
        Living()[kContexts] == before[kContexts]) {
      lost.clear();
    }
    if (!lost.empty()) faults += "left behind: " + lost;
    faults += TakeMappingFaults();
    return faults.empty() ? "" : report.firstCall + ": " + faults;
  }

  const HeapOwner test_{HeapOwner::kTest};
  std::unique_ptr<Host> expected_;
  bool fired_ = false;
};

int totalPoints = 0;

TEST_P(FaultTest, EveryCallMayFail) {
  const Course& course = GetParam();
  {
    Life life(course.scenario);
    if (course.warm) life.RunUndisturbed();
    expected_ = std::make_unique<Host>(life.RunUndisturbed());
  }
  ASSERT_EQ(FaultsOf(*expected_, *expected_, course.mode, false), "") << "with nothing failing";

  // All of them, or a sample that begins elsewhere in each course.
  const int every = Number("QVG_FAULT_STRIDE", 47);
  const int only = Number("QVG_FAULT_AT", 0);
  static int courses = 0;
  int points = 0, failures = 0;
  std::map<std::string, std::string> found;
  for (int at = only > 0 ? only : 1 + courses++ * 7 % every;; at += every) {
    std::snprintf(place, sizeof place, "%s at %d", NameOf(course).c_str(), at);
    const std::string faults = RunAt(at);
    if (!fired_) break;
    ++points;
    failures += faults.empty() ? 0 : 1;
    if (!faults.empty()) found[faults] += ' ' + std::to_string(at);
    if (only > 0) break;
  }
  for (const auto& [faults, where] : found) ADD_FAILURE() << faults << "\n  at" << where;
  std::printf("%-36s %4d points, %d failures\n", NameOf(course).c_str(), points, failures);
  totalPoints += points;
}

std::vector<Course> Courses() {
  std::vector<Course> courses;
  for (const Scenario& scenario : Scenarios()) {
    for (const FaultSource source : {FaultSource::kDriver, FaultSource::kHeap}) {
      for (const FaultMode mode : {FaultMode::kOne, FaultMode::kFrom}) {
        courses.push_back({scenario, source, mode, false});
        if (scenario.begin == Scenario::kWithContext) courses.push_back({scenario, source, mode, true});
      }
    }
  }
  return courses;
}

INSTANTIATE_TEST_SUITE_P(, FaultTest, testing::ValuesIn(Courses()),
                         [](const auto& course) { return NameOf(course.param); });

class Total : public testing::Environment {
 public:
  void TearDown() override { std::printf("%d points in all\n", totalPoints); }
};
[[maybe_unused]] testing::Environment* const total = testing::AddGlobalTestEnvironment(new Total);

}  // namespace
}  // namespace qvg::test
