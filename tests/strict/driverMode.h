// Ways in which drivers are stricter than Mesa's.
#pragma once

namespace qvg::test {

enum DriverMode : unsigned {
  kIndexNeedsVertexArray = 1,  ///< An index buffer can't be bound without a vertex array.
  kNoRgbTarget = 2,            ///< Formats without alpha can't be drawn to.
  kNoTextureBarrier = 4,
  kGarbage = 8,      ///< Fresh storage is full of noise.
  kChattyLogs = 16,  ///< Compiling and linking leave an information log when they succeed.
  kNoXcb = 32        ///< EGL takes Xlib's displays only.
};

/// Those that QVG_TEST_DRIVER in the environment names, separated by commas; all without it.
bool DriverIs(DriverMode mode);

}  // namespace qvg::test
