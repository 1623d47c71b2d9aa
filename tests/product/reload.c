/* reload LIBRARY [ROUNDS]: loads the library, uses it, releases it and unloads it, several times in one process. In the
 * end it is unloaded without a release. */
#include <stdlib.h>

#include "module.h"
#include "use.h"

static int useModule(const char* path, bool release) {
  void* module = openModule(path);
  if (!module) return 1;
  Function getTable = findFunction(module, "QVG_GetGLRendererInterface");
  Function releaseTable = findFunction(module, "QVG_ReleaseGLRendererInterface");
  if (!getTable || !releaseTable) return 1;
  const QVGGLRendererInterface* gl = ((const QVGGLRendererInterface* (*)(const QVGConfig*))getTable)(NULL);
  if (useRenderer(gl, false) != 0) return 1;
  if (release) ((void (*)(const QVGGLRendererInterface**))releaseTable)(&gl);
  closeModule(module);
  if (!release || !isLoaded(path)) return 0;
  fprintf(stderr, "the library is still loaded\n");
  return 1;
}

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const int rounds = argc > 2 ? atoi(argv[2]) : 5;
  for (int round = 0; round <= rounds; ++round) {
    if (useModule(argv[1], round < rounds) == 0) continue;
    fprintf(stderr, "round %d failed\n", round);
    return 1;
  }
  return 0;
}
