#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

namespace qvg {

class BO;
class QVGLContextManager;

/// Maps read-back buffers for the host and finds them again by their address. Any thread: one without a context of the
/// library borrows a temporary one for the length of a call.
class PixelBufferMapper {
 public:
  explicit PixelBufferMapper(QVGLContextManager& contexts) : contexts_(contexts) {}
  /// Unmaps and deletes what is still mapped.
  ~PixelBufferMapper();
  PixelBufferMapper(const PixelBufferMapper&) = delete;
  PixelBufferMapper& operator=(const PixelBufferMapper&) = delete;

  /// Maps the whole buffer for reading and writing. size receives the low 32 bits of its size. Null on failure.
  void* Map(BO* buffer, uint32_t* size);
  /// Unmaps and gives the buffer; null for an address that Map never gave.
  BO* UnMap(const void* address);

 private:
  struct Mapping {
    const void* address;
    BO* buffer;
  };

  QVGLContextManager& contexts_;
  std::mutex mutex_;
  std::vector<Mapping> mappings_;
};

}  // namespace qvg
