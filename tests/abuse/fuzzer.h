// Calls the table's slots in well-formed sequences with hostile values and checks what must hold whatever the values.
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

/// Objects of the library, all of them alive.
struct Handles {
  struct Target {
    QVGFrameBuffer* handle = nullptr;
    QVGTexture* bound = nullptr;  ///< Perhaps, after a bind that failed.
    bool drawable = true;         ///< Nothing is bound that is gone.
  };

  void GiveBackAll(const QVGGLRendererInterface& gl);

  std::vector<QVGTexture*> textures;
  std::vector<Target> targets;
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
  int32_t matte = 0;
  int32_t order = 0;  ///< Of channels.
  std::array<int32_t, 3> formats = {};
  uint32_t parameters = 0;  ///< Of the effect, a bit each; colours are switched on in any case.

  std::mutex mutex = {};
  Handles handedOver = {};  ///< On their way from one thread to another.
};

/// Images for effects, and whether each that was handed out came back.
struct HostImages {
  static QVGHostImage* Decode(const char* path);
  static void Free(const char* path, QVGHostImage* image);
  static std::atomic<int> out;    ///< Handed out and not yet taken back.
  static std::atomic<int> valid;  ///< Handed out with pixels that can be shown, since it was set to 0.
};

/// Works as one thread of the host until as many calls are done, or it is that late.
/// @param handlesAreLeft it keeps what the library takes back at its release anyway.
void Fuzz(Round& round, uint64_t seed, int64_t calls, std::chrono::steady_clock::time_point end, bool handlesAreLeft);

}  // namespace qvg::test
