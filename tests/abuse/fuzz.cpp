// Abuses the library until a number of calls or a time is over; a fault ends the program, and a sanitizer's finding
// too.
#include <glad/gl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "abuse/checks.h"
#include "abuse/fuzzer.h"
#include "abuse/hostile.h"
#include "abuse/options.h"
#include "support/frames.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

using Clock = std::chrono::steady_clock;

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
  round.parameters = random.Next() & random.Next();
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

/// From a start of the library to its release.
/// @param calls of each thread. @param handlesAreLeft the library is released while some are held.
void RunRound(SlotCounts& counts, uint64_t seed, int64_t threads, int64_t calls, Clock::time_point end,
              bool handlesAreLeft) {
  static const QVGConfig config = {{}, HostImages::Decode, HostImages::Free};
  HostImages::valid = 0;
  const QVGGLRendererInterface* table = QVG_GetGLRendererInterface(seed % 8 == 7 ? nullptr : &config);
  Round round{*table, counts, seed, 0, table->GetSharedContext()};
  Demand(table->MakeCurrentContext(round.elsewhere, nullptr), "no context can be made current", seed);
  static const bool loaded =
      gladLoadGL([](const char* name) { return reinterpret_cast<GLADapiproc>(GLFunction(name)); }) != 0;
  Demand(loaded, "GL can't be loaded", seed);
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &round.maxSize);
  DrawFromFew(round);
  std::vector<std::thread> hosts;
  for (int64_t i = 0; i < threads; ++i)
    hosts.emplace_back([&, i] { Fuzz(round, seed * 64 + static_cast<uint64_t>(i), calls, end, handlesAreLeft); });
  for (std::thread& host : hosts) host.join();
  round.handedOver.GiveBackAll(*table);
  if (!handlesAreLeft) DemandBalance(round);
  table->ReleaseSharedContext(&round.elsewhere);
  QVG_ReleaseGLRendererInterface(&table);
  Demand(HostImages::out == 0, "an image was not taken back", seed);
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
  const Clock::time_point end = timed ? start + std::chrono::seconds(options["seconds"]) : Clock::time_point::max();
  SlotCounts counts;
  for (int64_t round = 0; timed ? Clock::now() < end : counts.all < options["calls"]; ++round) {
    const int64_t calls = timed ? kCallsOfARound / 8 : std::min(kCallsOfARound, options["calls"] - counts.all);
    RunRound(counts, static_cast<uint64_t>(options["seed"] + round), threads, (calls + threads - 1) / threads, end,
             round % 3 == 2);
    std::fprintf(report, "\r%lld calls", static_cast<long long>(counts.all));
  }
  std::fprintf(report, "\r%-30s %12s %12s\n", "slot", "calls", "successes");
  for (int i = 0; i < kSlotCount; ++i) {
    std::fprintf(report, "%2d %-27s %12lld %12lld\n", i, NameOfSlot(i), static_cast<long long>(counts.calls[size_t(i)]),
                 static_cast<long long>(counts.successes[size_t(i)]));
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::fprintf(report, "%lld calls in %.1f s, %.0f calls/s, no fault\n", static_cast<long long>(counts.all), seconds,
               static_cast<double>(counts.all) / seconds);
  return 0;
}

}  // namespace
}  // namespace qvg::test

int main(int argc, char** argv) { return qvg::test::Main(argc, argv); }
