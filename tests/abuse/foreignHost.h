#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "support/foreignContext.h"

namespace qvg::test {

/// A host with a context of its own, on which it has textures whose names equal the library's.
class ForeignHost {
 public:
  ForeignHost();

  /// Makes the context current in place of whatever is, and leaves a GL error pending on it.
  bool Enter();
  bool IsCurrent() const { return context_->IsCurrent(); }
  /// While it is current: whether its textures and its pending error are as they were.
  bool IsUntouched() const;
  void Leave() { context_->Unbind(); }

 private:
  std::unique_ptr<ForeignContext> context_;
  std::vector<uint32_t> textures_;
};

}  // namespace qvg::test
