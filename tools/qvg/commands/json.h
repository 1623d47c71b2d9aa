// JSON's way to write what commands print.
#pragma once

#include <string>

namespace qvgtool {

/** In quotation marks, with what needs it escaped. */
std::string JsonQuoted(const std::string& text);

}  // namespace qvgtool
