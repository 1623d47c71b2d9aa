#pragma once

namespace qvg {

/// Whether the loaded driver has OpenGL 4.1 or later and every entry point that the library calls; an error line says
/// what it lacks. To be asked after a context was made that loads them.
bool HasEntryPoints();

}  // namespace qvg
