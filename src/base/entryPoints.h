#pragma once

#include "base/gl.h"

namespace qvg {

/// Loads the entry points with what finds one by its name, the context current. The version found; 0 on failure. Not on
/// two threads at once.
int LoadEntryPoints(GLADuserptrloadfunc find, void* user);

/// Whether the loaded driver has OpenGL 4.1 or later and every entry point that the library calls; an error line says
/// what it lacks. To be asked after a context was made that loads them.
bool HasEntryPoints();

}  // namespace qvg
