// A driver that is stricter than Mesa's: a layer between EGL and the programs that are linked with it.
#pragma once

#include <cstdint>

namespace qvg::test {

enum DriverMode : unsigned {
  kIndexNeedsVertexArray = 1,  ///< An index buffer can't be bound without a vertex array.
  kNoRgbTarget = 2,            ///< Formats without alpha can't be drawn to.
  kNoTextureBarrier = 4,
  kGarbage = 8,      ///< Fresh textures and buffers are full of kGarbageTexel.
  kChattyLogs = 16,  ///< Compiling and linking leave an information log when they succeed.
  kNoXcb = 32        ///< EGL takes only Xlib's displays.
};

/// Whether QVG_TEST_DRIVER in the environment names this mode; without the variable all modes are on.
bool DriverIs(DriverMode mode);

inline constexpr uint8_t kGarbageTexel[4] = {77, 230, 26, 102};

/// EGL's own entry point, and the one that the library gets in its place.
void* RealEntryPoint(const char* name);
void* InPlaceOf(const char* name, void* entryPoint);

}  // namespace qvg::test
