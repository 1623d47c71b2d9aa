// The bytes of a file or of standard input.
#pragma once

#include <string>
#include <vector>

#include "platform/files.h"

namespace qvgtool {

class ByteInput {
 public:
  /** "-" is standard input. stop: asked whether an interrupted read counts as the end; may be null. Throws Error. */
  ByteInput(const std::string& path, bool (*stop)());

  /** For error messages. */
  const std::string& Name() const { return name_; }

  /** Whether these are the next bytes; doesn't consume them. */
  bool BeginsWith(const std::string& text);
  /** @return how many bytes were read; fewer only at the end. */
  size_t Read(void* to, size_t size);
  /** Reads up to the end of the line, which is left out, or up to the input's end. */
  std::string ReadLine(size_t longest);
  std::vector<uint8_t> ReadAll();

  /** A file's size; 0: not a file, or unknown. */
  int64_t Size() const { return size_; }
  int64_t Position() const { return position_; }
  /** @return false, without moving, where it can't seek. */
  bool GoTo(int64_t position);
  /** What went wrong with reading, else empty. */
  const std::string& Failure() const { return failure_; }

 private:
  size_t _ReadFile(uint8_t* to, size_t size);

  std::string name_;
  bool (*stop_)();
  FilePtr file_;  // null: standard input.
  std::FILE* stream_ = nullptr;
  int64_t size_ = 0, position_ = 0;
  std::string ahead_;  // Bytes that were looked at but not consumed.
  std::string failure_;
};

}  // namespace qvgtool
