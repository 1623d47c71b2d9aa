// The one error type of the tool.
#pragma once

#include <stdexcept>

namespace qvgtool {

/** Ends a command; its text is the one line that the user sees. */
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace qvgtool
