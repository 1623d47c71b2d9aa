// Converts file names, which are UTF-8 in the tool, to and from those of the standard library.
#pragma once

#include <filesystem>
#include <string>

namespace qvgtool {

inline std::filesystem::path PathOf(const std::string& name) { return std::u8string(name.begin(), name.end()); }

inline std::string NameOf(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace qvgtool
