// Calls the table's slots in well-formed sequences with hostile values and checks what must hold whatever the values.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "abuse/foreignHost.h"
#include "abuse/hostile.h"
#include "qvGLRenderer/qvGLRenderer.h"
#include "support/platform.h"

namespace qvg::test {

inline constexpr int kSlotCount = 64;

/// How often each slot was called, and how often it answered something else than its failure value.
struct SlotCounts {
  std::array<int64_t, kSlotCount> calls = {}, successes = {};

  void Add(const SlotCounts& other);
  int64_t AllCalls() const;
};
const char* NameOfSlot(int slot);

/// What the threads between one start of the library and its release have in common.
struct Round {
  const QVGGLRendererInterface& gl;
  uint64_t seed = 0;
  int maxSize = 0;
  QVGGLContext* elsewhere = nullptr;  ///< Current on another thread all the time.
  // What makes the driver compile something is drawn from few values a round.
  std::array<int32_t, 2> blends = {};
  int32_t matte = 0;
  int32_t order = 0;  ///< Of channels.
  std::array<int32_t, 3> formats = {};
  uint32_t parameters = 0;  ///< Of the effect, a bit each.

  // Objects on their way from one thread to another.
  std::mutex mutex = {};
  std::vector<QVGTexture*> textures = {};
  std::vector<QVGFrameBuffer*> frameBuffers = {};
  std::vector<QVGPixelBuffer> reads = {};
  std::vector<QVGEffect*> effects = {};
};

/// Images for effects, and whether each that was handed out came back.
struct HostImages {
  static QVGHostImage* Decode(const char* path);
  static void Free(const char* path, QVGHostImage* image);
  static std::atomic<int> out;    ///< Handed out and not yet taken back.
  static std::atomic<int> valid;  ///< Handed out with pixels that can be shown, since it was set to 0.
};

/// One thread of the host. All handles that it holds are alive, and current elsewhere never.
class Fuzzer {
 public:
  Fuzzer(Round& round, uint64_t seed);
  ~Fuzzer();
  Fuzzer(const Fuzzer&) = delete;
  Fuzzer& operator=(const Fuzzer&) = delete;

  /// Until as many calls are done, or it is that late.
  void Run(int64_t calls, std::chrono::steady_clock::time_point end);
  /// Keeps what the library takes back at its release anyway.
  void LeaveForRelease();
  const SlotCounts& Counts() const { return counts_; }

 private:
  friend struct Slots;
  struct Target {
    QVGFrameBuffer* handle = nullptr;
    QVGTexture* bound = nullptr;  ///< Perhaps, after a bind that failed.
    bool drawable = true;         ///< Nothing is bound that is gone.
  };
  enum class Mode { kHome, kNoContext, kForeign };

  void _Sequence(int calls);
  void _Call(int slot);
  void _Enter(Mode mode);
  void _ComeHome();
  void _HandOver();
  void _GiveBackAll();
  void _Expect(bool holds, const char* what) const;

  QVGTexture* _Texture();
  Target* _Target(bool drawn);
  QVGEffect* _Effect();
  QVGGLContext* _Context(bool mayBeCurrent);
  QVGWndDrawer* _Drawer() { return drawers_.empty() || random_.OneIn(8) ? nullptr : random_.Pick(drawers_); }
  bool _Keep(QVGTexture* texture);
  void _Forget(const QVGTexture* texture);
  bool _KeepRead(bool read, QVGPixelBuffer* out, bool given);
  const char* _EffectName();

  Round& round_;
  const QVGGLRendererInterface& gl_;
  Hostile random_;
  HostileFrames frames_;
  ForeignHost foreign_;
  HostWindow window_;
  SlotCounts counts_;
  int64_t sequence_ = 0;
  int slot_ = 0;
  Mode mode_ = Mode::kNoContext;
  QVGGLContext* home_ = nullptr;
  QVGGLContext* current_ = nullptr;  // of the library, whatever the mode

  std::vector<QVGTexture*> textures_;
  std::vector<Target> targets_;
  std::vector<QVGEffect*> effects_;
  std::vector<QVGPixelBuffer> reads_;
  std::vector<QVGGLContext*> contexts_;  // without home
  std::vector<QVGWndDrawer*> drawers_;
};

}  // namespace qvg::test
