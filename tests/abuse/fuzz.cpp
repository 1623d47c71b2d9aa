// Abuses the library until a number of calls or a time is over; a fault ends the program, and a sanitizer's finding
// too.
#include <glad/gl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#include "abuse/checks.h"
#include "abuse/fuzzer.h"
#include "abuse/hostile.h"
#include "support/frames.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

/// Images for effects, and whether each that was handed out came back.
struct HostImages {
  static constexpr size_t kShown = 2;  ///< Paths in the fuzzer whose image can be shown. The library keeps them.
  static QVGHostImage* Decode(const char* path) {
    int width = 0, height = 0;
    if (std::sscanf(path, "%dx%d", &width, &height) != 2) return nullptr;
    ++out;
    // What can't be shown has a byte at most.
    const bool shown = width > 0 && height > 0 && width <= 16384 && height <= 16384;
    const bool empty = std::string_view(path).ends_with(' ');
    return new QVGHostImage{empty ? nullptr : new uint8_t[shown ? size_t{4} * width * height : 1](), {}, width, height};
  }
  static void Free(const char* /*path*/, QVGHostImage* image) {
    --out;
    delete[] image->pixels;
    delete image;
  }
  static inline std::atomic<int> out = 0;
};

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
  round.parameters = random.Next();
}

// With all handles given back and no context that drew, only the images that effects show are there.
void DemandBalance(Round& round) {
  const std::vector<size_t> left = CountsWhenIdle(round.gl, round.elsewhere);
  Demand(!left.empty() && glGetError() == 0, "the context can't be made current, or an error is pending", round.seed);
  Demand(left[kTextures] <= HostImages::kShown, "textures are left", round.seed);
  Demand(left[kBuffers] == 0 && left[kRenderBuffers] == 0, "buffers are left", round.seed);
}

/// From a start of the library to its release.
/// @param calls of each thread. @param handlesAreLeft the library is released while some are held.
void RunRound(SlotCounts& counts, uint64_t seed, int64_t threads, int64_t calls, Clock::time_point end,
              bool handlesAreLeft) {
  static const QVGConfig config = {{}, HostImages::Decode, HostImages::Free};
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
    hosts.emplace_back([&, i] { Abuse(round, seed * 64 + static_cast<uint64_t>(i), calls, end, handlesAreLeft); });
  for (std::thread& host : hosts) host.join();
  round.handedOver.GiveBackAll(*table);
  if (!handlesAreLeft) DemandBalance(round);
  table->ReleaseSharedContext(&round.elsewhere);
  QVG_ReleaseGLRendererInterface(&table);
  Demand(HostImages::out == 0, "an image was not taken back", seed);
}

int Main(int argc, char** argv) {
  auto options = Options(argc, argv, {{"calls", INT64_MAX}, {"seed", 1}, {"threads", 1}, {"seconds", 86400}});
  // What is drawn is small: threads of the driver would only wait.
  setenv("LP_NUM_THREADS", "0", 0);
  constexpr int64_t kCallsOfARound = 60000;
  const int64_t threads = std::max<int64_t>(1, options["threads"]), most = options["calls"];
  const Clock::time_point end = Clock::now() + std::chrono::seconds(options["seconds"]);
  SlotCounts counts;
  for (int64_t i = 0; counts.all < most && Clock::now() < end; ++i) {
    RunRound(counts, static_cast<uint64_t>(options["seed"] + i), threads, std::min(most, kCallsOfARound) / threads, end,
             i % 3 == 2);
    std::fprintf(stderr, "\r%lld calls", static_cast<long long>(counts.all));
  }
  std::fprintf(stderr, "\r%-30s %12s %12s\n", "slot", "calls", "successes");
  for (int i = 0; i < kSlotCount; ++i) {
    std::fprintf(stderr, "%2d %-27s %12lld %12lld\n", i, NameOfSlot(i), static_cast<long long>(counts.calls[size_t(i)]),
                 static_cast<long long>(counts.successes[size_t(i)]));
  }
  std::fprintf(stderr, "no fault\n");
  return 0;
}

}  // namespace
}  // namespace qvg::test

int main(int argc, char** argv) { return qvg::test::Main(argc, argv); }
