// A host whose calls may fail: what it records of each call, and what a texture and a read-back hold.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "faults.h"
#include "heap.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg::test {

/// One call of the table whose success and picture count.
struct Step {
  bool done = false;
  bool hit = false;  ///< Some call of the driver failed during it, or before it while all fail.
  std::vector<uint8_t> picture;
};

/// The table. What a call of a slot allocates is the library's, all else the test's.
class Slots {
 public:
  explicit Slots(const QVGGLRendererInterface& table) : table_(&table) {}

  struct Call {
    const QVGGLRendererInterface* table;
    HeapOwner library{HeapOwner::kLibrary};  ///< To the end of the expression.
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
  /// Null, or a texture with the picture.
  bool Made(const QVGTexture* texture);
  bool Drew(bool done, const QVGTexture* target);
  bool Drew(bool done, QVGFrameBuffer* target);
  /// Failed, its planes are null.
  bool Read(bool done, const QVGPixelBuffer& out);
  /// The window's picture, if it can be told.
  bool Showed(bool done, const class HostWindow& window);

  /// What is wrong, whatever the picture is.
  void Blame(const std::string& fault) { faults += fault + "; "; }

  std::vector<Step> steps;
  std::string faults;
  const Host* expected = nullptr;  ///< What is to be seen, for what takes its time on the screen.

 private:
  bool _Note(bool done, std::vector<uint8_t> picture);

  int failedBefore_ = 0;
};

/// A part of a scenario with that many steps; those that it skips are recorded as not done.
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

/// What the texture stores in its content, with everything that decides how it looks. Without a trace in the context.
std::vector<uint8_t> PictureOf(const QVGTexture* texture);
/// All bytes of a read-back's planes.
std::vector<uint8_t> BytesOf(const QVGPixelBuffer& buffer);

struct Scenario {
  const char* name;
  void (*run)(Host& host);
  enum Begin { kWithContext, kStarted, kReleased };
  Begin begin = kWithContext;  ///< What the scenario finds.
  bool window = false;         ///< It needs an X server or the like.
};

const std::vector<Scenario>& Scenarios();

/// Starts the library with callbacks that decode an image for every path.
const QVGGLRendererInterface& StartLibrary();
void ReleaseLibrary();

/// On a thread of its own, which is waited for.
void OnThread(const std::function<void()>& work);

}  // namespace qvg::test
