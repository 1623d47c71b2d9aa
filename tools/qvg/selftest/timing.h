// What frames take through the library and through bare GL programs that give the same pixels.
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
  double library = 0, bare = 0;  // milliseconds a frame, medians
  int frames = 0;                // of each
  bool samePixels = false;       // both gave the same picture
  std::string error;             // why there are no times; empty: there are
};

/** Needs a current context of the library, and GL functions that are loaded. Tells each result as it comes. The library
 *  has another configuration afterwards. */
std::vector<TimingResult> MeasureTimes(const QVGGLRendererInterface& table,
                                       const std::function<void(const TimingResult&)>& tell);

}  // namespace qvgtool::selftest
