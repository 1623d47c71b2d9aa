#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace qvg::test {

/// Numbers from a command line of "--name value" pairs over their defaults; ends the program at anything else.
inline std::map<std::string, int64_t> ReadOptions(int argc, char** argv, std::map<std::string, int64_t> options) {
  for (int i = 1; i < argc; i += 2) {
    const std::string name = argv[i];
    const auto option = name.starts_with("--") ? options.find(name.substr(2)) : options.end();
    char* end = nullptr;
    const int64_t value = i + 1 < argc ? std::strtoll(argv[i + 1], &end, 10) : 0;
    if (option == options.end() || end == nullptr || *end != '\0') {
      std::fprintf(stderr, "usage: %s", argv[0]);
      for (const auto& [known, preset] : options)
        std::fprintf(stderr, " [--%s %lld]", known.c_str(), (long long)preset);
      std::fputc('\n', stderr);
      std::exit(2);
    }
    option->second = value;
  }
  return options;
}

/// The library prints; what these programs report goes where its lines don't drown it.
inline std::FILE* KeepReportOffStandardOutput(const char* otherwise) {
  std::FILE* const report = stderr;
  if (std::freopen(otherwise, "w", stdout) == nullptr) std::exit(2);
  return report;
}

}  // namespace qvg::test
