// Lets every call of the driver and the platform, and every allocation of the library, fail in a host's work, alone or
// with all that follow: each slot has to report failure or do its work, throw nothing and leak nothing, and the next
// frame has to be exact.
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

struct Subject {
  Scenario scenario;
  FaultSource source;
};

std::string NameOf(const Subject& subject) {
  return std::string(subject.scenario.name) + (subject.source == FaultSource::kDriver ? "Driver" : "Heap");
}

void PrintTo(const Subject& subject, std::ostream* out) { *out << NameOf(subject); }

/// The state of the library during a scenario.
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
  // The table, which exists even while the library isn't running.
  static const QVGGLRendererInterface* Released() {
    const auto* table = &StartLibrary();
    ReleaseLibrary();
    return table;
  }

  const Scenario& scenario_;
  const QVGGLRendererInterface& gl_;
  QVGGLContext* context_ = nullptr;
};

/// The faults in the steps of a run in which something may have failed.
std::string FaultsOf(const Host& host, const Host& expected, FaultMode mode, bool disturbed) {
  std::string faults = host.faults;
  bool failedBefore = false;
  for (size_t i = 0; i < host.steps.size(); ++i) {
    const Step& step = host.steps[i];
    const std::string which = "step " + std::to_string(i);
    if (!disturbed && !step.done) faults += which + " fails; ";
    // A failing call explains the failure of the operation that made it, and of those that need its result.
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

/// Where the program was, for the report after a crash.
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

std::map<FaultSource, int> pointsOf;

class FaultTest : public testing::TestWithParam<Subject> {
 protected:
  void SetUp() override {
    if (scenario_.window && !HostWindow::Available()) GTEST_SKIP() << "no X server";
    // Lines are formatted, since that takes memory, too.
    Logger::Instance().SetSink([](const std::string&, int32_t, intptr_t) {}, 0);
    WatchHeap();
  }
  void TearDown() override { Logger::Instance().SetSink(&DefaultLogSink, 0); }

  /// The expected result: the scenario without a failure.
  void Learn(bool warm) {
    Life life(scenario_);
    if (warm) life.RunUndisturbed();
    expected_ = std::make_unique<Host>(life.RunUndisturbed());
    ASSERT_EQ(FaultsOf(*expected_, *expected_, FaultMode::kOne, false), "") << "with nothing failing";
  }

  /// Runs with the call of that number failing, and returns what is wrong then.
  std::string RunAt(int at, FaultMode mode, bool warm) {
    const Census before = Living();
    std::string faults;
    FaultReport report;
    {
      Life life(scenario_);
      if (warm) life.RunUndisturbed();
      ArmFault(GetParam().source, at, mode);
      const Host host = life.Run(expected_.get());
      report = DisarmFault();
      fired_ = report.failed > 0;
      faults += FaultsOf(host, *expected_, mode, true);
      const std::string next = FaultsOf(life.Run(expected_.get()), *expected_, mode, false);
      if (!next.empty()) faults += "the next frame: " + next;
      if (!life.ClearPools()) faults += "pools can't be cleared; ";
    }
    std::string lost = Difference(before, Living());
    // GL names vanish with their share group.
    if (report.platformFailed && scenario_.begin != Scenario::kWithContext &&
        Living()[kContexts] == before[kContexts]) {
      lost.clear();
    }
    if (!lost.empty()) faults += "left behind: " + lost;
    faults += TakeMappingFaults();
    return faults.empty() ? "" : report.firstCall + ": " + faults;
  }

  /// All calls of the scenario, or a sample that begins at a different one each time.
  void RunAll(FaultMode mode, bool warm) {
    const std::string name =
        NameOf(GetParam()) + (mode == FaultMode::kOne ? ", one" : ", all from one on") + (warm ? ", done before" : "");
    const int every = Number("QVG_FAULT_STRIDE", GetParam().source == FaultSource::kDriver ? 97 : 23);
    const int only = Number("QVG_FAULT_AT", 0);
    static int begins = 0;
    int points = 0, failures = 0;
    std::map<std::string, std::string> found;
    for (int at = only > 0 ? only : 1 + begins++ * 7 % every;; at += every) {
      std::snprintf(place, sizeof place, "%s at %d", name.c_str(), at);
      const std::string faults = RunAt(at, mode, warm);
      if (!fired_) break;
      ++points;
      failures += faults.empty() ? 0 : 1;
      if (!faults.empty()) found[faults] += ' ' + std::to_string(at);
      if (only > 0) break;
    }
    for (const auto& [faults, where] : found) ADD_FAILURE() << name << ": " << faults << "\n  at" << where;
    std::printf("%-48s %4d points, %d failures\n", name.c_str(), points, failures);
    pointsOf[GetParam().source] += points;
  }

  const HeapOwner test_{HeapOwner::kTest};
  const Scenario& scenario_ = GetParam().scenario;
  std::unique_ptr<Host> expected_;
  bool fired_ = false;
};

TEST_P(FaultTest, EveryCallMayFail) {
  for (const bool warm : {false, true}) {
    // When it was done before, the same work makes fewer calls.
    if (warm && scenario_.begin != Scenario::kWithContext) break;
    ASSERT_NO_FATAL_FAILURE(Learn(warm));
    for (const FaultMode mode : {FaultMode::kOne, FaultMode::kFrom}) RunAll(mode, warm);
  }
}

std::vector<Subject> Subjects() {
  std::vector<Subject> subjects;
  for (const Scenario& scenario : Scenarios()) {
    for (const FaultSource source : {FaultSource::kDriver, FaultSource::kHeap}) subjects.push_back({scenario, source});
  }
  return subjects;
}

INSTANTIATE_TEST_SUITE_P(, FaultTest, testing::ValuesIn(Subjects()),
                         [](const auto& subject) { return NameOf(subject.param); });

class Total : public testing::Environment {
 public:
  void TearDown() override {
    for (const auto& [source, points] : pointsOf) {
      std::printf("%d points in all\n", points);
      EXPECT_GT(points, 0) << "nothing could be made to fail";
    }
  }
};
[[maybe_unused]] testing::Environment* const total = testing::AddGlobalTestEnvironment(new Total);

}  // namespace
}  // namespace qvg::test
