// Times the library's frame path beside bare GL programs that do only the necessary, and prints their ratios. Times are
// of one frame; "cpu" counts all threads, those of a software renderer included.

#include <EGL/egl.h>
#include <benchmark/benchmark.h>
#include <glad/gl.h>

#include <algorithm>
#include <barrier>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/bareGL.h"
#include "bench/count.h"
#include "bench/eglContext.h"
#include "bench/library.h"
#include "bench/work.h"

namespace bench {

namespace {

constexpr Size kFull = {1920, 1080};
constexpr Size kSmall = {640, 360};
constexpr Size kTiny = {64, 64};
constexpr int kFramesEach = 4;  // that a thread draws between two meetings

struct Row {
  const char* name;
  const char* text;
  Work work;
  Size size;
  double target;  // ratio to reach; 0: none
  int threads = 1;
};

constexpr Row kRows[] = {
    {"A", "NV12 > RGBA > NV12", Work::kNV12ToNV12, kFull, 1.10},
    {"A'", "I420 > RGBA > I420", Work::kI420ToI420, kFull, 1.10},
    {"B", "NV12 > RGBA bytes", Work::kNV12ToRGBA, kFull, 1.10},
    {"C", "key over background > NV12", Work::kKeyToNV12, kFull, 1.10},
    {"E", "all stages > NV12", Work::kAllToNV12, kFull, 1.10},
    {"D", "RGBA up and down", Work::kRGBAToRGBA, kFull, 1.15},
    {"L26", "40 layers, multiplied", Work::kMultiplyLayers, kFull, 1.2},
    {"L0", "40 layers, normal", Work::kNormalLayers, kFull, 1.2},
    {"A", "NV12 > RGBA > NV12", Work::kNV12ToNV12, kSmall, 0},
    {"B", "NV12 > RGBA bytes", Work::kNV12ToRGBA, kSmall, 0},
    {"D", "RGBA up and down", Work::kRGBAToRGBA, kSmall, 0},
    {"A", "NV12 > RGBA > NV12", Work::kNV12ToNV12, kTiny, 1.5},
    {"T1", "A on 1 thread", Work::kNV12ToNV12, kFull, 0, 1},
    {"T2", "A on 2 threads", Work::kNV12ToNV12, kFull, 0, 2},
    {"T4", "A on 4 threads", Work::kNV12ToNV12, kFull, 0, 4},
};

using MakeRenderer = std::function<std::unique_ptr<Renderer>(Work, Size)>;

/// Threads that draw at the same time, each with a renderer of its own. A frame here is kFramesEach on each.
class Threads : public Renderer {
 public:
  Threads(const Row& row, const MakeRenderer& make) : meeting_(row.threads + 1) {
    PicturesOf(row.size);
    for (int i = 0; i < row.threads; ++i) {
      threads_.emplace_back([this, &row, make] {
        const std::unique_ptr<Renderer> renderer = make(row.work, row.size);
        renderer->MakeCurrent();
        for (;;) {
          meeting_.arrive_and_wait();
          if (stop_) return;
          for (int frame = 0; frame < kFramesEach; ++frame) renderer->Frame(nullptr);
          meeting_.arrive_and_wait();
        }
      });
    }
  }
  ~Threads() override {
    stop_ = true;
    meeting_.arrive_and_wait();
    for (std::thread& thread : threads_) thread.join();
  }
  Threads(const Threads&) = delete;
  Threads& operator=(const Threads&) = delete;

  void MakeCurrent() override {}
  int Frame(std::vector<uint8_t>* /*result*/) override {
    meeting_.arrive_and_wait();
    meeting_.arrive_and_wait();
    return 0;
  }

 private:
  std::barrier<> meeting_;
  bool stop_ = false;
  std::vector<std::thread> threads_;
};

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t half = values.size() / 2;
  return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

struct Times {
  std::vector<double> wall;
  std::vector<double> cpu;
};

/// Keeps the times of each run by the benchmark's name, and prints nothing.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      Times& times = times_[run.run_name.function_name];
      times.wall.push_back(run.GetAdjustedRealTime());
      times.cpu.push_back(run.GetAdjustedCPUTime());
    }
  }
  const Times& Of(const std::string& name) { return times_[name]; }

 private:
  std::map<std::string, Times> times_;
};

void Register(const std::string& name, Renderer& renderer) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [&renderer](benchmark::State& state) {
                                 renderer.MakeCurrent();
                                 for (auto _ : state) benchmark::DoNotOptimize(renderer.Frame(nullptr));
                               })
      ->Unit(benchmark::kMillisecond)
      ->MeasureProcessCPUTime()
      ->UseRealTime();
}

/// A bare program that draws something else would be no measure: ends the program when it does.
void Compare(const Row& row, Renderer& library, Renderer& bare) {
  std::vector<uint8_t> expected;
  std::vector<uint8_t> actual;
  library.MakeCurrent();
  library.Frame(&expected);
  bare.MakeCurrent();
  bare.Frame(&actual);
  Check(expected.size() == actual.size() && !actual.empty(), "Comparing the results");
  double sum = 0;
  int most = 0;
  size_t off = 0;
  for (size_t i = 0; i < actual.size(); ++i) {
    const int difference = std::abs(expected[i] - actual[i]);
    sum += difference;
    most = std::max(most, difference);
    if (difference > 2) ++off;
  }
  const double mean = sum / static_cast<double>(actual.size());
  const double share = static_cast<double>(off) / static_cast<double>(actual.size());
  std::printf("%-4s %-28s %-12s differs by %.4f of 255 in the mean, %d at most, %.3f %% by more than 2\n", row.name,
              row.text, row.size.Text().c_str(), mean, most, share * 100);
  std::fflush(stdout);
  Check(mean < 0.1 && share < 0.005, "Comparing with the bare program's picture");
}

class Bench {
 public:
  Bench(const QVGGLRendererInterface& table, EGLDisplay display, std::FILE* file)
      : file_(file),
        makeLibrary_([&table](Work work, Size size) { return MakeLibraryRenderer(table, work, size); }),
        makeBare_([display](Work work, Size size) { return MakeBareRenderer(MakeEglContext(display), work, size); }) {}

  /// Both renderers live for this row only: the library has no more contexts at work than the row needs.
  void Measure(const Row& row) {
    const bool threads = row.name[0] == 'T';
    const auto make = [&](const MakeRenderer& maker) -> std::unique_ptr<Renderer> {
      if (threads) return std::make_unique<Threads>(row, maker);
      return maker(row.work, row.size);
    };
    const std::unique_ptr<Renderer> library = make(makeLibrary_);
    const std::unique_ptr<Renderer> bare = make(makeBare_);
    if (!threads) Compare(row, *library, *bare);
    benchmark::ClearRegisteredBenchmarks();
    Register("library", *library);
    Register("bare", *bare);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector, nullptr, ".");
    const int frames = threads ? row.threads * kFramesEach : 1;
    Result result = {&row, {}};
    for (const char* name : {"library", "bare"}) {
      const Times& times = collector.Of(name);
      result.times.push_back(Median(times.wall) / frames);
      result.times.push_back(Median(times.cpu) / frames);
    }
    results_.push_back(result);
  }

  void Print() const {
    std::printf("\n%-46s %19s %19s %13s %7s\n", "milliseconds a frame, medians", "library", "bare GL", "ratio", "");
    std::printf("%-46s %9s %9s %9s %9s %6s %6s %7s\n", "", "time", "cpu", "time", "cpu", "time", "cpu", "at most");
    for (const auto& [row, t] : results_) {
      const std::string name = std::string(row->name) + "  " + row->text + ", " + row->size.Text();
      std::printf("%-46s %9.3f %9.3f %9.3f %9.3f %6.2f %6.2f", name.c_str(), t[0], t[1], t[2], t[3], t[0] / t[2],
                  t[1] / t[3]);
      if (row->target > 0) std::printf(" %7.2f", row->target);
      std::printf("\n");
      if (file_ != nullptr) {
        std::fprintf(file_, "%s\t%s\t%s\t%.4f\t%.4f\t%.4f\t%.4f\t%.2f\n", row->name, row->text,
                     row->size.Text().c_str(), t[0], t[1], t[2], t[3], row->target);
      }
    }
    _PrintScaling();
  }

 private:
  struct Result {
    const Row* row;
    std::vector<double> times;  // library: wall, cpu; bare: wall, cpu
  };

  void _PrintScaling() const {
    const Result* one = nullptr;
    for (const Result& result : results_) {
      if (result.row->name[0] != 'T') continue;
      if (result.row->threads == 1) one = &result;
      std::printf("%s: %.1f frames a second, bare GL %.1f", result.row->text, 1000 / result.times[0],
                  1000 / result.times[2]);
      if (one != nullptr) {
        std::printf("; %.2f and %.2f times one thread", one->times[0] / result.times[0],
                    one->times[2] / result.times[2]);
      }
      std::printf("\n");
    }
  }

  std::FILE* file_;
  MakeRenderer makeLibrary_;
  MakeRenderer makeBare_;
  std::vector<Result> results_;
};

std::string Name(const Row& row) {
  return std::string(row.name) + "/" + std::to_string(row.size.width) + "x" + std::to_string(row.size.height);
}

int Time(std::FILE* file) {
  const QVGGLRendererInterface* table = StartLibrary();
  QVGGLContext* context = table->GetSharedContext();
  if (!table->MakeCurrentContext(context, nullptr) || gladLoadGL(eglGetProcAddress) == 0) {
    std::fprintf(stderr, "no GL context\n");
    return 1;
  }
  const EGLDisplay display = eglGetCurrentDisplay();
  const auto text = [](GLenum name) { return reinterpret_cast<const char*>(glGetString(name)); };
  std::printf("%s | %s\n", text(GL_RENDERER), text(GL_VERSION));
  if (file != nullptr) std::fprintf(file, "driver\t%s\t%s\n", text(GL_RENDERER), text(GL_VERSION));
  table->ReleaseSharedContext(&context);
  {
    Bench bench(*table, display, file);
    const std::string filter = benchmark::GetBenchmarkFilter();
    const std::regex wanted(filter.empty() || filter == "all" ? "." : filter);
    for (const Row& row : kRows) {
      if (std::regex_search(Name(row), wanted)) bench.Measure(row);
    }
    bench.Print();
  }
  QVG_ReleaseGLRendererInterface(&table);
  return 0;
}

void Usage() {
  std::printf(
      "qvg_bench [--count] [--table=FILE] [options of Google Benchmark]\n"
      "Times the works below through the library and through bare GL programs, or with --count counts GL calls and\n"
      "allocations of single operations. FILE receives the rows, separated by tabs. --benchmark_filter=REGEX takes\n"
      "these names:");
  for (const Row& row : kRows) std::printf(" %s", Name(row).c_str());
  std::printf("\n\n");
}

int Main(int argc, char** argv) {
  bool count = false;
  std::FILE* table = nullptr;
  std::vector<char*> arguments = {argv[0]};
  std::string defaults[] = {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=11",
                            "--benchmark_min_time=0.2"};
  for (std::string& option : defaults) arguments.push_back(option.data());
  // Options that are given come later and win.
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    const std::string_view tableOption = "--table=";
    if (argument == "--count") {
      count = true;
    } else if (argument.starts_with(tableOption)) {
      table = std::fopen(argument.substr(tableOption.size()).data(), "w");
      Check(table != nullptr, "Opening the table");
    } else {
      arguments.push_back(argv[i]);
    }
    if (argument == "--help") Usage();
  }
  int rest = static_cast<int>(arguments.size());
  benchmark::Initialize(&rest, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(rest, arguments.data())) return 2;
  const int status = count ? CountOperations(table) : Time(table);
  if (table != nullptr) std::fclose(table);
  return status;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
  try {
    return bench::Main(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
