// Faults of the driver, the platform and the heap on demand, what the library has made and not deleted, and mapped
// memory that is the test's own.
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

/// From now on the calls of that kind are counted, on all threads, and the one with that number, the first being 1,
/// fails as a driver fails it: it is not made and leaves an error, or says in its own way that it failed. What deletes
/// is made all the same, and leaves an error. Allocations throw.
void ArmFault(FaultSource source, int at, FaultMode mode);

struct FaultReport {
  int failed = 0;               ///< How many calls failed.
  std::string firstCall;        ///< The first of them.
  bool platformFailed = false;  ///< One that is not of GL was among them: a context may not have been had.
};
/// What came of it up to now.
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

/// For the parts of the platform and the heap: whether the call, which is about to be made, fails.
bool FailsNow(const char* call);
inline constexpr char kAllocation[] = "operator new";
bool AllocationsMayFail();

/// What lives: made and not deleted through the watched entry points.
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
/// For the platform's part: a context is about to be destroyed, and what belongs to it alone goes with it.
void CountContextEnd(const void* context);
/// How it differs; "" when it doesn't.
std::string Difference(const Census& before, const Census& now);

/// To be called when the library has started: its entry points may be new ones.
void WatchGL();

/// The block that stands for the mapped buffer at this address, with all bytes of the buffer; empty for others. Fresh
/// buffers are full of kFresh.
std::span<const uint8_t> MappedBlock(const void* address);
constexpr uint8_t kFresh = 0xa5;
/// What went wrong with mapped memory since the last call: bytes around it that were overwritten.
std::string TakeMappingFaults();

}  // namespace qvg::test
