// An output file that keeps room in reserve, so that it can be finished when the disk is full.
#pragma once

#include <string>

#include "media/ffmpeg/ffmpegPtr.h"

namespace qvgtool {

class OutputFile {
 public:
  /** Throws Error when it can't be written. */
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  AVIOContext* Stream() const { return stream_; }
  /** The disk is full, and the reserve is in use. */
  bool Full() const { return full_; }
  /** @return 0, or the first error since the file was opened. */
  int Close();

 private:
  static int _Write(void* self, uint8_t* data, int size);
  static int64_t _Seek(void* self, int64_t offset, int whence);
  void _KeepRoom(const std::string& path);

  int file_ = -1, room_ = -1;  // Descriptors.
  bool full_ = false;
  AVIOContext* stream_ = nullptr;
};

}  // namespace qvgtool
