// The EGL loader unloads the driver when its display ends. Reports about the driver's memory then lose the names that
// suppressions and readers need. Holding the driver keeps them, and doesn't affect the library.
#include <dlfcn.h>

#include <initializer_list>

namespace {

[[gnu::constructor]] void keepDriver() {
  for (const char* name : {"/usr/lib/x86_64-linux-gnu/dri/swrast_dri.so", "libEGL_mesa.so.0"}) {
    dlopen(name, RTLD_NOW | RTLD_NODELETE);
  }
}

}  // namespace
