#include "media/text.h"

#include <sstream>

namespace qvgtool {

std::string Wrapped(const std::string& text, size_t length) {
  std::string wrapped, line;
  std::istringstream words(text);
  for (std::string word; words >> word; line += (line.empty() ? "" : " ") + word) {
    if (line.size() + word.size() < length) continue;
    wrapped += line + "\n";
    line.clear();
  }
  return wrapped + line;
}

}  // namespace qvgtool
