#pragma once

#include "base/gl.h"

namespace qvg {

/// Loads the entry points with a function that finds one by its name; a context must be current. Returns the version
/// found, 0 on failure. Not on two threads at once.
int LoadEntryPoints(GLADuserptrloadfunc find, void* user);

/// Whether the loaded driver has OpenGL 4.1 or later and every entry point that the library calls; an error line says
/// what is missing. To be asked once they have been loaded.
bool HasEntryPoints();

}  // namespace qvg
