// Frames of the reference, in memory that nobody can read beyond.
#pragma once

#include "platform.h"
#include "reference/frames.h"

namespace qvg::test {

/// Ends where an inaccessible page begins.
std::shared_ptr<uint8_t> GuardedMemory(size_t size);

/// A frame as the reference makes it, with the same arguments but for the memory.
template <typename... Arguments>
Frame MakeFrame(const Arguments&... arguments) {
  return reference::MakeFrame(GuardedMemory, arguments...);
}

}  // namespace qvg::test
