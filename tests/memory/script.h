// A host that calls slots whose allocations fail, and looks at what they give.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "heapFaults.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg::test {

/// What a faultless run has shown, by name.
using Pictures = std::map<std::string, std::vector<uint8_t>>;

/// One run of a scenario. A slot may fail when one of its allocations did; what it gives as a success must be right.
class Script {
 public:
  /// @param expected empty: this run says what is right.
  explicit Script(const Pictures& expected) : expected_(expected) {}

  /// Calls a slot. Its result is a pointer or a bool; one that fails for no reason is a fault.
  template <class Call>
  auto Slot(const std::string& name, Call call) {
    const int before = FailedAllocations();
    const auto result = [&] {
      const HeapOwner library(HeapOwner::kLibrary);
      return call();
    }();
    if (!result && FailedAllocations() == before) Fault(name + " failed for no reason");
    return result;
  }
  /// Calls a slot that gives something back and writes null, always.
  template <class Handle>
  void GiveBack(const std::string& name, void (*slot)(Handle**), Handle*& handle) {
    if (handle == nullptr) return;
    Slot(name, [&] { return slot(&handle), true; });
    if (handle != nullptr) Fault(name + " left its handle");
    handle = nullptr;
  }
  template <class Handle>
  void GiveBack(const std::string& name, bool (*slot)(Handle**), Handle*& handle) {
    if (handle == nullptr) return;
    Slot(name, [&] { return slot(&handle); });
    if (handle != nullptr) Fault(name + " left its handle");
    handle = nullptr;
  }

  /// The library, and a context of it current on the calling thread; false when that can't be had.
  bool Start();
  /// The texture's picture. Null shows nothing.
  void Show(const std::string& name, QVGTexture* texture);
  /// What a read-back has filled, and gives it back. One that failed must have left no planes.
  void TakeRead(const std::string& name, bool ok, QVGPixelBuffer& buffer);
  void TakeBytes(const std::string& name, const QVGPixelBuffer& buffer);
  void Fault(const std::string& what) { faults_ += what + "; "; }
  /// Gives the context back. What was shown must be complete when nothing has failed.
  void End();

  const QVGGLRendererInterface* table = nullptr;
  QVGGLContext* context = nullptr;
  const Pictures& Shown() const { return shown_; }
  const std::string& Faults() const { return faults_; }

 private:
  void _Keep(const std::string& name, std::vector<uint8_t> bytes);

  const Pictures& expected_;
  Pictures shown_;
  std::string faults_;
};

struct Scenario {
  const char* name;
  enum Kind {
    kRuns,  ///< Between a start and a release.
    kStarts,
    kEnds,
    kShows,  ///< Needs a window.
  } kind;
  void (*run)(Script& script);
};
const std::vector<Scenario>& Scenarios();

}  // namespace qvg::test
