// Frames of the reference, in memory that can't be read beyond its end.
#pragma once

#include "platform.h"
#include "reference/frames.h"

namespace qvg::test {

/// Memory that ends where an inaccessible page begins.
std::shared_ptr<uint8_t> GuardedMemory(size_t size);

/// A frame of the reference, with the same arguments except for the memory.
template <typename... Arguments>
Frame MakeFrame(const Arguments&... arguments) {
  return reference::MakeFrame(GuardedMemory, arguments...);
}

}  // namespace qvg::test
