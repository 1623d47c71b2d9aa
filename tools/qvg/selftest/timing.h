// Times frames through the library, and through bare GL programs that give the same pixels.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <functional>
#include <string>
#include <vector>

namespace qvgtool::selftest {

struct TimingResult {
  std::string name;              // "nv12"
  std::string title;             // "NV12 up, keyed over a background, NV12 down"
  std::string size;              // "1920 x 1080"
  double library = 0, bare = 0;  // Milliseconds per frame, medians.
  int frames = 0;                // Of each.
  bool samePixels = false;       // Both gave the same picture.
  std::string error;             // Why there are no times, else empty.
};

/** Needs a current context of the library, and loaded GL functions. Reports each result as it comes. The library has
 *  another configuration afterwards. */
std::vector<TimingResult> MeasureTimes(const QVGGLRendererInterface& table,
                                       const std::function<void(const TimingResult&)>& tell);

}  // namespace qvgtool::selftest
