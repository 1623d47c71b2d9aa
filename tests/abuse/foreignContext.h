// A context that a host has beside the library: another display, another share group, textures of its own whose names
// equal the library's.
#pragma once

#include <cstdint>
#include <vector>

namespace qvg::test {

class ForeignContext {
 public:
  ForeignContext();
  ~ForeignContext();
  ForeignContext(const ForeignContext&) = delete;
  ForeignContext& operator=(const ForeignContext&) = delete;

  bool Available() const { return context_ != nullptr; }
  /// Makes it current in place of whatever is, and leaves a GL error pending on it.
  bool MakeCurrent();
  bool IsCurrent() const;
  /// While it is current: whether its textures and its pending error are as they were.
  bool IsUntouched();
  /// Makes nothing current.
  void Leave();

 private:
  void* display_ = nullptr;
  void* context_ = nullptr;
  std::vector<uint32_t> textures_;
};

}  // namespace qvg::test
