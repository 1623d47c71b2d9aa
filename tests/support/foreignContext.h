// GL contexts that a host creates itself, beside the library's.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace qvg::test {

/// A context with a small surface that shares nothing with the library's.
class ForeignContext {
 public:
  /// The names of the APIs with which this machine can create one; at least one.
  static std::vector<std::string> Kinds();
  /// Null on failure. The context is not current yet.
  static std::unique_ptr<ForeignContext> Make(const std::string& kind);

  virtual ~ForeignContext() = default;
  /// Only a context of the same kind may be current on the thread before.
  virtual bool MakeCurrent() = 0;
  virtual bool IsCurrent() const = 0;
  virtual void Unbind() = 0;
};

}  // namespace qvg::test
