// What the driver says of itself, and what is the platform's about it.
#pragma once

#include <span>
#include <string>

namespace qvgtool {

struct DriverTexts {
  std::string vendor, renderer, version, glsl;
  std::string eglVersion, eglVendor;  // Empty where there is no EGL.
};

/** Asks GL itself, as a host may while a context of the library is current on the thread. */
DriverTexts AskDriver();

/** Of a context of whatever version the platform gives, for when none is good enough; an empty version when it gives
 *  none. */
DriverTexts AskOfferedDriver();

struct DriverPlatform {
  const char* name;
  const char* logPrefix;                   // Of the library's lines about it.
  bool displays;                           // The library chooses one of them.
  std::span<const char* const> variables;  // That may be in the driver's way.
  const char* hint;                        // Where drivers come from.
};
const DriverPlatform& Platform();

/** "EGL_BAD_MATCH (0x3009)" for 0x3009 */
std::string DriverErrorText(unsigned code);

}  // namespace qvgtool
