// What stands between the library and EGL in a test program that is linked with eglHooks_egl.cpp.
#pragma once

#include <atomic>

namespace qvg::test {

struct EglHooks {
  /// Gives what eglGetProcAddress is to give in place of a function; null leaves it as it is.
  void* (*entryPoint)(const char* name, void* function) = nullptr;
  /// EGL tells of no XCB platform.
  bool withoutXcb = false;
  /// How many contexts live.
  std::atomic<int> contexts = 0;
};
EglHooks& Hooks();

/// EGL's own answer.
void* RealEntryPoint(const char* name);

}  // namespace qvg::test
