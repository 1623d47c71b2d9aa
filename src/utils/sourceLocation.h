// Where a log line was written.
#pragma once

#include <cstdint>
#include <source_location>

namespace qvg {

#ifdef __cpp_lib_source_location
using SourceLocation = std::source_location;
#else
/// For Clang before 16, which can't serve the standard class. It knows a function's name only, not its signature.
class SourceLocation {
 public:
  static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                          const char* function = __builtin_FUNCTION(),
                                          uint_least32_t line = __builtin_LINE()) noexcept {
    SourceLocation location;
    location.file_ = file;
    location.function_ = function;
    location.line_ = line;
    return location;
  }
  constexpr const char* file_name() const noexcept { return file_; }
  constexpr const char* function_name() const noexcept { return function_; }
  constexpr uint_least32_t line() const noexcept { return line_; }

 private:
  const char* file_ = "";
  const char* function_ = "";
  uint_least32_t line_ = 0;
};
#endif

}  // namespace qvg
