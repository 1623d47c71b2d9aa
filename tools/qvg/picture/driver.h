// What the driver reports about itself, and what about it depends on the platform.
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

/** Asks a context of whatever version the platform offers, for when none is good enough. The version is empty when
 *  there is no context at all. */
DriverTexts AskOfferedDriver();

struct DriverPlatform {
  const char* name;
  const char* logPrefix;                   // Of the library's log lines about it.
  bool displays;                           // The library chooses a display.
  std::span<const char* const> variables;  // Environment variables that may keep the driver from working.
  const char* hint;                        // Where to get drivers.
};
const DriverPlatform& Platform();

/** "EGL_BAD_MATCH (0x3009)" for 0x3009 */
std::string DriverErrorText(unsigned code);

}  // namespace qvgtool
