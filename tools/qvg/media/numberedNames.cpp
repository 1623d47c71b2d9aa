#include "media/numberedNames.h"
#include "platform/paths.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace qvgtool {
namespace {

bool IsDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

}  // namespace

std::optional<std::string> NumberedName(const std::string& pattern, int number) {
  std::string name;
  bool found = false;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != '%') {
      name += pattern[i];
      continue;
    }
    size_t end = i + 1;
    while (end < pattern.size() && IsDigit(pattern[end])) ++end;
    if (end == pattern.size()) return std::nullopt;
    if (pattern[end] == '%' && end == i + 1) {
      name += '%';
    } else if (pattern[end] == 'd' && !found && end - i < 4) {
      std::string digits = std::to_string(number);
      const auto width = static_cast<size_t>(std::atoi(pattern.c_str() + i + 1));
      name += std::string(width > digits.size() ? width - digits.size() : 0, '0') + digits;
      found = true;
    } else {
      return std::nullopt;
    }
    i = end;
  }
  return found ? std::optional(name) : std::nullopt;
}

bool IsNumbered(const std::string& path) {
  std::error_code error;
  return NumberedName(path, 0) && !std::filesystem::exists(PathOf(path), error);
}

std::optional<int> FirstNumber(const std::string& pattern) {
  const std::filesystem::path folder = PathOf(pattern).parent_path();
  std::optional<int> first;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder.empty() ? "." : folder, error)) {
    const std::filesystem::path path = folder / entry.path().filename();
    const std::string name = NameOf(path.filename());
    for (size_t i = 0; i < name.size(); ++i) {
      if (!IsDigit(name[i])) continue;
      const int number = std::atoi(name.c_str() + i);
      const auto numbered = NumberedName(pattern, number);
      if (numbered && PathOf(*numbered) == path && (!first || number < *first)) first = number;
    }
  }
  return first;
}

}  // namespace qvgtool
