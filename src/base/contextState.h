#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "base/targetCache.h"

namespace qvg {

class ProgramTable;
class Quad;

/// Identifies one GL context of the library for as long as the process lives; never used again after the context is
/// gone. 0: none.
using ContextId = uint64_t;

/// What the library keeps for one of its GL contexts, so that draws find everything ready. Except for `attention` it is
/// used only on the thread on which the context is current.
struct ContextState {
  explicit ContextState(ContextId number);
  ~ContextState();
  ContextState(const ContextState&) = delete;
  ContextState& operator=(const ContextState&) = delete;

  /// A sampler that takes the nearest texel, clamped to the edge; 0 when the driver refuses.
  uint32_t NearestSampler();
  /// After a failed operation: drops what was created or remembered for later ones, since any of it may be incomplete.
  void Distrust();

  const ContextId id;
  TargetCache targets;
  std::unique_ptr<Quad> quad;              ///< Made by the first pass.
  std::unique_ptr<ProgramTable> programs;  ///< Those that the context holds.
  uint64_t departures = 0;                 ///< How often it was made not current.
  uint64_t finished = 0;                   ///< How often everything submitted was known to be done.
  std::atomic<bool> worked = false;        ///< Since the last departure something was submitted.
  bool failed = false;                     ///< A GL error was found: see Distrust.
  std::atomic<bool> attention = false;     ///< FlushContextObjects has something to do.

 private:
  uint32_t nearestSampler_ = 0;
};

/// The context of the library that is current on the calling thread; null when none is, or one that is not the
/// library's. Takes no lock as long as the thread keeps its context.
ContextState* CurrentContext();
ContextId CurrentContextId();
/// By the platform's handle; 0 for one that is not the library's.
ContextId ContextIdOf(const void* nativeContext);

// What follows runs in destructors and when objects are given back: it doesn't throw, nor allocate as long as no more
// names wait than space was reserved for.

/// Kinds of GL names that belong to one context and are not shared with others.
enum class ContextObject { kFrameBuffer, kVertexArray };

/// Deletes a name that was made on the owner: at once when the owner is current on the calling thread, otherwise when
/// the owner next works (FlushContextObjects). Deleting it on another context would hit a foreign object of the same
/// number. A name whose context is gone is gone with it.
void DeleteContextObject(ContextObject kind, uint32_t name, ContextId owner) noexcept;

/// A name that all contexts of the library share.
struct SharedObject {
  enum Kind { kTexture, kBuffer, kRenderBuffer, kProgram, kSampler, kSync };
  Kind kind;
  uint32_t name;
  void* sync = nullptr;
};

/// Deletes a shared name: at once with a context of the library current, otherwise when the next one works.
void DeleteSharedObject(const SharedObject& object) noexcept;

/// Drops the frame buffers that every context keeps for a texture's storage, which is about to be deleted.
void ForgetStorage(uint64_t storage) noexcept;

/// Deletes the names that have been waiting for the calling thread's current context.
void FlushContextObjects() noexcept;

/// To be called before the calling thread's context, if it is one of the library's, is unbound: what it holds and has
/// submitted becomes available to others.
void DepartContext() noexcept;
/// Whether the context has been unbound again since it had been that many times, or is gone.
bool WasLeft(ContextId id, uint64_t departures);
/// For an object that is given back on a thread without a context: the number to ask WasLeft with, so that it covers
/// everything the context has submitted so far; nothing when all of that is finished.
std::optional<uint64_t> DeparturesCovering(ContextId id);
/// Makes the GPU wait for what the context had submitted when it was last unbound.
void WaitForDeparture(ContextId id);

/// Deletes what the library keeps for the calling thread's context, which is about to be destroyed, once its work is
/// done: drivers that keep such names in one place for all contexts would never free them.
void DropContextObjects() noexcept;

/// To be called with the platform's handle of a context right after its creation and right before its destruction.
/// Registering throws when there is no memory.
void RegisterContext(const void* nativeContext);
void ForgetContext(const void* nativeContext) noexcept;

}  // namespace qvg
