// Texts for people.
#pragma once

#include <string>

namespace qvgtool {

/** The same words in lines of this length, as far as they go. */
std::string Wrapped(const std::string& text, size_t length);

}  // namespace qvgtool
