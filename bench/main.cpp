// Times the library's frame path beside a bare GL program that does only the necessary, in one run and interleaved, and
// prints their ratios. Times are of one frame; "cpu" counts all threads, those of a software renderer included.

#include <EGL/egl.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bareGL.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace bench {

namespace {

constexpr Size kSizes[] = {{1920, 1080}, {640, 360}};

size_t Pixels(Size size) { return static_cast<size_t>(size.width) * static_cast<size_t>(size.height); }

std::vector<uint8_t> MakeFrame(size_t bytes) {
  std::vector<uint8_t> frame(bytes);
  uint32_t state = 1;
  for (uint8_t& byte : frame) byte = static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
  return frame;
}

/// The same works through the function table.
class Library {
 public:
  Library(const QVGGLRendererInterface& table, Size size) : table_(table), size_(size) {}

  int NV12ToNV12(std::vector<uint8_t>& frame) {
    QVGPixelBuffer source = _Describe(QVG_FORMAT_NV12, size_.width, frame);
    source.plane[1] = frame.data() + Pixels(size_);
    source.stride[1] = size_.width;
    return _Run(source, [&](QVGTexture* texture, QVGPixelBuffer* out) {
      return table_.TextureToNV12PixelBuffer(texture, out, false);
    });
  }

  int NV12ToRGBA(std::vector<uint8_t>& frame) {
    QVGPixelBuffer source = _Describe(QVG_FORMAT_NV12, size_.width, frame);
    source.plane[1] = frame.data() + Pixels(size_);
    source.stride[1] = size_.width;
    return _Run(source, [&](QVGTexture* texture, QVGPixelBuffer* out) {
      return table_.TextureToRGBAPixelBuffer(texture, out, false);
    });
  }

  int RGBAToRGBA(std::vector<uint8_t>& frame) {
    return _Run(_Describe(QVG_FORMAT_RGBA, size_.width * 4, frame), [&](QVGTexture* texture, QVGPixelBuffer* out) {
      return table_.TextureToRGBAPixelBuffer(texture, out, false);
    });
  }

 private:
  QVGPixelBuffer _Describe(int32_t format, int32_t stride, std::vector<uint8_t>& frame) const {
    QVGPixelBuffer buffer = {};
    buffer.plane[0] = frame.data();
    buffer.stride[0] = stride;
    buffer.width = size_.width;
    buffer.height = size_.height;
    buffer.format = format;
    return buffer;
  }

  template <class Read>
  int _Run(const QVGPixelBuffer& source, Read read) {
    QVGTexture* texture = table_.UploadPixelBufferToNewTexture(&source, false, false, {});
    QVGPixelBuffer out = {};
    if (texture == nullptr || !read(texture, &out)) {
      std::fprintf(stderr, "a frame failed\n");
      std::exit(1);
    }
    const int seen = out.plane[0][0] + out.plane[0][static_cast<size_t>(out.stride[0]) * 2 - 1];
    QVGPixelBuffer* handle = &out;
    table_.ReleasePixelBuffer(&handle);
    table_.ReleaseTexture(&texture);
    return seen;
  }

  const QVGGLRendererInterface& table_;
  Size size_;
};

/// Prints the rows, and remembers the medians.
class Medians : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") {
        real_[run.run_name.function_name] = run.GetAdjustedRealTime();
        cpu_[run.run_name.function_name] = run.GetAdjustedCPUTime();
      }
    }
  }

  void PrintRatios() const {
    std::printf("\n%-28s %10s %10s\n", "library / bare GL (medians)", "time", "cpu");
    for (const auto& [name, time] : real_) {
      const std::string suffix = "/library";
      if (!name.ends_with(suffix)) continue;
      const std::string work = name.substr(0, name.size() - suffix.size());
      const auto bare = real_.find(work + "/bare");
      if (bare == real_.end()) continue;
      std::printf("%-28s %10.2f %10.2f\n", work.c_str(), time / bare->second, cpu_.at(name) / cpu_.at(work + "/bare"));
    }
  }

 private:
  std::map<std::string, double> real_;
  std::map<std::string, double> cpu_;
};

void Register(const std::string& name, std::function<int()> frame) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [frame](benchmark::State& state) {
                                 for (auto _ : state) benchmark::DoNotOptimize(frame());
                               })
      ->Unit(benchmark::kMillisecond)
      ->MeasureProcessCPUTime()
      ->UseRealTime();
}

int Main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  std::string defaults[] = {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=7",
                            "--benchmark_min_time=0.15", "--benchmark_report_aggregates_only=true",
                            "--benchmark_color=false"};
  // Given options come later and win.
  for (std::string& option : defaults) arguments.insert(arguments.begin() + 1, option.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

  const QVGGLRendererInterface* table = QVG_GetGLRendererInterface(nullptr);
  QVGGLContext* context = table->GetSharedContext();
  if (!table->MakeCurrentContext(context, nullptr) || gladLoadGL(eglGetProcAddress) == 0) {
    std::fprintf(stderr, "no GL context\n");
    return 1;
  }
  std::printf("%s | %s\n", reinterpret_cast<const char*>(glGetString(GL_RENDERER)),
              reinterpret_cast<const char*>(glGetString(GL_VERSION)));
  {
    std::vector<std::unique_ptr<BareGL>> bareGL;
    std::vector<std::unique_ptr<Library>> libraries;
    std::vector<std::unique_ptr<std::vector<uint8_t>>> frames;
    for (const Size size : kSizes) {
      BareGL* bare = bareGL.emplace_back(std::make_unique<BareGL>(size)).get();
      Library* library = libraries.emplace_back(std::make_unique<Library>(*table, size)).get();
      auto* nv12 = frames.emplace_back(std::make_unique<std::vector<uint8_t>>(MakeFrame(Pixels(size) * 3 / 2))).get();
      auto* rgba = frames.emplace_back(std::make_unique<std::vector<uint8_t>>(MakeFrame(Pixels(size) * 4))).get();
      const std::string end = "/" + std::to_string(size.width) + "x" + std::to_string(size.height);
      Register("NV12-RGBA-NV12" + end + "/library", [=] { return library->NV12ToNV12(*nv12); });
      Register("NV12-RGBA-NV12" + end + "/bare", [=] { return bare->NV12ToNV12(*nv12); });
      Register("NV12-RGBA" + end + "/library", [=] { return library->NV12ToRGBA(*nv12); });
      Register("NV12-RGBA" + end + "/bare", [=] { return bare->NV12ToRGBA(*nv12); });
      Register("RGBA-RGBA" + end + "/library", [=] { return library->RGBAToRGBA(*rgba); });
      Register("RGBA-RGBA" + end + "/bare", [=] { return bare->RGBAToRGBA(*rgba); });
    }
    Medians reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
  }
  table->ReleaseSharedContext(&context);
  QVG_ReleaseGLRendererInterface(&table);
  return 0;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) { return bench::Main(argc, argv); }
