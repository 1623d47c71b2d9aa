#include "context/pixelBufferMapper.h"

#include <optional>

#include "base/bo.h"
#include "base/glContext.h"

namespace qvg {

namespace {

// A temporary context where the calling thread has none of the library's.
class BorrowedContext {
 public:
  explicit BorrowedContext(QVGLContextManager& contexts) {
    if (contexts.GetCurrentContext() == nullptr) temporary_.emplace(contexts);
  }

  bool Usable() const { return !temporary_.has_value() || temporary_->Valid(); }

 private:
  std::optional<TemporaryContext> temporary_;
};

}  // namespace

PixelBufferMapper::~PixelBufferMapper() {
  const TemporaryContext context(contexts_);
  std::lock_guard lock(mutex_);
  for (const auto& [address, buffer] : buffers_) {
    buffer->UnMap();
    delete buffer;
  }
}

void* PixelBufferMapper::Map(BO* buffer, uint32_t* size) {
  if (buffer == nullptr) return nullptr;
  const BorrowedContext context(contexts_);
  if (!context.Usable()) return nullptr;
  *size = static_cast<uint32_t>(buffer->Size());
  void* address = buffer->Map(GL_MAP_READ_BIT | GL_MAP_WRITE_BIT);
  if (address == nullptr) return nullptr;
  std::lock_guard lock(mutex_);
  buffers_[address] = buffer;
  return address;
}

BO* PixelBufferMapper::UnMap(const void* address) {
  if (address == nullptr) return nullptr;
  std::lock_guard lock(mutex_);
  const auto found = buffers_.find(address);
  if (found == buffers_.end()) return nullptr;
  const BorrowedContext context(contexts_);
  if (!context.Usable()) return nullptr;
  BO* buffer = found->second;
  buffer->UnMap();
  buffers_.erase(found);
  return buffer;
}

}  // namespace qvg
