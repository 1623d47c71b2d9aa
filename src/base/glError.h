#pragma once

#include <cstdint>
#include <string>

#include "utils/sourceLocation.h"

namespace qvg {

/// Text for a GL error code; empty for GL_NO_ERROR.
std::string DecodeGLError(uint32_t code);

/// Reads one pending GL error. An error is logged for the caller's place, marks the current context's state as failed,
/// and gives false. Older errors of unrelated work count too; the queue is not drained.
bool CheckGLError(SourceLocation where = SourceLocation::current()) noexcept;

/// Reads all pending errors and gives the first one. For where an operation of the table begins: what a host has left
/// is not the operation's.
uint32_t DrainGLErrors() noexcept;

}  // namespace qvg
