/* Loads the library, uses it, releases it and unloads it, several times in one process. */
#include "module.h"
#include "use.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  for (int round = 0; round < 5; ++round) {
    void* module = openModule(argv[1]);
    if (!module) return 1;
    Function get = findFunction(module, "QVG_GetGLRendererInterface");
    Function release = findFunction(module, "QVG_ReleaseGLRendererInterface");
    if (!get || !release) return 1;
    const QVGGLRendererInterface* gl = ((const QVGGLRendererInterface* (*)(const QVGConfig*))get)(NULL);
    if (useRenderer(gl, false) != 0) return 1;
    ((void (*)(const QVGGLRendererInterface**))release)(&gl);
    closeModule(module);
    if (isLoaded(argv[1])) {
      fprintf(stderr, "round %d: the library is still loaded\n", round);
      return 1;
    }
  }
  return 0;
}
