#include "pool/pixelBufferMapper.h"

#include <algorithm>
#include <optional>

#include "base/bo.h"
#include "base/contextState.h"
#include "base/glContext.h"

namespace qvg {

namespace {

// A temporary context where the calling thread has none of the library's.
class BorrowedContext {
 public:
  explicit BorrowedContext(QVGLContextManager& contexts) {
    if (CurrentContext() == nullptr) temporary_.emplace(contexts);
  }

  bool Usable() const { return !temporary_.has_value() || temporary_->Valid(); }

 private:
  std::optional<TemporaryContext> temporary_;
};

}  // namespace

PixelBufferMapper::~PixelBufferMapper() {
  if (mappings_.empty()) return;
  const TemporaryContext context(contexts_);
  for (const Mapping& mapping : mappings_) {
    mapping.buffer->UnMap();
    delete mapping.buffer;
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
  mappings_.push_back({address, buffer});
  return address;
}

BO* PixelBufferMapper::UnMap(const void* address) {
  if (address == nullptr) return nullptr;
  std::lock_guard lock(mutex_);
  const auto found = std::find_if(mappings_.begin(), mappings_.end(),
                                  [address](const Mapping& mapping) { return mapping.address == address; });
  if (found == mappings_.end()) return nullptr;
  const BorrowedContext context(contexts_);
  if (!context.Usable()) return nullptr;
  BO* const buffer = found->buffer;
  buffer->UnMap();
  mappings_.erase(found);
  return buffer;
}

}  // namespace qvg
