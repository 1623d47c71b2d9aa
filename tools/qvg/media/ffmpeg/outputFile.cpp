#include "media/ffmpeg/outputFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

namespace qvgtool {
namespace {

constexpr int kBufferSize = 1 << 16;
// Enough for what a container writes at the end of hours of video, but only a part of a small disk.
constexpr uint64_t kMostRoom = 8 << 20, kShareOfDisk = 8;

}  // namespace

OutputFile::OutputFile(const std::string& path) {
  file_ = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file_ < 0 && errno == EACCES) file_ = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file_ < 0) throw Error(fmt::format("cannot write {}: {}", path, FfmpegError(AVERROR(errno))));
  struct stat status = {};
  const bool regular = fstat(file_, &status) == 0 && S_ISREG(status.st_mode);
  if (regular) _KeepRoom(path);
  auto* buffer = static_cast<uint8_t*>(av_malloc(kBufferSize));
  stream_ =
      buffer ? avio_alloc_context(buffer, kBufferSize, 1, this, nullptr, _Write, regular ? _Seek : nullptr) : nullptr;
  if (!stream_) throw std::bad_alloc();
}

OutputFile::~OutputFile() { Close(); }

// The file has no name, so it vanishes with the process however that ends.
void OutputFile::_KeepRoom(const std::string& path) {
  struct statvfs disk = {};
  if (fstatvfs(file_, &disk) != 0) return;
  const uint64_t room = std::min(kMostRoom, uint64_t{disk.f_bavail} * disk.f_frsize / kShareOfDisk);
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  room_ = open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (room_ < 0) return;
  if (room == 0 || fallocate(room_, 0, 0, static_cast<off_t>(room)) != 0) close(std::exchange(room_, -1));
}

int OutputFile::_Write(void* self, uint8_t* data, int size) {
  OutputFile& file = *static_cast<OutputFile*>(self);
  int done = 0;
  while (done < size) {
    const ssize_t written = write(file.file_, data + done, static_cast<size_t>(size - done));
    if (written >= 0) {
      done += static_cast<int>(written);
    } else if (errno == ENOSPC && file.room_ >= 0) {
      file.full_ = true;
      close(std::exchange(file.room_, -1));
    } else if (errno != EINTR) {
      return AVERROR(errno);
    }
  }
  return size;
}

int64_t OutputFile::_Seek(void* self, int64_t offset, int whence) {
  const int file = static_cast<OutputFile*>(self)->file_;
  if (whence & AVSEEK_SIZE) {
    struct stat status = {};
    return fstat(file, &status) == 0 ? status.st_size : AVERROR(errno);
  }
  const off_t place = lseek(file, offset, whence);
  return place >= 0 ? place : AVERROR(errno);
}

int OutputFile::Close() {
  if (!stream_) return 0;
  avio_flush(stream_);
  int result = stream_->error;
  av_freep(&stream_->buffer);
  avio_context_free(&stream_);
  if (close(std::exchange(file_, -1)) != 0 && result >= 0) result = AVERROR(errno);
  if (room_ >= 0) close(std::exchange(room_, -1));
  return result;
}

}  // namespace qvgtool
