// JSON for what commands print.
#pragma once

#include <string>

namespace qvgtool {

/** In quotation marks, escaped where needed. */
std::string JsonQuoted(const std::string& text);

}  // namespace qvgtool
