#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "platform/files.h"
#include "platform/paths.h"

namespace qvgtool {

FilePtr OpenFile(const std::string& path, const char* mode) {
  return FilePtr(_wfopen(PathOf(path).c_str(), *mode == 'r' ? L"rb" : L"wb"));
}

FilePtr OpenDescriptor(int descriptor) {
  const int own = _dup(descriptor);
  if (own < 0) return nullptr;
  _setmode(own, _O_BINARY);
  return FilePtr(_fdopen(own, "wb"));
}

std::FILE* StandardInput() {
  _setmode(_fileno(stdin), _O_BINARY);
  return stdin;
}

bool SeekFile(std::FILE* file, int64_t position) { return _fseeki64(file, position, SEEK_SET) == 0; }

// The C library also takes other devices, such as NUL, for terminals.
bool IsTerminal(int descriptor) {
  DWORD mode = 0;
  return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), &mode) != FALSE;
}

bool OpenPipe(int (&ends)[2]) {
  constexpr unsigned kSize = 1 << 16;
  return _pipe(ends, kSize, _O_BINARY | _O_NOINHERIT) == 0;
}

}  // namespace qvgtool
