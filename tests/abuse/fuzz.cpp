// Abuses the library until a number of calls or a time is over; a fault ends the program, and a sanitizer's finding
// too.
#include <glad/gl.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

#include "abuse/checks.h"
#include "abuse/fuzzer.h"
#include "abuse/options.h"
#include "support/frames.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

using Clock = std::chrono::steady_clock;

struct Plan {
  int64_t calls = 0;  ///< A round and thread.
  uint64_t seed = 0;
  int threads = 0;
  Clock::time_point end = {};
  bool handlesAreLeft = false;  ///< The library is released while some are held.
};

void Demand(bool holds, const char* what, uint64_t seed) {
  if (holds) return;
  std::fprintf(stderr, "FAULT: %s (seed %llu)\n", what, static_cast<unsigned long long>(seed));
  std::abort();
}

void DrawFromFew(Round& round) {
  Hostile random(round.seed);
  constexpr int32_t kBlends[] = {-1, 0, 1, 6, 7, 8, 10, 11, 16, 19, 26, 27, 30, 31, 32, 33, 34, 35};
  for (int32_t& blend : round.blends) blend = random.Pick(kBlends);
  for (int32_t& format : round.formats) format = random.Pick(Formats()).code;
  round.matte = random.Below(5);
  round.order = random.Below(4);
  // The switch of the colours always, others by chance.
  round.parameters = (random.Next() & random.Next()) | 1 << 8;
}

void EmptyTheExchange(Round& round) {
  for (QVGFrameBuffer*& frameBuffer : round.frameBuffers) round.gl.DestroyFrameBuffer(&frameBuffer);
  for (QVGTexture*& texture : round.textures) round.gl.ReleaseTexture(&texture);
  for (QVGEffect*& effect : round.effects) round.gl.DestroyEffect(&effect);
  for (QVGPixelBuffer& read : round.reads) {
    QVGPixelBuffer* pointer = &read;
    round.gl.ReleasePixelBuffer(&pointer);
  }
}

// With all handles given back and no context that drew, only decoded images are there.
void DemandBalance(Round& round) {
  const std::vector<size_t> left = CountsWhenIdle(round.gl, round.elsewhere);
  Demand(!left.empty() && glGetError() == 0, "the context can't be made current, or an error is pending", round.seed);
  const size_t images = static_cast<size_t>(HostImages::valid);
  const bool balanced = left[kTextures] <= images && left[kBuffers] == 0 && left[kRenderBuffers] == 0;
  if (!balanced) {
    std::fprintf(stderr, "left: %zu textures (%zu images), %zu buffers, %zu render buffers\n", left[kTextures], images,
                 left[kBuffers], left[kRenderBuffers]);
  }
  Demand(balanced, "GL names are left", round.seed);
}

// From a start of the library to its release.
SlotCounts RunRound(const Plan& plan) {
  static const auto config = [] {
    auto made = std::make_unique<QVGConfig>();
    made->decodeImage = HostImages::Decode;
    made->freeImage = HostImages::Free;
    return made;
  }();
  HostImages::valid = 0;
  const QVGGLRendererInterface* table = QVG_GetGLRendererInterface(plan.seed % 8 == 7 ? nullptr : config.get());
  Round round{*table, plan.seed, 0, table->GetSharedContext()};
  Demand(table->MakeCurrentContext(round.elsewhere, nullptr), "no context can be made current", plan.seed);
  static const bool loaded =
      gladLoadGL([](const char* name) { return reinterpret_cast<GLADapiproc>(GLFunction(name)); }) != 0;
  Demand(loaded, "GL can't be loaded", plan.seed);
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &round.maxSize);
  DrawFromFew(round);
  std::vector<std::thread> threads;
  std::vector<SlotCounts> counts(static_cast<size_t>(plan.threads));
  for (size_t i = 0; i < counts.size(); ++i) {
    threads.emplace_back([&, i] {
      Fuzzer fuzzer(round, plan.seed * 64 + i);
      fuzzer.Run(plan.calls, plan.end);
      if (plan.handlesAreLeft) fuzzer.LeaveForRelease();
      counts[i] = fuzzer.Counts();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EmptyTheExchange(round);
  if (!plan.handlesAreLeft) DemandBalance(round);
  table->ReleaseSharedContext(&round.elsewhere);
  QVG_ReleaseGLRendererInterface(&table);
  Demand(HostImages::out == 0, "an image was not taken back", plan.seed);
  for (const SlotCounts& more : counts) counts[0].Add(&more == &counts[0] ? SlotCounts() : more);
  return counts[0];
}

int Main(int argc, char** argv) {
  auto options = ReadOptions(argc, argv, {{"calls", 200000}, {"seed", 1}, {"threads", 1}, {"seconds", 0}});
  // What is drawn is small: threads of the driver would only wait.
  setenv("LP_NUM_THREADS", "0", 0);
  std::FILE* const report = KeepReportOffStandardOutput("/dev/null");
  constexpr int64_t kCallsOfARound = 500000;
  const int64_t threads = std::max<int64_t>(1, options["threads"]);
  const bool timed = options["seconds"] > 0;
  const Clock::time_point start = Clock::now();
  const auto seconds = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
  const Clock::time_point end = timed ? start + std::chrono::seconds(options["seconds"]) : Clock::time_point::max();
  SlotCounts all;
  for (int64_t round = 0;; ++round) {
    const int64_t done = all.AllCalls();
    if (timed ? Clock::now() >= end : done >= options["calls"]) break;
    const int64_t calls = timed ? kCallsOfARound / 8 : std::min(kCallsOfARound, options["calls"] - done);
    all.Add(RunRound({(calls + threads - 1) / threads, static_cast<uint64_t>(options["seed"] + round),
                      static_cast<int>(threads), end, round % 3 == 2}));
    std::fprintf(report, "\r%lld calls", static_cast<long long>(all.AllCalls()));
  }
  std::fprintf(report, "\r%-30s %12s %12s\n", "slot", "calls", "successes");
  for (int i = 0; i < kSlotCount; ++i) {
    std::fprintf(report, "%2d %-27s %12lld %12lld\n", i, NameOfSlot(i), static_cast<long long>(all.calls[size_t(i)]),
                 static_cast<long long>(all.successes[size_t(i)]));
  }
  std::fprintf(report, "%lld calls in %.1f s, %.0f calls/s, no fault\n", static_cast<long long>(all.AllCalls()),
               seconds(), static_cast<double>(all.AllCalls()) / seconds());
  return 0;
}

}  // namespace
}  // namespace qvg::test

int main(int argc, char** argv) { return qvg::test::Main(argc, argv); }
