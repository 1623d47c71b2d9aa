// life LIBRARY starts|loads COUNT: a host that loads the library by hand starts, uses and releases it over and over;
// with "loads" it also loads it anew each time. The system's resources that the process holds must not grow. The first
// tenth doesn't count: the driver starts threads and fills its caches.
#include <cstdio>
#include <cstdlib>
#include <string_view>

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

bool LoadAnew() {
  CloseModule(library);
  const bool unloaded = !IsLoaded(path);
  library = OpenModule(path);
  return unloaded && library != nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  path = argv[1];
  library = OpenModule(path);
  if (library == nullptr) return 2;
  const bool loads = std::string_view(argv[2]) == "loads";
  const int count = std::atoi(argv[3]);
  long before = 0;
  for (int i = 0; i < count; ++i) {
    if (i <= count / 10) before = CountResources();
    if (!StartAndRelease() || (loads && !LoadAnew())) return 1;
  }
  const long after = CountResources();
  std::printf("%d %s: threads and handles %ld to %ld\n", count, argv[2], before, after);
  // Unloaded without a release.
  if (useRenderer(Start(), true) != 0) return 1;
  CloseModule(library);
  return after > before;
}
