// A host whose calls may fail: its record of each call, and the contents of textures and read-backs.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "faults.h"
#include "heap.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg::test {

/// A call of the table whose success and picture are compared.
struct Step {
  bool done = false;
  bool hit = false;  ///< A call of the driver failed during it, or, while all fail, before it.
  std::vector<uint8_t> picture;
};

/// The table. Allocations during a call of a slot are the library's, all others the test's.
class Slots {
 public:
  explicit Slots(const QVGGLRendererInterface& table) : table_(&table) {}

  struct Call {
    const QVGGLRendererInterface* table;
    HeapOwner library{HeapOwner::kLibrary};  ///< Until the end of the expression.
    const QVGGLRendererInterface* operator->() const { return table; }
  };
  Call operator->() const { return {table_}; }

 private:
  const QVGGLRendererInterface* table_;
};

class Host {
 public:
  explicit Host(const QVGGLRendererInterface& table) : gl(table) {}

  const Slots gl;

  // Each records a step right after its call, and returns whether the call succeeded.
  bool Did(bool done) { return _Note(done, {}); }
  /// texture: null, or with the picture.
  bool Made(const QVGTexture* texture);
  bool Drew(bool done, const QVGTexture* target);
  bool Drew(bool done, QVGFrameBuffer* target);
  /// When it failed, its planes have to be null.
  bool Read(bool done, const QVGPixelBuffer& out);
  /// With the window's picture, if that can be read.
  bool Showed(bool done, const class HostWindow& window);

  /// Records a fault that doesn't depend on the picture.
  void Blame(const std::string& fault) { faults += fault + "; "; }

  std::vector<Step> steps;
  std::string faults;
  const Host* expected = nullptr;  ///< What has to be seen, for pictures that take time to appear on the screen.

 private:
  bool _Note(bool done, std::vector<uint8_t> picture);

  int failedBefore_ = 0;
};

/// A part of a scenario with that many steps; skipped ones are recorded as not done.
class Part {
 public:
  Part(Host& host, size_t steps) : host_(host), end_(host.steps.size() + steps) {}
  ~Part() {
    if (host_.steps.size() < end_) host_.steps.resize(end_, {false, true, {}});
  }
  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;

 private:
  Host& host_;
  size_t end_;
};

/// The texture's stored content, with everything that decides how it looks. Leaves the context unchanged.
std::vector<uint8_t> PictureOf(const QVGTexture* texture);
/// All bytes of a read-back's planes.
std::vector<uint8_t> BytesOf(const QVGPixelBuffer& buffer);

struct Scenario {
  const char* name;
  void (*run)(Host& host);
  enum Begin { kWithContext, kStarted, kReleased };
  Begin begin = kWithContext;  ///< The state in which the scenario begins.
  bool window = false;         ///< Needs a display.
};

const std::vector<Scenario>& Scenarios();

/// Starts the library with callbacks that decode an image for every path.
const QVGGLRendererInterface& StartLibrary();
void ReleaseLibrary();

/// Runs the work on another thread, and waits for it.
void OnThread(const std::function<void()>& work);

}  // namespace qvg::test
