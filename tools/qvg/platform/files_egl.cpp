#include <fcntl.h>
#include <unistd.h>

#include "platform/files.h"

namespace qvgtool {

FilePtr OpenFile(const std::string& path, const char* mode) {
  return FilePtr(std::fopen(path.c_str(), (mode + std::string("e")).c_str()));
}

FilePtr OpenDescriptor(int descriptor) {
  const int own = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  return FilePtr(own >= 0 ? fdopen(own, "w") : nullptr);
}

std::FILE* StandardInput() { return stdin; }

bool SeekFile(std::FILE* file, int64_t position) { return fseeko(file, position, SEEK_SET) == 0; }

bool IsTerminal(int descriptor) { return isatty(descriptor) == 1; }

bool OpenPipe(int (&ends)[2]) { return pipe(ends) == 0; }

}  // namespace qvgtool
