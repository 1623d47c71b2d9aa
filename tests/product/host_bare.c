/* A host without a C library, for linkers of Microsoft's kind, of which none may be at hand. Ends with 0 when the table
 * that it gets works. */
#include <qvGLRenderer/qvGLRenderer.h>
#include <stddef.h>

int Start(void) {
  const QVGGLRendererInterface* gl = QVG_GetGLRendererInterface(NULL);
  int32_t major = 0, minor = 0;
  gl->GetRequiredGLVersion(&major, &minor);
  const bool works = gl->IsGLVersionSupported() && major == 4 && minor == 2;
  QVG_ReleaseGLRendererInterface(&gl);
  return works && gl == NULL ? 0 : 1;
}
