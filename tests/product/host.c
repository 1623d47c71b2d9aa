/* A host that is linked with the library. With an argument it ends without giving anything back. */
#include "use.h"

#ifndef PACKAGE_VERSION
#define PACKAGE_VERSION QVG_VERSION_STRING
#endif

int main(int argc, char** argv) {
  (void)argv;
  char numbers[32];
  snprintf(numbers, sizeof numbers, "%d.%d.%d", QVG_VERSION_MAJOR, QVG_VERSION_MINOR, QVG_VERSION_PATCH);
  if (strcmp(numbers, PACKAGE_VERSION) != 0 || strcmp(QVG_VERSION_STRING, PACKAGE_VERSION) != 0) return 3;
  const bool keep = argc > 1;
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  const int result = useRenderer(gl, keep);
  if (keep) return result;
  QVG_ReleaseGLRendererInterface(&gl);
  return result != 0 || gl != NULL;
}
