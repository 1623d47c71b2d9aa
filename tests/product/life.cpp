// life LIBRARY WHAT COUNT: something that a host does over and over with the library, which it loads by hand, and what
// the process has of the system's before and after. The first tenth is not counted: the driver starts threads and fills
// caches of its own.
#include <algorithm>
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

Table Start() {
  const auto get = reinterpret_cast<Table (*)(const QVGConfig*)>(FindFunction(library, "QVG_GetGLRendererInterface"));
  return get(nullptr);
}

bool StartAndRelease() {
  Table gl = Start();
  const bool used = useRenderer(gl, false) == 0;
  reinterpret_cast<void (*)(Table*)>(FindFunction(library, "QVG_ReleaseGLRendererInterface"))(&gl);
  return used && gl == nullptr;
}

/// On threads of their own: a recycled context renders a frame, a new one comes and goes.
bool UseOnThreads() {
  const Table gl = Start();
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
    if (kind->round()) continue;
    std::fprintf(stderr, "round %d failed\n", i / kind->each);
    return 1;
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
