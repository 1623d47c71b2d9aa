#include "media/plain/byteInput.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "media/error.h"
#include "platform/paths.h"

namespace qvgtool {

ByteInput::ByteInput(const std::string& path, bool (*stop)())
    : name_(path == "-" ? "standard input" : path), stop_(stop) {
  if (path == "-") {
    stream_ = StandardInput();
    return;
  }
  std::error_code error;
  const auto status = std::filesystem::status(PathOf(path), error);
  if (!std::filesystem::exists(status)) throw Error(path + ": no such file");
  if (std::filesystem::is_directory(status)) throw Error(path + ": is a directory");
  file_ = OpenFile(path, "r");
  if (!file_) throw Error(path + ": " + std::strerror(errno));
  stream_ = file_.get();
  if (std::filesystem::is_regular_file(status))
    size_ = static_cast<int64_t>(std::filesystem::file_size(PathOf(path), error));
}

size_t ByteInput::_ReadFile(uint8_t* to, size_t size) {
  size_t done = 0;
  while (done < size) {
    errno = 0;
    const size_t read = std::fread(to + done, 1, size - done, stream_);
    done += read;
    if (done == size || std::feof(stream_)) break;
    const bool stopped = stop_ && stop_();
    if (!std::ferror(stream_) || (errno == EINTR && !stopped)) {
      std::clearerr(stream_);
      continue;
    }
    if (!stopped) failure_ = std::strerror(errno);
    break;
  }
  return done;
}

bool ByteInput::BeginsWith(const std::string& text) {
  if (ahead_.size() < text.size()) {
    const size_t had = ahead_.size();
    ahead_.resize(text.size());
    ahead_.resize(had + _ReadFile(reinterpret_cast<uint8_t*>(ahead_.data()) + had, text.size() - had));
  }
  return ahead_.starts_with(text);
}

size_t ByteInput::Read(void* to, size_t size) {
  auto* const bytes = static_cast<uint8_t*>(to);
  const size_t kept = std::min(size, ahead_.size());
  std::memcpy(bytes, ahead_.data(), kept);
  ahead_.erase(0, kept);
  const size_t read = kept + (size > kept ? _ReadFile(bytes + kept, size - kept) : 0);
  position_ += static_cast<int64_t>(read);
  return read;
}

std::string ByteInput::ReadLine(size_t longest) {
  std::string line;
  char c = 0;
  while (line.size() < longest && Read(&c, 1) == 1 && c != '\n') line += c;
  return line;
}

std::vector<uint8_t> ByteInput::ReadAll() {
  constexpr size_t kStep = 1 << 20;
  std::vector<uint8_t> all;
  for (size_t read = kStep; read == kStep;) {
    const size_t had = all.size();
    all.resize(had + kStep);
    read = Read(all.data() + had, kStep);
    all.resize(had + read);
  }
  return all;
}

bool ByteInput::GoTo(int64_t position) {
  if (size_ == 0 || !SeekFile(stream_, position)) return false;
  ahead_.clear();
  position_ = position;
  return true;
}

}  // namespace qvgtool
