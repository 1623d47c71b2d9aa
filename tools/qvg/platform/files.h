// Files and descriptors as the platform has them. Paths are UTF-8; nothing that is read or written is changed on the
// way.
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

/** mode: "r" or "w". @return null, and errno says why, when it can't be opened. */
FilePtr OpenFile(const std::string& path, const char* mode);

/** What is written goes to the descriptor, which stays open. @return null, and errno says why, when that can't be. */
FilePtr OpenDescriptor(int descriptor);

std::FILE* StandardInput();

/** From the beginning. @return false when it can't. */
bool SeekFile(std::FILE* file, int64_t position);

bool IsTerminal(int descriptor);

/** ends: for reading, for writing. @return false when there is none. */
bool OpenPipe(int (&ends)[2]);

}  // namespace qvgtool
