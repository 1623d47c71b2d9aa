// Faults of the driver, the platform and the heap on demand; a count of what the library has created and not deleted;
// and mapped memory of the test's own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace qvg::test {

enum class FaultSource {
  kDriver,  ///< Calls of GL and of the platform.
  kHeap     ///< Allocations of the library's code.
};
enum class FaultMode {
  kOne,  ///< One call fails.
  kFrom  ///< All calls fail from one on, as when a GPU is reset.
};

/// From now on calls of that kind are counted, on all threads, and the one with that number, from 1 on, fails as with a
/// driver: it is not executed and leaves an error, or reports its failure in its own way. Deletions are executed all
/// the same, but leave an error. Allocations throw.
void ArmFault(FaultSource source, int at, FaultMode mode);

struct FaultReport {
  int failed = 0;               ///< How many calls failed.
  std::string firstCall;        ///< The first of them.
  bool platformFailed = false;  ///< One of them was not GL's: a context may be missing.
};
/// The result so far.
FaultReport Faults();
FaultReport DisarmFault();

/// While it lives nothing fails and nothing is counted.
class WithoutFaults {
 public:
  WithoutFaults();
  ~WithoutFaults();
  WithoutFaults(const WithoutFaults&) = delete;
  WithoutFaults& operator=(const WithoutFaults&) = delete;
};

/// For the platform's part and the heap's: whether the call that is about to be made has to fail.
bool FailsNow(const char* call);
inline constexpr char kAllocation[] = "operator new";
bool AllocationsMayFail();

/// Kinds of live objects: created and not yet deleted through the watched entry points.
enum Kind {
  kTextures,
  kBuffers,
  kRenderBuffers,
  kFrameBuffers,
  kVertexArrays,
  kSamplers,
  kPrograms,
  kShaders,
  kSyncs,
  kMappings,
  kContexts,
  kSurfaces,
  kKinds
};
using Census = std::array<int, kKinds>;
Census Living();
void CountLiving(Kind kind, int change);
/// For the platform's part: a context is about to be destroyed, with the objects that it doesn't share.
void CountContextEnd(const void* context);
/// How it differs; "" when it doesn't.
std::string Difference(const Census& before, const Census& now);

/// To be called when the library has started, since its entry points may be new ones.
void WatchGL();

/// The block that replaces the mapped buffer at this address, with all bytes of the buffer; empty for other addresses.
/// Fresh buffers are full of kFresh.
std::span<const uint8_t> MappedBlock(const void* address);
constexpr uint8_t kFresh = 0xa5;
/// What went wrong with mapped memory since the last call: bytes around it that were overwritten.
std::string TakeMappingFaults();

}  // namespace qvg::test
