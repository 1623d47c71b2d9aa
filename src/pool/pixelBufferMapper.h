#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

namespace qvg {

class BO;
class QVGLContextManager;

/// Maps read-back buffers for the host and finds them again by their address. Any thread: for one without a context of
/// the library the service thread does it.
class PixelBufferMapper {
 public:
  explicit PixelBufferMapper(QVGLContextManager& contexts) : contexts_(contexts) {}
  /// Deletes what is still mapped, which unmaps it.
  ~PixelBufferMapper();
  PixelBufferMapper(const PixelBufferMapper&) = delete;
  PixelBufferMapper& operator=(const PixelBufferMapper&) = delete;

  /// Maps the whole buffer for reading and writing. size receives the low 32 bits of its size. Null on failure.
  void* Map(BO* buffer, uint32_t* size);
  /// What became of a buffer that was to be unmapped.
  struct UnMapped {
    BO* buffer = nullptr;  ///< The caller's now; null for an address that Map never gave, or without a context.
    bool intact = false;   ///< False: the driver failed, the buffer is good for nothing but deletion.
  };
  /// Once only for an address.
  UnMapped UnMap(const void* address);

 private:
  struct Mapping {
    const void* address;  // null: being mapped or unmapped
    BO* buffer;
  };

  void _SetAddress(const BO* buffer, const void* address);
  void _Forget(const BO* buffer);

  QVGLContextManager& contexts_;
  std::mutex mutex_;
  std::vector<Mapping> mappings_;
};

}  // namespace qvg
