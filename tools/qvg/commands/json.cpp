#include "commands/json.h"

#include <fmt/format.h>

#include <string_view>

namespace qvgtool {
namespace {

// The size in bytes of the text's first character; 0 when it is not valid UTF-8.
size_t CharacterSize(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  if (byte(0) < 0x80) return 1;
  const size_t size = byte(0) >= 0xF5 ? 0 : byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : byte(0) >= 0xC2 ? 2 : 0;
  if (size > text.size()) return 0;
  for (size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  return size;
}

}  // namespace

std::string JsonQuoted(const std::string& text) {
  std::string result = "\"";
  for (std::string_view rest = text; !rest.empty();) {
    const size_t size = CharacterSize(rest);
    const char first = rest.front();
    if (size == 0) {
      result += "\\ufffd";  // Names of files and variables may hold any bytes.
    } else if (first == '"' || first == '\\') {
      result += '\\';
      result += first;
    } else if (size == 1 && first < 0x20) {
      result += fmt::format("\\u{:04x}", first);
    } else {
      result += rest.substr(0, size);
    }
    rest.remove_prefix(size == 0 ? 1 : size);
  }
  return result + '"';
}

}  // namespace qvgtool
