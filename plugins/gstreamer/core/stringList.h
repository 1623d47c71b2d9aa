#pragma once

#include <gst/gst.h>

#include <string>
#include <vector>

namespace qvgst {

/// Sets a field of caps to a list of strings.
void SetStrings(GstStructure* caps, const char* field, const std::vector<std::string>& strings);

}  // namespace qvgst
