// A host that ends in one of many ways, with or without a release: endings NAME [DELAY], with the delay before the end
// in microseconds. Without arguments it lists the ways. The exit status is always 0.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#include "process.h"
#include "use.h"

namespace {

const QVGGLRendererInterface* table = nullptr;
std::chrono::microseconds delay(0);

void Start() { table = QVG_GetGLRendererInterface(nullptr); }

void Check(bool ok) {
  if (!ok) std::_Exit(3);
}

void Release() {
  QVG_ReleaseGLRendererInterface(&table);
  Check(table == nullptr);
}

/// Releases the library in its destructor, if asked to.
struct Releaser {
  ~Releaser() {
    if (active) Release();
  }
  bool active = false;
};
Releaser madeBefore;
bool releaseLate = false;

bool MakeCurrent() {
  QVGGLContext* const context = table->GetSharedContext();
  return context != nullptr && table->MakeCurrentContext(context, nullptr);
}

void Draw() {
  Check(MakeCurrent());
  for (int i = 0; i < 3; ++i) renderFrame(table, 64 + 16 * i, 48, nullptr);
}

/// Leaves more idle textures than the pool may keep, so that they are being destroyed.
void Overfill() {
  table->SetTexturePoolCapacity(1);
  Check(MakeCurrent());
  table->PreallocateTextures(1024, 1024, 40);
}

/// Ignores failures: the process may be ending.
[[noreturn]] void RenderOn(int size, std::atomic<int>* frames) {
  for (int frame = 0;; ++frame, ++*frames) renderFrame(table, size + 32 * (frame % 4), 64, nullptr);
}

/// Returns when the threads have drawn as many frames as there are threads.
template <int count>
void RenderOnThreads() {
  static std::atomic<int> frames = 0;
  for (int i = 0; i < count; ++i) {
    std::thread([i] {
      if (MakeCurrent()) RenderOn(64 + 2 * i, &frames);
    }).detach();
  }
  while (frames < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void ExitOnThread() {
  std::thread([] {
    std::this_thread::sleep_for(delay);
    std::exit(0);
  }).detach();
  std::atomic<int> frames = 0;
  RenderOn(64, &frames);
}

// The ways to end; main returns when they return.

void ReleaseInEarlierStatic() { madeBefore.active = true; }
void ReleaseInLaterStatic() {
  static Releaser madeAfter;
  madeAfter.active = true;
}
void ReleaseInExitHandler() { std::atexit(&Release); }
void ReleaseAndStartAgain() {
  Release();
  Start();
  Draw();
}
void KeepMapped() {
  static QVGPixelBuffer kept = {};
  Check(renderFrame(table, 256, 64, &kept) == 0);
}
void Return() {}

constexpr struct {
  const char* name;
  void (*before)();
  void (*end)();
} kEndings[] = {
    {"started", &Return, &Return},
    {"drawn", &Draw, &Return},
    {"over_budget", &Overfill, &Return},
    {"one_thread", &RenderOnThreads<1>, &Return},
    {"six_threads", &RenderOnThreads<6>, &Return},
    {"exit_on_thread", &Draw, &ExitOnThread},
    {"mapped", &Draw, &KeepMapped},
    {"quick", &Draw, &EndQuickly},
    {"quick_six_threads", &RenderOnThreads<6>, &EndQuickly},
    {"hard_six_threads", &RenderOnThreads<6>, [] { std::_Exit(0); }},
    {"again", &Draw, &ReleaseAndStartAgain},
    {"again_over_budget", &Overfill, &ReleaseAndStartAgain},
    {"released", &Overfill, &Release},
    {"static_before", &Draw, &ReleaseInEarlierStatic},
    {"static_before_over_budget", &Overfill, &ReleaseInEarlierStatic},
    {"static_after", &Draw, &ReleaseInLaterStatic},
    {"static_after_over_budget", &Overfill, &ReleaseInLaterStatic},
    {"earlier_exit_handler", &Draw, [] { releaseLate = true; }},
    {"exit_handler", &Draw, &ReleaseInExitHandler},
    {"exit_handler_over_budget", &Overfill, &ReleaseInExitHandler},
};

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2) delay = std::chrono::microseconds(std::atoi(argv[2]));
  for (const auto& [name, before, end] : kEndings) {
    if (argc < 2) std::puts(name);
    if (argc < 2 || std::string_view(argv[1]) != name) continue;
    std::atexit([] {
      if (releaseLate) Release();
    });
    Start();
    before();
    std::this_thread::sleep_for(delay);
    end();
    return 0;
  }
  return argc < 2 ? 0 : 2;
}
