// GL contexts that a host makes by itself, beside the library's.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace qvg::test {

/// A context with a small surface that shares nothing with the library's.
class ForeignContext {
 public:
  /// The ways that this machine has to make one, by name; at least one.
  static std::vector<std::string> Kinds();
  /// Null when none could be made. It is current nowhere yet.
  static std::unique_ptr<ForeignContext> Make(const std::string& kind);

  virtual ~ForeignContext() = default;
  /// Nothing else may be current on the thread, unless it is of the same kind.
  virtual bool MakeCurrent() = 0;
  virtual bool IsCurrent() const = 0;
  virtual void Unbind() = 0;
};

}  // namespace qvg::test
