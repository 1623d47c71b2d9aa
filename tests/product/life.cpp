// life WHAT COUNT: something that a host does over and over, and what the process has of the system's before and after.
// The first tenth is not counted: the driver starts threads and fills caches of its own.
#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <vector>

#include "process.h"
#include "use.h"

namespace {

bool StartAndRelease() {
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(nullptr);
  const bool used = useRenderer(gl, false) == 0;
  QVG_ReleaseGLRendererInterface(&gl);
  return used && gl == nullptr;
}

/// On threads of their own: a recycled context renders a frame, a new one comes and goes.
bool UseOnThreads() {
  const QVGGLRendererInterface* const gl = QVG_GetGLRendererInterface(nullptr);
  bool done[4] = {};
  std::vector<std::thread> threads;
  for (bool& mine : done) {
    threads.emplace_back([&, renders = threads.size() % 2 == 0] {
      if (renders) {
        mine = useRenderer(gl, false) == 0;
        return;
      }
      QVGGLContext* context = gl->CreateSharedContext(nullptr, nullptr, true);
      mine = context != nullptr && gl->MakeCurrentContext(context, nullptr);
      gl->DestroySharedContext(&context);
    });
  }
  for (std::thread& thread : threads) thread.join();
  return std::all_of(std::begin(done), std::end(done), [](bool mine) { return mine; });
}

constexpr struct {
  const char* name;
  int each;  // how often a round does it
  bool (*round)();
} kKinds[] = {{"starts", 1, &StartAndRelease}, {"threads", 4, &UseOnThreads}};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const int count = std::atoi(argv[2]);
  for (const auto& kind : kKinds) {
    if (std::string_view(argv[1]) != kind.name) continue;
    Resources before = {};
    for (int i = 0; i < count; i += kind.each) {
      if (i <= count / 10) before = CountResources();
      if (!kind.round()) {
        std::fprintf(stderr, "round %d failed\n", i / kind.each);
        return 1;
      }
    }
    const Resources after = CountResources();
    std::printf("%d %s: threads %ld to %ld, handles %ld to %ld, resident %ld to %ld KiB\n", count, kind.name,
                before.threads, after.threads, before.handles, after.handles, before.residentKiB, after.residentKiB);
    constexpr long kSlackKiB = 16 * 1024;
    return after.threads > before.threads || after.handles > before.handles ||
           after.residentKiB > before.residentKiB + kSlackKiB;
  }
  return 2;
}
