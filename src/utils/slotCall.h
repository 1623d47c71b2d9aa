#pragma once

#include <cstdint>

namespace qvg {

/// Marks, for its lifetime, which slot of the table the calling thread is in, so that log lines can name it.
class SlotCall {
 public:
  /// @param name of static lifetime.
  explicit SlotCall(const char* name) noexcept;
  ~SlotCall();
  SlotCall(const SlotCall&) = delete;
  SlotCall& operator=(const SlotCall&) = delete;

  /// The calling thread's innermost slot; empty outside.
  static const char* Name() noexcept;

 private:
  const char* outer_;
};

/// Logs one warning that the slot which the calling thread is in refuses its call: which argument, and what was
/// expected of it. Repetitions are only counted, and logged at the 10th, 100th, 1000th time. Texts are of static
/// lifetime.
void Refuse(const char* argument, const char* expected) noexcept;
/// For a start of the library: from now on refusals are logged again.
void ForgetRefusals() noexcept;

/// Whether it holds; refuses the call where it doesn't.
inline bool Expect(bool holds, const char* argument, const char* expected) noexcept {
  if (!holds) Refuse(argument, expected);
  return holds;
}

}  // namespace qvg
