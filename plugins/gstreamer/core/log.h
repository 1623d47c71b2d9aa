#pragma once

#include <gst/gst.h>

#include <string>

namespace qvgst {

/// The category of the elements and of the library's lines: GST_DEBUG=qvg:5 shows both.
extern GstDebugCategory* category;

/// From now on the library's log goes to GStreamer's, and no line to standard output. Once, when the plugin is loaded.
void TakeLibraryLog();

/// The library's last error or warning on this thread; failing that, its last error on any. Empty when there was none
/// since the last call.
std::string TakeFailureLine();

}  // namespace qvgst
