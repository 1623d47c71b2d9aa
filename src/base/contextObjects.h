#pragma once

#include <cstdint>

namespace qvg {

/// Identifies one GL context for as long as the process lives; never used again after the context is gone.
/// 0: no context.
using ContextId = uint64_t;

/// Kinds of GL names that belong to one context and are not shared with others.
enum class ContextObject { kFrameBuffer, kVertexArray };

/// The context that is current on the calling thread. One that the host has made itself is known by its handle alone:
/// its end goes unnoticed.
ContextId CurrentContextId();

/// Deletes a name that was made on the owner: at once when the owner is current on the calling thread, otherwise when
/// the owner is next made current (FlushContextObjects). Deleting it on another context would hit a foreign object of
/// the same number. A name whose context is gone is gone with it.
void DeleteContextObject(ContextObject kind, uint32_t name, ContextId owner);

/// Deletes the names that waited for the context that is current on the calling thread.
void FlushContextObjects();

/// To be called with the platform's handle of a context right after it was made, and right before it is destroyed.
void RegisterContext(const void* nativeContext);
void ForgetContext(const void* nativeContext);

}  // namespace qvg
