// Abuses the library for a number of calls or a time; a fault ends the program, and so does a finding of a sanitizer.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "abuse/checks.h"
#include "abuse/fuzzer.h"

using namespace qvg::test;
using Clock = std::chrono::steady_clock;

int main(int argc, char** argv) {
  auto options = Options(argc, argv, {{"calls", INT64_MAX}, {"seed", 1}, {"threads", 1}, {"seconds", 86400}});
  // Pictures are small: the driver's threads would only wait.
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
