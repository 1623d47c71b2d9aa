// The bytes of a file or of standard input.
#pragma once

#include <string>
#include <vector>

#include "platform/files.h"

namespace qvgtool {

class ByteInput {
 public:
  /** "-" is standard input. stop: whether an interrupted read is to be taken for the end; may be null. Throws Error. */
  ByteInput(const std::string& path, bool (*stop)());

  /** For errors. */
  const std::string& Name() const { return name_; }

  /** Whether these are the next bytes; they stay. */
  bool BeginsWith(const std::string& text);
  /** @return how many there were, fewer at the end only. */
  size_t Read(void* to, size_t size);
  /** Up to the end of the line, which is left out; all that there is without one. */
  std::string ReadLine(size_t longest);
  std::vector<uint8_t> ReadAll();

  /** Of a file; 0: it is none, or unknown. */
  int64_t Size() const { return size_; }
  int64_t Position() const { return position_; }
  /** @return false, and stays, where it can't go. */
  bool GoTo(int64_t position);
  /** What went wrong with reading; empty when nothing did. */
  const std::string& Failure() const { return failure_; }

 private:
  size_t _ReadFile(uint8_t* to, size_t size);

  std::string name_;
  bool (*stop_)();
  FilePtr file_;  // null: standard input.
  std::FILE* stream_;
  int64_t size_ = 0, position_ = 0;
  std::string ahead_;  // Looked at and not read yet.
  std::string failure_;
};

}  // namespace qvgtool
