#pragma once

#include <gst/gst.h>

#include <string>

namespace qvgst {

/// The category of the elements and of the library's lines: GST_DEBUG=qvg:5 shows both.
extern GstDebugCategory* category;

/// From now on the library's log goes to GStreamer's, and no line to standard output. Once, when the plugin is loaded.
void TakeLibraryLog();

/// The library's errors and warnings on this thread; failing these, those on any. Empty when there were none since the
/// last call.
std::string TakeFailureLines();

}  // namespace qvgst
