#pragma once

#include <fmt/core.h>

#include <string>

namespace qvg {

std::string FormatText(fmt::string_view format, fmt::format_args arguments);

/// fmt::format, whose code is compiled in one source of the library only, as compiling it takes seconds.
template <class... Arguments>
std::string Format(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  return FormatText(format, fmt::make_format_args(arguments...));
}

}  // namespace qvg
