#define FMT_HEADER_ONLY 1
#include "utils/format.h"

#include <fmt/format.h>

namespace qvg {

std::string FormatText(fmt::string_view format, fmt::format_args arguments) { return fmt::vformat(format, arguments); }

}  // namespace qvg
