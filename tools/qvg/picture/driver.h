// What the driver says of itself.
#pragma once

#include <string>

namespace qvgtool {

struct DriverTexts {
  std::string vendor, renderer, version, glsl, eglVersion, eglVendor;
};

/** Asks GL itself, as a host may while a context of the library is current on the thread. */
DriverTexts AskDriver();

}  // namespace qvgtool
