#include "selftest/timing.h"

#include <bench/bareGL.h>
#include <bench/library.h>
#include <bench/work.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>

#include <qvGLRenderer/qvGLRenderer.hpp>

namespace qvgtool::selftest {
namespace {

constexpr bench::Size kSize = {1920, 1080};
constexpr int kFewest = 3;
constexpr double kBudget = 1000;  // Milliseconds per row.

constexpr struct {
  const char *name, *title;
  bench::Work work;
} kRows[] = {{"nv12", "NV12 up, NV12 down", bench::Work::kNV12ToNV12},
             {"key", "NV12 up, keyed over a background, NV12 down", bench::Work::kKeyToNV12},
             {"layers", "40 layers drawn, multiplied", bench::Work::kMultiplyLayers}};

// A context as the library's own, on its display: the bare program works under the same conditions.
class SharedContext : public bench::BareContext {
 public:
  SharedContext() : context_(qvg::Checked(qvg::Context::New(), "GetSharedContext")) {}
  void MakeCurrent() override {
    qvg::Checked(qvg::Table().MakeCurrentContext(context_.get(), nullptr), "MakeCurrentContext");
  }

 private:
  qvg::Context context_;
};

double Milliseconds(bench::Renderer& renderer) {
  renderer.MakeCurrent();
  const auto begin = std::chrono::steady_clock::now();
  renderer.Frame(nullptr);
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

bool SamePixels(bench::Renderer& library, bench::Renderer& bare) {
  std::vector<uint8_t> expected, actual;
  library.MakeCurrent();
  library.Frame(&expected);
  bare.MakeCurrent();
  bare.Frame(&actual);
  double sum = 0;
  for (size_t i = 0; i < actual.size() && expected.size() == actual.size(); ++i) {
    sum += std::abs(expected[i] - actual[i]);
  }
  return !actual.empty() && expected.size() == actual.size() && sum / static_cast<double>(actual.size()) < 0.1;
}

// Alternates, so that other load on the machine affects both.
void Measure(bench::Renderer& library, bench::Renderer& bare, TimingResult& result) {
  std::vector<double> libraryTimes, bareTimes;
  double spent = 0;
  while (result.frames < kFewest || spent < kBudget) {
    libraryTimes.push_back(Milliseconds(library));
    bareTimes.push_back(Milliseconds(bare));
    spent += libraryTimes.back() + bareTimes.back();
    ++result.frames;
  }
  result.library = Median(libraryTimes);
  result.bare = Median(bareTimes);
}

}  // namespace

std::vector<TimingResult> MeasureTimes(const QVGGLRendererInterface& table,
                                       const std::function<void(const TimingResult&)>& tell) {
  QVGGLContext* const before = table.GetCurrentContext();
  bench::StartLibrary();  // It is running; this gives it the decoder for backgrounds.
  std::vector<TimingResult> results;
  for (const auto& [name, title, work] : kRows) {
    TimingResult& result = results.emplace_back();
    result.name = name;
    result.title = title;
    result.size = kSize.Text();
    try {
      const auto library = bench::MakeLibraryRenderer(table, work, kSize);
      const auto bare = bench::MakeBareRenderer(std::make_unique<SharedContext>(), work, kSize);
      result.samePixels = SamePixels(*library, *bare);
      Measure(*library, *bare, result);
    } catch (const std::exception& error) {
      result.error = error.what();
    }
    tell(result);
  }
  table.MakeCurrentContext(before, nullptr);
  return results;
}

}  // namespace qvgtool::selftest
