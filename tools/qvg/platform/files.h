// The platform's files and descriptors. Paths are UTF-8; files are binary.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace qvgtool {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

/** mode: "r" or "w". @return null, with errno set, when it can't be opened. */
FilePtr OpenFile(const std::string& path, const char* mode);

/** Writes go to the descriptor, which stays open. @return null, with errno set, on failure. */
FilePtr OpenDescriptor(int descriptor);

std::FILE* StandardInput();

/** position: from the beginning. @return false when the file can't seek. */
bool SeekFile(std::FILE* file, int64_t position);

bool IsTerminal(int descriptor);

/** ends: for reading, for writing. @return false on failure. */
bool OpenPipe(int (&ends)[2]);

}  // namespace qvgtool
