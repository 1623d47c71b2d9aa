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

/// Reads all pending errors and returns the first one. For the beginning of an operation: what a host has left pending
/// is not the operation's.
uint32_t DrainGLErrors() noexcept;

}  // namespace qvg
