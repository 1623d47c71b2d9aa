#pragma once

#include <glad/gl.h>

#include <type_traits>

#include "eglHooks.h"

namespace qvg::test {

/// The driver's own function; kPointer, the loader's variable for it, tells its type.
template <auto kPointer>
auto RawCall(const char* name) {
  using Function = std::remove_pointer_t<decltype(kPointer)>;
  static const auto function = reinterpret_cast<Function>(RealEntryPoint(name));
  return function;
}
#define QVG_RAW(call) (::qvg::test::RawCall<&glad_gl##call>("gl" #call))

inline GLint RawInteger(GLenum name) {
  GLint value = 0;
  QVG_RAW(GetIntegerv)(name, &value);
  return value;
}

}  // namespace qvg::test
