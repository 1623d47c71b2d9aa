#pragma once

#include <cstdint>
#include <source_location>
#include <string>

namespace qvg {

/// Text for a GL error code; empty for GL_NO_ERROR.
std::string DecodeGLError(uint32_t code);

/// Reads one pending GL error. An error is logged for the caller's place and gives false. Older errors of unrelated
/// work count too; the queue is not drained.
bool CheckGLError(std::source_location where = std::source_location::current());

}  // namespace qvg
