// life LIBRARY WHAT COUNT: something that a host does over and over with the library, which it loads by hand, and what
// the process has of the system's before and after. The first tenth is not counted: the driver starts threads and fills
// caches of its own.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <vector>

#include "process.h"
#include "use.h"

namespace {

using Table = const QVGGLRendererInterface*;

const char* path = nullptr;
void* library = nullptr;

Table Start() { return Find<Table(const QVGConfig*)>(library, "QVG_GetGLRendererInterface")(nullptr); }

bool StartAndRelease() {
  Table gl = Start();
  const bool used = useRenderer(gl, false) == 0;
  Find<void(Table*)>(library, "QVG_ReleaseGLRendererInterface")(&gl);
  return used && gl == nullptr;
}

/// On threads of their own: a recycled context renders a frame, and a new one comes and goes.
bool UseOnThreads() {
  const Table gl = Start();
  std::atomic<int> done = 0;
  std::vector<std::thread> threads(4);
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      const bool rendered = useRenderer(gl, false) == 0;
      QVGGLContext* context = gl->CreateSharedContext(nullptr, nullptr, true);
      if (gl->MakeCurrentContext(context, nullptr) && rendered) ++done;
      gl->DestroySharedContext(&context);
    });
  }
  for (std::thread& thread : threads) thread.join();
  return done == 4;
}

/// Ends with the library loaded anew.
bool UnloadAndLoad() {
  const bool used = StartAndRelease();
  CloseModule(library);
  const bool unloaded = !IsLoaded(path);
  library = OpenModule(path);
  return used && unloaded && library != nullptr;
}

constexpr struct {
  const char* name;
  int each;  // how often a round does it
  bool (*round)();
} kKinds[] = {{"starts", 1, &StartAndRelease}, {"threads", 4, &UseOnThreads}, {"loads", 1, &UnloadAndLoad}};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  path = argv[1];
  library = OpenModule(path);
  const int count = std::atoi(argv[3]);
  const auto* const kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                        [&](const auto& known) { return std::string_view(argv[2]) == known.name; });
  if (library == nullptr || kind == std::end(kKinds)) return 2;
  Resources before = {};
  for (int i = 0; i < count; i += kind->each) {
    if (i <= count / 10) before = CountResources();
    if (!kind->round()) return 1;
  }
  const Resources after = CountResources();
  std::printf("%d %s: threads %ld to %ld, handles %ld to %ld, resident %ld to %ld KiB\n", count, kind->name,
              before.threads, after.threads, before.handles, after.handles, before.residentKiB, after.residentKiB);
  // Unloaded without a release.
  if (useRenderer(Start(), true) != 0) return 1;
  CloseModule(library);
  constexpr long kSlackKiB = 16 * 1024;
  return after.threads > before.threads || after.handles > before.handles ||
         after.residentKiB > before.residentKiB + kSlackKiB;
}
