/* A host linked with the library. With an argument it ends without giving anything back. */
#include "use.h"

int main(int argc, char** argv) {
  (void)argv;
  const bool keep = argc > 1;
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  const int result = useRenderer(gl, keep);
  if (keep) return result;
  QVG_ReleaseGLRendererInterface(&gl);
  return result != 0 || gl != NULL;
}
