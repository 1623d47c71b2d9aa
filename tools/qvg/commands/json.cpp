#include "commands/json.h"

#include <fmt/format.h>

namespace qvgtool {

std::string JsonQuoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      result += '\\';
      result += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      result += fmt::format("\\u{:04x}", c);
    } else {
      result += c;
    }
  }
  return result + '"';
}

}  // namespace qvgtool
