// Formats text for people.
#pragma once

#include <string>

namespace qvgtool {

/** Wraps the words into lines of at most this length; longer words stay whole. */
std::string Wrapped(const std::string& text, size_t length);

}  // namespace qvgtool
