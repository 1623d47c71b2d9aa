// One thread of a careless host: calls the table's slots with hostile values and checks what must hold whatever the
// values.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <vector>

#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg::test {

inline constexpr int kSlotCount = 64;
const char* NameOfSlot(int slot);

/// How often each slot was called, and how often it answered something else than its failure value.
struct SlotCounts {
  std::array<std::atomic<int64_t>, kSlotCount> calls = {}, successes = {};
  std::atomic<int64_t> all = 0;
};

struct DrawTarget {
  QVGFrameBuffer* handle = nullptr;
  QVGTexture* bound = nullptr;
  bool drawable = true;  ///< What was bound is not gone.
};

/// Objects of the library, all of them alive.
struct Handles {
  void GiveBackAll(const QVGGLRendererInterface& gl);

  std::vector<QVGTexture*> textures;
  std::vector<DrawTarget> targets;
  std::vector<QVGEffect*> effects;
  std::vector<QVGPixelBuffer> reads;
  std::vector<QVGGLContext*> contexts;
  std::vector<QVGWndDrawer*> drawers;
};

/// What the threads between one start of the library and its release have in common.
struct Round {
  const QVGGLRendererInterface& gl;
  SlotCounts& counts;
  uint64_t seed = 0;
  int maxSize = 0;
  QVGGLContext* elsewhere = nullptr;  ///< Current on another thread all the time.
  // What makes the driver compile something is drawn from few values a round.
  std::array<int32_t, 2> blends = {};
  std::array<int32_t, 3> formats = {};
  int32_t matte = 0;
  int32_t order = 0;        ///< Of channels.
  uint32_t parameters = 0;  ///< Of the effect, a bit each; the others stay 0.

  std::mutex mutex = {};
  Handles handedOver = {};  ///< On their way from one thread to another.
};

/// Makes that many calls, or fewer where the time is over. A fault ends the program.
/// @param leave some handles are not given back.
void Abuse(Round& round, uint64_t seed, int64_t calls, std::chrono::steady_clock::time_point end, bool leave);

}  // namespace qvg::test
