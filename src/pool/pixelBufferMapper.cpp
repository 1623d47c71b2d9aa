#include "pool/pixelBufferMapper.h"

#include <algorithm>

#include "base/bo.h"
#include "base/glContext.h"

namespace qvg {

PixelBufferMapper::~PixelBufferMapper() {
  for (const Mapping& mapping : mappings_) delete mapping.buffer;
}

void PixelBufferMapper::_SetAddress(const BO* buffer, const void* address) {
  std::lock_guard lock(mutex_);
  const auto found = std::find_if(mappings_.begin(), mappings_.end(),
                                  [&](const Mapping& mapping) { return mapping.buffer == buffer; });
  if (found != mappings_.end()) found->address = address;
}

void PixelBufferMapper::_Forget(const BO* buffer) {
  std::lock_guard lock(mutex_);
  std::erase_if(mappings_, [&](const Mapping& mapping) { return mapping.buffer == buffer; });
}

void* PixelBufferMapper::Map(BO* buffer, uint32_t* size) {
  if (buffer == nullptr) return nullptr;
  {
    // Noted first: a buffer that is mapped but not noted would be lost.
    std::lock_guard lock(mutex_);
    mappings_.push_back({nullptr, buffer});
  }
  void* address = nullptr;
  try {
    contexts_.WithContext([&] { address = buffer->Map(GL_MAP_READ_BIT | GL_MAP_WRITE_BIT); });
  } catch (...) {
    _Forget(buffer);
    throw;
  }
  if (address == nullptr) {
    _Forget(buffer);
    return nullptr;
  }
  *size = static_cast<uint32_t>(buffer->Size());
  _SetAddress(buffer, address);
  return address;
}

PixelBufferMapper::UnMapped PixelBufferMapper::UnMap(const void* address) {
  if (address == nullptr) return {};
  BO* buffer = nullptr;
  {
    std::lock_guard lock(mutex_);
    const auto found = std::find_if(mappings_.begin(), mappings_.end(),
                                    [address](const Mapping& mapping) { return mapping.address == address; });
    if (found == mappings_.end()) return {};
    found->address = nullptr;
    buffer = found->buffer;
  }
  // Outside the lock: the service thread may have something else to do first.
  bool intact = false;
  if (!contexts_.WithContext([&] { intact = buffer->UnMap(); })) {
    // It stays here, and is deleted with the mapper.
    return {};
  }
  _Forget(buffer);
  return {buffer, intact};
}

}  // namespace qvg
