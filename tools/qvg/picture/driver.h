// What the driver says of itself.
#pragma once

#include <string>

namespace qvgtool {

struct DriverTexts {
  std::string vendor, renderer, version, glsl, eglVersion, eglVendor;
};

/** Asks GL itself, as a host may while a context of the library is current on the thread. */
DriverTexts AskDriver();

/** Of a context of whatever version EGL gives, for when none is good enough; an empty version when it gives none. */
DriverTexts AskOfferedDriver();

/** "EGL_BAD_MATCH (0x3009)" for 0x3009 */
std::string EglErrorText(unsigned code);

}  // namespace qvgtool
