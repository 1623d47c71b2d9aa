// Works like a busy host for a long time: what the process holds must stay as it is after the first thousand frames.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include "abuse/checks.h"
#include "abuse/options.h"
#include "support/frames.h"
#include "support/platform.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kThreads = 4;
constexpr int kCycle = 60;  ///< Frames after which a thread does the same again: so short that a warm-up sees it all.
constexpr int kContextLife = 5 * kCycle;
constexpr int kVerified = 100;

struct Shared {
  const QVGGLRendererInterface& gl;
  std::mutex gate = {};              ///< Held: no thread begins another frame.
  std::shared_mutex rendering = {};  ///< Shared: a frame is at work.
  std::atomic<bool> stop = false;
  std::atomic<int64_t> frames = 0;
  std::atomic<int64_t> verified = 0;
  std::atomic<const char*> fault = "";

  void Demand(bool holds, const char* what) {
    if (!holds) fault = what;
  }
};

/// One thread of the host, its context and its window.
class Worker {
 public:
  Worker(Shared& shared, int number)
      : shared_(shared),
        gl_(shared.gl),
        number_(number),
        window_(48, 36, 60 * number),
        context_(gl_.GetSharedContext()) {
    shared_.Demand(gl_.MakeCurrentContext(context_, nullptr), "a context can't be made current");
    constexpr int kSizes[][2] = {{64, 48}, {160, 120}, {34, 21}, {96, 128}};
    for (const auto& [width, height] : kSizes) {
      for (const Format& format : Formats()) {
        frames_.push_back(MakeFrame(format.code, width, height, number_));
        frames_.back().planes.clear();
      }
    }
  }
  ~Worker() {
    gl_.DestroyWndDrawer(&drawer_);
    gl_.ReleaseSharedContext(&context_);
  }

  void Run() {
    for (int64_t i = 0; !shared_.stop; ++i, ++shared_.frames) {
      { const std::lock_guard turn(shared_.gate); }
      const std::shared_lock frame(shared_.rendering);
      _Frame(static_cast<int>(i % kCycle));
      if (i % 5 == 0) _Show();
      if (i % kVerified == 0) {
        const char* const fault = PictureFault(gl_, static_cast<uint32_t>(i));
        shared_.Demand(*fault == '\0', fault);
        ++shared_.verified;
      }
      gl_.ReleaseTexture(&picture_);
      if (i % kCycle == kCycle - 1) _ChangeContext(i % kContextLife == kContextLife - 1);
    }
  }

 private:
  void _Frame(int i) {
    static constexpr int32_t kBlends[] = {QVG_BLEND_NONE, QVG_BLEND_NORMAL, QVG_BLEND_MULTIPLY, QVG_BLEND_LUMINOSITY,
                                          QVG_BLEND_MASK_LUMA};
    const auto place = static_cast<size_t>((i + number_ * 15) % kCycle);
    QVGTexture* source = gl_.UploadPixelBufferToNewTexture(&frames_[place].buffer, i % 2 == 0, false, {});
    if (i % 3 == 0) _ApplyEffect(source, i);
    picture_ = gl_.AcquireTexture(100, 80);
    QVGFrameBuffer* target = gl_.CreateFrameBuffer(100, 80, false, false);
    QVGDrawTextureParams params = DefaultParams();
    params.blendType = kBlends[i % 5];
    params.opacity = 0.75;
    params.rotation[2] = i;
    const double black[4] = {0, 0, 0, 1};
    shared_.Demand(gl_.BindTextureToFrameBuffer(target, picture_) && gl_.ClearFrameBuffer(target, black) &&
                       gl_.DrawTexture(source, target, &params),
                   "a frame could not be drawn");
    ReadBack read;
    QVGPixelBuffer* const out = &read.buffer;
    shared_.Demand(i % 4 == 0   ? gl_.TextureToNV12PixelBuffer(picture_, out, false)
                   : i % 4 == 1 ? gl_.TextureToYUV420PixelBuffer(source, false, false, out)
                   : i % 4 == 2 ? gl_.TextureToRGBAPixelBuffer(picture_, out, true)
                                : gl_.TextureToBGRAPixelBuffer(source, out, false),
                   "a frame could not be read back");
    gl_.DestroyFrameBuffer(&target);
    gl_.ReleaseTexture(&source);
  }

  void _ApplyEffect(QVGTexture*& texture, int i) {
    QVGEffect* effect = gl_.CreateEffect("general_eff");
    const auto set = [&](const char* key, int64_t number) {
      const QVGParamValue value = {QVG_PARAM_INTEGER, {.integer = number}};
      gl_.SetEffectParameter(effect, key, &value);
    };
    if (i % 2 == 0) set("blur", 4), set("enable_beauty", 1);
    set("bright", i % 20), set("enable_color", 1);
    QVGTexture* const output = gl_.ApplyEffect(effect, texture);
    shared_.Demand(output != nullptr, "an effect gave nothing");
    gl_.DestroyEffect(&effect);
    gl_.ReleaseTexture(&texture);
    texture = output;
  }

  void _Show() {
    if (window_.handle() == nullptr) return;
    if (drawer_ == nullptr) drawer_ = gl_.CreateWndDrawer(window_.handle());
    gl_.Finish();
    shared_.Demand(gl_.MakeCurrentContext(gl_.GetWndDrawerHandle(drawer_), nullptr) &&
                       gl_.SetWndDrawerSize(drawer_, 48, 36) && gl_.DrawTextureToWnd(drawer_, picture_) &&
                       gl_.MakeCurrentContext(context_, nullptr),
                   "a frame could not be shown");
  }

  // Most come back from others that gave them back; now and then one ends, and the window's with it.
  void _ChangeContext(bool ends) {
    if (ends) gl_.DestroyWndDrawer(&drawer_);
    if (ends) gl_.DestroySharedContext(&context_);
    gl_.ReleaseSharedContext(&context_);
    context_ = gl_.GetSharedContext();
    shared_.Demand(gl_.MakeCurrentContext(context_, nullptr), "another context can't be made current");
  }

  Shared& shared_;
  const QVGGLRendererInterface& gl_;
  const int number_;
  std::vector<Frame> frames_;  // a cycle of them: every size in every format
  HostWindow window_;
  QVGGLContext* context_;
  QVGWndDrawer* drawer_ = nullptr;
  QVGTexture* picture_ = nullptr;
};

/// What the process holds, and how much more of it than at first is no growth: pools need long to have enough for what
/// all threads may ask for at once, and give all of it back in the end.
constexpr struct {
  const char* title;
  int64_t slack;
} kColumns[] = {{"heap KiB", 1024}, {"resident KiB", 32768}, {"threads", 0},  {"descriptors", 0},
                {"textures", 32},   {"buffers", 16},         {"programs", 40}};
using Sample = std::array<int64_t, std::size(kColumns)>;

Sample Measure() {
  const auto entries = [](const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
  };
  const struct mallinfo2 heap = mallinfo2();
  int64_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  const std::vector<size_t> names = NameCounts();
  return {static_cast<int64_t>(heap.uordblks + heap.hblkhd) / 1024,
          pages * sysconf(_SC_PAGESIZE) / 1024,
          entries("/proc/self/task"),
          entries("/proc/self/fd"),
          static_cast<int64_t>(names[kTextures]),
          static_cast<int64_t>(names[kBuffers]),
          static_cast<int64_t>(names[kPrograms])};
}

// Whether even the least of the last third is more than the most of the first: what only goes up and down is not.
bool Grows(const std::vector<Sample>& samples, size_t column) {
  const auto third = static_cast<std::ptrdiff_t>(std::max<size_t>(1, samples.size() / 3));
  const auto value = [column](const Sample& sample) { return sample[column]; };
  const Sample& most = *std::ranges::max_element(samples.begin(), samples.begin() + third, {}, value);
  const Sample& least = *std::ranges::min_element(samples.end() - third, samples.end(), {}, value);
  return least[column] > most[column] + kColumns[column].slack;
}

/// Runs the threads until frames were rendered and seconds are over; a sample each interval, while they stand still.
std::vector<Sample> Work(Shared& shared, int64_t frames, double seconds, double interval, std::FILE* report) {
  shared.stop = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back([&, i] { Worker(shared, i).Run(); });
  const Clock::time_point start = Clock::now();
  const auto elapsed = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
  const int64_t before = shared.frames;
  std::vector<Sample> samples;
  while ((shared.frames - before < frames || elapsed() < seconds) && *shared.fault == '\0') {
    std::this_thread::sleep_for(std::chrono::duration<double>(interval));
    const std::lock_guard gate(shared.gate);
    const std::unique_lock standstill(shared.rendering);
    samples.push_back(Measure());
    std::fprintf(report, "%9.1f %9lld", elapsed(), static_cast<long long>(shared.frames));
    for (const int64_t value : samples.back()) std::fprintf(report, " %12lld", static_cast<long long>(value));
    std::fputc('\n', report);
  }
  shared.stop = true;
  for (std::thread& thread : threads) thread.join();
  return samples;
}

int Main(int argc, char** argv) {
  auto options = ReadOptions(argc, argv, {{"seconds", 600}});
  std::FILE* const report = KeepReportOffStandardOutput("/dev/null");
  const double seconds = static_cast<double>(options["seconds"]);
  constexpr int64_t kWarmUp = 1000;
  bool failed = false;
  {
    const CurrentContext context;
    Shared shared = {Table()};
    std::fprintf(report, "%9s %9s", "seconds", "frames");
    for (const auto& column : kColumns) std::fprintf(report, " %12s", column.title);
    std::fputc('\n', report);
    Work(shared, kWarmUp, 0, 1, report);
    const std::vector<size_t> before = CountsWhenIdle(shared.gl, context.handle);
    std::fprintf(report, "warm\n");
    const std::vector<Sample> samples = Work(shared, kWarmUp, seconds, std::max(1.0, seconds / 30), report);
    for (size_t column = 0; column < std::size(kColumns); ++column) {
      if (!Grows(samples, column)) continue;
      std::fprintf(report, "FAULT: %s grow\n", kColumns[column].title);
      failed = true;
    }
    const std::vector<size_t> after = CountsWhenIdle(shared.gl, context.handle);
    for (const Names kind : {kTextures, kBuffers, kRenderBuffers, kFrameBuffers, kVertexArrays}) {
      if (after[kind] == before[kind]) continue;
      std::fprintf(report, "FAULT: with all given back %zu GL names of kind %d are left, not %zu\n", after[kind], kind,
                   before[kind]);
      failed = true;
    }
    if (*shared.fault != '\0') std::fprintf(report, "FAULT: %s\n", shared.fault.load());
    failed = failed || *shared.fault != '\0';
    std::fprintf(report, "%lld frames, %lld pictures verified byte for byte, %s\n",
                 static_cast<long long>(shared.frames), static_cast<long long>(shared.verified),
                 failed ? "with faults" : "nothing grew");
  }
  const QVGGLRendererInterface* table = &Table();
  QVG_ReleaseGLRendererInterface(&table);
  return failed ? 1 : 0;
}

}  // namespace
}  // namespace qvg::test

int main(int argc, char** argv) { return qvg::test::Main(argc, argv); }
