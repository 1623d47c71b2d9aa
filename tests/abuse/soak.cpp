// Works like a busy host for a long time: the process's resources must not grow after the first thousand frames.
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <thread>

#include "abuse/checks.h"
#include "support/frames.h"
#include "support/platform.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kThreads = 4;
constexpr int kVerified = 100;
constexpr int kContextLife = 300;

struct Shared {
  const QVGGLRendererInterface& gl = Table();
  std::vector<Frame> sources = {};  ///< Every size in every format.
  std::atomic<int64_t> frames = 0;
  std::atomic<const char*> fault = "";

  void Demand(bool holds, const char* what) {
    if (!holds) fault = what;
  }
};

/// One thread of the host, its context and its window.
class Worker {
 public:
  Worker(Shared& shared, int number) : shared_(shared), window_(48, 36, 60 * number) { _TakeContext(); }
  ~Worker() {
    gl_.DestroyWndDrawer(&drawer_);
    gl_.ReleaseSharedContext(&context_);
  }

  void Run(Clock::time_point end) {
    while (Clock::now() < end) {
      const int64_t i = shared_.frames++;
      _Frame(i);
      if (i % 5 == 0) _Show();
      if (i % kVerified == 0) {
        const char* const fault = PictureFault(gl_, static_cast<uint32_t>(i));
        shared_.Demand(*fault == '\0', fault);
      }
      gl_.ReleaseTexture(&picture_);
      if (i % kContextLife != 0) continue;
      gl_.DestroyWndDrawer(&drawer_);
      gl_.DestroySharedContext(&context_);
      _TakeContext();
    }
  }

 private:
  void _TakeContext() {
    context_ = gl_.GetSharedContext();
    shared_.Demand(gl_.MakeCurrentContext(context_, nullptr), "a context can't be made current");
  }

  void _Frame(int64_t i) {
    static constexpr int32_t kBlends[] = {QVG_BLEND_NONE, QVG_BLEND_NORMAL, QVG_BLEND_MULTIPLY, QVG_BLEND_LUMINOSITY,
                                          QVG_BLEND_MASK_LUMA};
    const Frame& frame = shared_.sources[static_cast<size_t>(i) % shared_.sources.size()];
    QVGTexture* source = gl_.UploadPixelBufferToNewTexture(&frame.buffer, i % 2 == 0, false, {});
    if (i % 3 == 0) _ApplyEffect(source, i);
    picture_ = gl_.AcquireTexture(100, 80);
    QVGFrameBuffer* target = gl_.CreateFrameBuffer(100, 80, false, false);
    QVGDrawTextureParams params = DefaultParams();
    params.blendType = kBlends[i % 5];
    params.opacity = 0.75;
    params.rotation[2] = static_cast<double>(i);
    const double black[4] = {0, 0, 0, 1};
    shared_.Demand(gl_.BindTextureToFrameBuffer(target, picture_) && gl_.ClearFrameBuffer(target, black) &&
                       gl_.DrawTexture(source, target, &params),
                   "a frame could not be drawn");
    ReadBack read;
    QVGPixelBuffer* const out = &read.buffer;
    shared_.Demand(i % 4 == 0   ? gl_.TextureToNV12PixelBuffer(picture_, out, false)
                   : i % 4 == 1 ? gl_.TextureToYUV420PixelBuffer(source, false, false, out)
                                : gl_.TextureToRGBAPixelBuffer(picture_, out, true),
                   "a frame could not be read back");
    gl_.DestroyFrameBuffer(&target);
    gl_.ReleaseTexture(&source);
  }

  void _ApplyEffect(QVGTexture*& texture, int64_t i) {
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

  Shared& shared_;
  const QVGGLRendererInterface& gl_ = shared_.gl;
  HostWindow window_;
  QVGGLContext* context_ = nullptr;
  QVGWndDrawer* drawer_ = nullptr;
  QVGTexture* picture_ = nullptr;
};

/// The resources measured when everything was given back, and how much more than at first doesn't count as growth.
constexpr struct {
  const char* title;
  int64_t slack;
} kColumns[] = {{"heap KiB", 1024}, {"threads", 0},        {"descriptors", 0},   {"textures", 0},
                {"buffers", 0},     {"render buffers", 0}, {"frame buffers", 0}, {"programs", 8}};
using Sample = std::array<int64_t, std::size(kColumns)>;

/// Starts the threads, lets them work and end, and measures what is left.
Sample Work(Shared& shared, QVGGLContext* context, double seconds) {
  const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back([&, i] { Worker(shared, i).Run(end); });
  for (std::thread& thread : threads) thread.join();

  const auto entries = [](const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
  };
  std::vector<int64_t> names;
  for (const size_t count : CountsWhenIdle(shared.gl, context)) names.push_back(static_cast<int64_t>(count));
  const struct mallinfo2 heap = mallinfo2();
  const Sample sample = {static_cast<int64_t>(heap.uordblks + heap.hblkhd) / 1024,
                         entries("/proc/self/task"),
                         entries("/proc/self/fd"),
                         names[kTextures],
                         names[kBuffers],
                         names[kRenderBuffers],
                         names[kFrameBuffers],
                         names[kPrograms]};
  std::fprintf(stderr, "%9lld", static_cast<long long>(shared.frames));
  for (const int64_t value : sample) std::fprintf(stderr, " %14lld", static_cast<long long>(value));
  std::fputc('\n', stderr);
  return sample;
}

// Whether even the smallest value of the last third exceeds the largest of the first: fluctuating values don't count.
bool Grows(const std::vector<Sample>& samples, size_t column) {
  const auto third = static_cast<std::ptrdiff_t>(samples.size() / 3);
  const auto value = [column](const Sample& sample) { return sample[column]; };
  const Sample& most = *std::ranges::max_element(samples.begin(), samples.begin() + third, {}, value);
  const Sample& least = *std::ranges::min_element(samples.end() - third, samples.end(), {}, value);
  return least[column] > most[column] + kColumns[column].slack;
}

int Main(int argc, char** argv) {
  auto options = Options(argc, argv, {{"seconds", 600}});
  constexpr int kSamples = 30;
  constexpr int64_t kWarmUp = 1000;
  const double seconds = static_cast<double>(options["seconds"]) / kSamples;
  bool failed = false;
  {
    const CurrentContext context;
    Shared shared;
    constexpr int kSizes[][2] = {{64, 48}, {160, 120}, {34, 21}, {96, 128}};
    for (const auto& [width, height] : kSizes)
      for (const Format& format : Formats()) shared.sources.push_back(MakeFrame(format.code, width, height, 1));
    std::fprintf(stderr, "%9s", "frames");
    for (const auto& column : kColumns) std::fprintf(stderr, " %14s", column.title);
    std::fputc('\n', stderr);
    while (shared.frames < kWarmUp) Work(shared, context.handle, 1);
    std::fprintf(stderr, "warm\n");
    std::vector<Sample> samples;
    for (int i = 0; i < kSamples && *shared.fault == '\0'; ++i)
      samples.push_back(Work(shared, context.handle, seconds));
    for (size_t column = 0; column < std::size(kColumns); ++column) {
      if (*shared.fault == '\0' && Grows(samples, column)) shared.fault = kColumns[column].title;
    }
    failed = *shared.fault != '\0';
    std::fprintf(stderr, "%lld frames, %s%s\n", static_cast<long long>(shared.frames),
                 failed ? "FAULT: " : "nothing grew", shared.fault.load());
  }
  const QVGGLRendererInterface* table = &Table();
  QVG_ReleaseGLRendererInterface(&table);
  return failed ? 1 : 0;
}

}  // namespace
}  // namespace qvg::test

int main(int argc, char** argv) { return qvg::test::Main(argc, argv); }
