// A host that ends in one of many ways, with or without a release: endings NAME [DELAY], the delay in microseconds
// before the end. Without arguments it names the ways. The exit status is 0, whatever the way.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#include "process.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace {

const QVGGLRendererInterface* table = nullptr;
std::chrono::microseconds delay(0);

const QVGGLRendererInterface& Start() {
  table = QVG_GetGLRendererInterface(nullptr);
  return *table;
}

void Fail(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::_Exit(3);
}

void Release() {
  QVG_ReleaseGLRendererInterface(&table);
  if (table != nullptr) Fail("the variable was not cleared");
}

/// Releases the library in its destructor, when it was told to.
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

/// A frame up, over another one, and back. What fails is left out: the process may be ending.
void Render(uint32_t width, uint32_t height, QVGPixelBuffer* kept = nullptr) {
  static uint8_t pixels[4 * 512 * 512];  // not freed while threads still render
  QVGPixelBuffer frame = {};
  frame.plane[0] = pixels;
  frame.stride[0] = static_cast<int32_t>(4 * width);
  frame.width = static_cast<int32_t>(width);
  frame.height = static_cast<int32_t>(height);
  frame.format = QVG_FORMAT_BGRA;
  QVGTexture* source = table->UploadPixelBufferToNewTexture(&frame, false, false, {});
  QVGTexture* target = table->AcquireTexture(width + 10, height + 20);
  QVGFrameBuffer* frameBuffer = table->CreateFrameBuffer(width + 10, height + 20, false, false);
  if (table->BindTextureToFrameBuffer(frameBuffer, target)) table->DrawTexture(source, frameBuffer, nullptr);
  QVGPixelBuffer back = {};
  QVGPixelBuffer* result = kept != nullptr ? kept : &back;
  table->TextureToNV12PixelBuffer(target, result, false);
  if (kept == nullptr) table->ReleasePixelBuffer(&result);
  table->DestroyFrameBuffer(&frameBuffer);
  table->ReleaseTexture(&source);
  table->ReleaseTexture(&target);
}

void Draw() {
  if (!MakeCurrent()) Fail("no context");
  for (uint32_t i = 0; i < 3; ++i) Render(64 + 16 * i, 48);
}

/// Leaves more idle textures than the pool is to keep, so that they are being destroyed.
void Overfill() {
  table->SetTexturePoolCapacity(1);
  if (!MakeCurrent()) Fail("no context");
  table->PreallocateTextures(1024, 1024, 40);
}

/// Returns when they have drawn as many frames as there are threads.
void RenderOnThreads(uint32_t count) {
  static std::atomic<uint32_t> frames = 0;
  for (uint32_t i = 0; i < count; ++i) {
    std::thread([i] {
      if (!MakeCurrent()) return;
      for (uint32_t frame = 0;; ++frame) {
        Render(64 + 32 * (frame % 4) + 2 * i, 64);
        ++frames;
      }
    }).detach();
  }
  while (frames < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

[[noreturn]] void ExitOnThread() {
  std::thread([] {
    std::this_thread::sleep_for(delay);
    std::exit(0);
  }).detach();
  for (uint32_t frame = 0;; ++frame) Render(64 + 32 * (frame % 4), 64);
}

// Ways to end after what was done before; main returns where they do.

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
  Render(320, 240, &kept);
  if (kept.plane[0] == nullptr) Fail("no frame came back");
}
void Return() {}

void SixThreads() { RenderOnThreads(6); }

constexpr struct {
  const char* name;
  void (*before)();
  void (*end)();
} kEndings[] = {
    {"started", &Return, &Return},
    {"drawn", &Draw, &Return},
    {"over_budget", &Overfill, &Return},
    {"one_thread", [] { RenderOnThreads(1); }, &Return},
    {"six_threads", &SixThreads, &Return},
    {"exit_on_thread", &Draw, &ExitOnThread},
    {"mapped", &Draw, &KeepMapped},
    {"quick", &Draw, &EndQuickly},
    {"quick_six_threads", &SixThreads, &EndQuickly},
    {"hard_six_threads", &SixThreads, [] { std::_Exit(0); }},
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
  if (argc < 2) {
    for (const auto& ending : kEndings) std::puts(ending.name);
    return 0;
  }
  const std::string_view name = argv[1];
  if (argc > 2) delay = std::chrono::microseconds(std::atoi(argv[2]));
  const auto* const ending =
      std::find_if(std::begin(kEndings), std::end(kEndings), [name](const auto& row) { return row.name == name; });
  if (ending == std::end(kEndings)) return 2;
  std::atexit([] {
    if (releaseLate) Release();
  });
  Start();
  ending->before();
  std::this_thread::sleep_for(delay);
  ending->end();
  return 0;
}
