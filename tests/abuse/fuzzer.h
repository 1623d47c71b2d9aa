// Calls the table's slots in well-formed sequences with hostile values and checks what must hold whatever the values.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "abuse/checks.h"
#include "abuse/foreignHost.h"
#include "abuse/hostile.h"
#include "qvGLRenderer/qvGLRenderer.h"
#include "support/platform.h"
#include "support/reference.h"

namespace qvg::test {

using I = QVGGLRendererInterface;

inline constexpr int kSlotCount = 64;
const char* NameOfSlot(int slot);

/// How often each slot was called, and how often it answered something else than its failure value.
struct SlotCounts {
  std::array<std::atomic<int64_t>, kSlotCount> calls = {}, successes = {};
  std::atomic<int64_t> all = 0;
};

inline constexpr char kEffect[] = "general_eff";
// The sizes of images, which may have no pixels, or what is none.
inline constexpr const char* kPaths[] = {
    "5x3", "1x1", "unreadable", "4x4 ", "-4x4", "0x4", "2147483647x2147483647", "1048576x1", ""};

// No object of the library: slots that promise to tell are handed this.
template <class Handle>
Handle* NoHandle() {
  static uint64_t something[64] = {};
  return reinterpret_cast<Handle*>(something);
}

struct DrawTarget {
  QVGFrameBuffer* handle = nullptr;
  QVGTexture* bound = nullptr;  ///< Perhaps, after a bind that failed.
  bool drawable = true;         ///< Nothing is bound that is gone.
};

inline void Return(const I& gl, QVGTexture* texture) { gl.ReleaseTexture(&texture); }
inline void Return(const I& gl, DrawTarget target) { gl.DestroyFrameBuffer(&target.handle); }
inline void Return(const I& gl, QVGEffect* effect) { gl.DestroyEffect(&effect); }
inline void Return(const I& gl, QVGGLContext* context) { gl.DestroySharedContext(&context); }
inline void Return(const I& gl, QVGWndDrawer* drawer) { gl.DestroyWndDrawer(&drawer); }
inline void Return(const I& gl, QVGPixelBuffer read) {
  QVGPixelBuffer* pointer = &read;
  gl.ReleasePixelBuffer(&pointer);
}

/// Objects of the library, all of them alive.
struct Handles {
  void GiveBackAll(const I& gl) {
    const auto giveBack = [&](auto&... kinds) {
      (std::for_each(kinds.begin(), kinds.end(), [&](const auto& handle) { Return(gl, handle); }), ...);
    };
    giveBack(targets, textures, effects, drawers, reads, contexts);
    *this = {};
  }

  std::vector<QVGTexture*> textures;
  std::vector<DrawTarget> targets;
  std::vector<QVGEffect*> effects;
  std::vector<QVGPixelBuffer> reads;
  std::vector<QVGGLContext*> contexts;
  std::vector<QVGWndDrawer*> drawers;
};

/// What the threads between one start of the library and its release have in common.
struct Round {
  const I& gl;
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
  static QVGHostImage* Decode(const char* path) {
    int width = 0, height = 0;
    if (std::sscanf(path, "%dx%d", &width, &height) != 2) return nullptr;
    const bool empty = std::string_view(path).ends_with(' ');
    const bool shows = !empty && width > 0 && height > 0 && width <= 16384 && height <= 16384;
    ++out;
    if (shows) ++valid;
    // What can't be shown has a byte at most.
    return new QVGHostImage{empty ? nullptr : new uint8_t[shows ? size_t{4} * width * height : 1](), {}, width, height};
  }
  static void Free(const char* /*path*/, QVGHostImage* image) {
    --out;
    delete[] image->pixels;
    delete image;
  }
  static inline std::atomic<int> out = 0;    ///< Handed out and not yet taken back.
  static inline std::atomic<int> valid = 0;  ///< Handed out with pixels that can be shown, since it was set to 0.
};

/// One thread of the host. Nothing that it holds is current elsewhere.
class Fuzzer {
 public:
  Fuzzer(Round& itsRound, uint64_t seed)
      : round(itsRound), gl(round.gl), random(seed), window_(24, 16), home_(gl.GetSharedContext()) {
    Expect(home_ != nullptr, "there is no context");
    _ComeHome();
  }

  void Run(int64_t calls, std::chrono::steady_clock::time_point end) {
    constexpr int kSequence = 96;
    for (int64_t done = 0; done < calls && std::chrono::steady_clock::now() < end; done += kSequence) {
      _Sequence(static_cast<int>(std::min<int64_t>(kSequence, calls - done)));
    }
  }

  void End(bool handlesAreLeft) {
    if (handlesAreLeft) mine.effects.clear(), mine.reads.clear(), mine.contexts.clear();
    mine.GiveBackAll(gl);
    gl.ReleaseSharedContext(&home_);
  }

  void Expect(bool holds, const char* what) const {
    if (holds) return;
    std::fprintf(stderr, "FAULT: %s (seed %llu, sequence %lld, slot %d %s)\n", what,
                 static_cast<unsigned long long>(round.seed), static_cast<long long>(sequence_), slot_,
                 NameOfSlot(slot_));
    std::abort();
  }

  // ---- Handles

  template <class T>
  T Take(std::vector<T>& all) {
    if (all.empty()) return {};
    std::swap(all[static_cast<size_t>(random.Below(static_cast<int>(all.size())))], all.back());
    const T taken = all.back();
    all.pop_back();
    _Forget(taken);
    return taken;
  }

  /// Gives one back where there are too many.
  template <class T>
  bool Keep(std::vector<T>& all, size_t most, T made) {
    if (made == T{}) return false;
    all.push_back(made);
    if (all.size() > most) Return(gl, Take(all));
    return true;
  }
  bool Keep(QVGTexture* texture) { return Keep(mine.textures, 16, texture); }
  bool Keep(QVGGLContext* context) { return Keep(mine.contexts, 3, context); }
  bool Keep(QVGFrameBuffer* frameBuffer) {
    if (frameBuffer == nullptr) return false;
    mine.targets.push_back({frameBuffer});
    if (mine.targets.size() > 8) Return(gl, Take(mine.targets));
    return true;
  }

  template <class T>
  T* Any(const std::vector<T*>& all, int noneIn) {
    return all.empty() || random.OneIn(noneIn) ? nullptr : random.Pick(all);
  }
  QVGTexture* Texture() { return Any(mine.textures, 24); }
  QVGWndDrawer* Drawer() { return Any(mine.drawers, 8); }
  QVGEffect* Effect() { return random.OneIn(16) ? NoHandle<QVGEffect>() : Any(mine.effects, 16); }
  /// Without a handle where there is none, or none that can be drawn to.
  DrawTarget& AnyTarget(bool drawn) {
    none_ = {};
    if (mine.targets.empty() || random.OneIn(24)) return none_;
    DrawTarget& target = mine.targets[static_cast<size_t>(random.Below(static_cast<int>(mine.targets.size())))];
    return target.drawable || !drawn ? target : none_;
  }

  // ---- Values

  uint32_t Unsigned() { return static_cast<uint32_t>(random.Integer()); }
  /// The value, or null one time in so many.
  template <class T>
  T* OrNull(T* value, int noneIn) {
    return random.OneIn(noneIn) ? nullptr : value;
  }
  const char* EffectName() {
    static const std::string kLong(5000, 'x');
    const char* const names[] = {"", nullptr, "general_ef", "zh_CN", "\xff\xfe%s%n", kLong.c_str()};
    return random.OneIn(3) ? random.Pick(names) : kEffect;
  }
  QVGCamera Camera(int width, int height) {
    QVGCamera camera = DefaultCamera(std::clamp(width, 1, 64), std::clamp(height, 1, 64));
    if (random.OneIn(2)) return camera;
    camera.projection = random.OneIn(2) ? 1 : random.Integer();
    for (float* number : {&camera.left, &camera.right, &camera.top, &camera.bottom, &camera.orthoNear, &camera.orthoFar,
                          &camera.fovy, &camera.aspect, &camera.perspectiveNear, &camera.perspectiveFar, &camera.eye[0],
                          &camera.eye[2], &camera.centre[1], &camera.up[1]})
      *number = static_cast<float>(random.Number(*number));
    return camera;
  }
  QVGDrawTextureParams DrawParams(QVGTexture* matte) {
    QVGDrawTextureParams params = DefaultParams();
    params.matteTexture = random.OneIn(3) ? matte : nullptr;
    params.matteType = random.OneIn(8) ? random.Integer() : round.matte;
    params.blendType = random.OneIn(8) ? random.Integer() : random.Pick(round.blends);
    params.simpleMatte = random.OneIn(8);
    params.depthTest = random.OneIn(4);
    params.useSizeFactor = random.OneIn(4);
    params.opacity = random.Fraction();
    if (random.OneIn(2)) return params;
    const auto spoil = [&](auto&... lists) {
      for (const std::span<double> list : {std::span<double>(lists)...})
        for (double& number : list) number = random.Number(number);
    };
    spoil(params.anchor, params.translation, params.scale, params.rotation, params.simpleMatteSize, params.sizeFactor);
    return params;
  }

  // ---- Slots of more than one line; true for anything but the slot's failure value

  bool Preallocate(void (*slot)(uint32_t, uint32_t, int32_t)) {
    // Of so few pixels that many of them can be idle.
    const auto [width, height] = random.Area();
    const bool possible = width > 0 && height > 0 && width <= 65536 && height <= 65536;
    const int32_t count = random.Integer();
    slot(static_cast<uint32_t>(width), static_cast<uint32_t>(height), possible ? std::min(count, 3) : count);
    return false;
  }

  bool PreallocateBuffers() {
    const bool none = random.Flag();
    gl.PreallocatePixelBuffers(none ? Unsigned() : static_cast<uint32_t>(random.Below(4096)),
                               none ? -random.Below(1 << 30) : random.Below(4), random.Flag());
    return false;
  }

  bool MakeContext() {
    const bool hidden = random.OneIn(3);
    // No window has such a number.
    void* const window = hidden && random.Flag() ? NoHandle<void>() : reinterpret_cast<void*>(intptr_t{-1});
    return Keep(gl.CreateSharedContext(NoHandle<void>(), window, hidden));
  }

  bool GiveBackContext(bool destroy) {
    const bool hostile = random.OneIn(8);
    QVGGLContext* context = hostile ? NoHandle<QVGGLContext>() : Take(mine.contexts);
    const bool had = !hostile && context != nullptr;
    if (destroy) {
      gl.DestroySharedContext(&context);
    } else {
      Expect(gl.ReleaseSharedContext(&context) == !hostile, "what is no context was given back, or one was not");
    }
    Expect(context == nullptr, "a context's pointer is not null");
    return had;
  }

  bool MakeCurrent() {
    const bool busy = random.OneIn(16);
    QVGGLContext* next = random.OneIn(8) ? nullptr : random.OneIn(6) ? Any(mine.contexts, 24) : home_;
    if (!mine.drawers.empty() && random.OneIn(3)) next = gl.GetWndDrawerHandle(mine.drawers.back());
    if (busy) next = round.elsewhere;
    QVGGLContext* previous = NoHandle<QVGGLContext>();
    const bool made = gl.MakeCurrentContext(next, OrNull(&previous, 2));
    Expect(previous == current_ || previous == NoHandle<QVGGLContext>(), "previous is not what was current");
    Expect(!busy || !made, "a context that is current elsewhere was had");
    if (made || next == nullptr) current_ = next;
    if (made) foreign_ = false;
    return made;
  }

  bool Version(void (*slot)(int32_t*, int32_t*)) {
    int32_t numbers[2] = {};
    slot(OrNull(&numbers[0], 4), OrNull(&numbers[1], 4));
    return true;
  }

  bool Upload(bool anew) {
    HostileFrames::Frame frame = frames_.Make(random, random.Pick(round.formats), round.maxSize);
    const QVGPixelBuffer* const source = OrNull(&frame.buffer, 32);
    const bool good = source != nullptr && frame.valid, flipped = random.Flag(), matte = random.OneIn(4);
    const QVGColor color = {random.Fraction(), random.Fraction(), random.Fraction(), random.Fraction()};
    if (!anew) {
      const bool loaded = gl.UploadPixelBufferToTexture(Texture(), source, flipped, matte, color);
      Expect(!loaded || good, "a bad frame was taken");
      return loaded;
    }
    QVGTexture* const texture = gl.UploadPixelBufferToNewTexture(source, flipped, matte, color);
    Expect((texture != nullptr) == (good && current_ != nullptr), "a bad frame was taken or a good one refused");
    return Keep(texture);
  }

  bool Clear(bool target) {
    const double color[4] = {random.Real(), random.Fraction(), random.Fraction(), random.Fraction()};
    const double* const given = OrNull(color, 16);
    return target ? gl.ClearFrameBuffer(AnyTarget(true).handle, given) : gl.ClearTexture(Texture(), given);
  }

  bool SetContent(bool origin) {
    QVGTexture* const texture = Texture();
    const auto slot = origin ? gl.SetTextureOrigin : gl.SetTextureSize;
    if (texture == nullptr || random.OneIn(3)) return slot(texture, Unsigned(), Unsigned());
    // Often a possible rectangle in the storage, so that what is drawn is not always nothing.
    const uint32_t width = gl.GetTextureAllocatedWidth(texture), height = gl.GetTextureAllocatedHeight(texture);
    return origin ? slot(texture, 0, 0) : slot(texture, 1 + random.Next() % width, 1 + random.Next() % height);
  }

  template <class Slot>
  bool Read(Slot slot) {
    QVGPixelBuffer buffer = {};
    for (uint8_t*& plane : buffer.plane) plane = NoHandle<uint8_t>();
    QVGPixelBuffer* const out = OrNull(&buffer, 32);
    if (!slot(Texture(), out)) {
      const bool left =
          std::any_of(std::begin(buffer.plane), std::end(buffer.plane), [](auto* plane) { return plane; });
      Expect(out == nullptr || !left, "a read-back that failed left a plane");
      return false;
    }
    const bool yuv = out->format != QVG_FORMAT_RGBA && out->format != QVG_FORMAT_BGRA;
    volatile uint8_t sum = 0;
    for (int p = 0; p < 3; ++p) {
      if (out->plane[p] == nullptr) continue;
      Expect(p == 0 || yuv, "RGB has more than a plane");
      const int64_t rows = p > 0 ? out->height / 2 : out->height;
      for (int64_t i = 0; i < rows * out->stride[p]; ++i) sum = sum + out->plane[p][i];
    }
    mine.reads.push_back(*out);
    if (mine.reads.size() > 6) Return(gl, Take(mine.reads));
    return true;
  }

  bool ReleaseRead() {
    QVGPixelBuffer buffer = {};
    const bool hostile = random.OneIn(6);
    if (hostile) buffer.plane[0] = NoHandle<uint8_t>();
    if (!hostile) buffer = Take(mine.reads);
    QVGPixelBuffer* pointer = hostile && random.Flag() ? nullptr : &buffer;
    gl.ReleasePixelBuffer(pointer == nullptr ? OrNull(&pointer, 32) : &pointer);
    Expect(pointer == nullptr, "a released descriptor's pointer is not null");
    return true;
  }

  bool ReleaseTexture() {
    QVGTexture* texture = random.OneIn(16) ? nullptr : Take(mine.textures);
    const bool had = texture != nullptr;
    gl.ReleaseTexture(had ? &texture : OrNull(&texture, 32));
    Expect(texture == nullptr, "a released texture's pointer is not null");
    return had;
  }

  bool MakeTargetFromDesc() {
    const auto [width, height] = random.Area();
    const QVGFrameBufferDesc desc = {width,         height,        random.Integer(),
                                     random.Flag(), random.Flag(), Camera(width, height)};
    return Keep(gl.CreateFrameBufferFromDesc(OrNull(&desc, 16)));
  }

  bool Bind() {
    DrawTarget& target = AnyTarget(false);
    QVGTexture* const texture = Texture();
    const bool bound = gl.BindTextureToFrameBuffer(target.handle, texture);
    Expect(!bound || (target.handle != nullptr && texture != nullptr), "nothing was bound with success");
    if (bound) target = {target.handle, texture};
    return bound;
  }

  bool Draw() {
    const DrawTarget target = AnyTarget(true);
    // Often the target itself, as source or as matte.
    QVGTexture* const source = random.OneIn(6) ? target.bound : Texture();
    const QVGDrawTextureParams params = DrawParams(random.OneIn(4) ? target.bound : Texture());
    return gl.DrawTexture(source, target.handle, OrNull(&params, 8));
  }

  bool DestroyTarget() {
    QVGFrameBuffer* handle = random.OneIn(16) ? nullptr : Take(mine.targets).handle;
    const bool had = handle != nullptr;
    Expect(gl.DestroyFrameBuffer(&handle) == had && handle == nullptr, "a frame buffer was not destroyed");
    return had;
  }

  bool MakeDrawer() {
    void* const window = random.OneIn(4) ? reinterpret_cast<void*>(intptr_t{-1}) : window_.handle();
    return Keep(mine.drawers, 2, gl.CreateWndDrawer(OrNull(window, 8)));
  }

  bool DestroyDrawer() {
    QVGWndDrawer* drawer = random.OneIn(8) ? nullptr : Take(mine.drawers);
    return gl.DestroyWndDrawer(&drawer) && drawer == nullptr;
  }

  bool ClearWindow() {
    const double color[3] = {random.Real(), random.Fraction(), random.Fraction()};
    return gl.ClearWnd(Drawer(), OrNull(color, 8), NoHandle<void>(), nullptr);
  }

  bool EffectNames() {
    const char* names[8] = {};
    int32_t count = 0;
    const int32_t capacity = random.OneIn(2) ? 8 : -random.Below(1 << 30);
    return gl.GetEffectNames(random.OneIn(2) ? 1 : random.Integer(), OrNull(names, 4), capacity, OrNull(&count, 8));
  }

  bool ParameterTable() {
    const QVGParamDescriptor* table = nullptr;
    uint32_t count = 0;
    return gl.GetEffectParameterTable(EffectName(), OrNull(&table, 4), OrNull(&count, 8));
  }

  bool DestroyEffect() {
    const bool hostile = random.OneIn(8);
    QVGEffect* effect = hostile ? NoHandle<QVGEffect>() : Take(mine.effects);
    const bool destroyed = gl.DestroyEffect(&effect);
    Expect(!hostile || !destroyed, "what is no effect was destroyed");
    return destroyed && effect == nullptr;
  }

  bool SetParameter() {
    static constexpr QVGParamType kTypes[] = {QVG_PARAM_INTEGER, QVG_PARAM_BOOLEAN, QVG_PARAM_TEXT, QVG_PARAM_COLOR};
    const QVGParamDescriptor* table = nullptr;
    uint32_t rows = 0;
    gl.GetEffectParameterTable(kEffect, &table, &rows);
    uint32_t row = random.Next() % rows;
    const auto isStage = [&] { return table[row].valueType == QVG_PARAM_BOOLEAN; };
    if (random.OneIn(3))
      while (!isStage()) row = random.Next() % rows;
    // A stage that this round is without stays off.
    const bool allowed = (round.parameters >> row & 1) != 0 || std::string_view(table[row].name) == "enable_color";
    const bool on = allowed && !random.OneIn(4);
    QVGParamValue value = {};
    value.type = random.OneIn(8) ? random.Pick(kTypes) : random.OneIn(16) ? random.Integer() : table[row].valueType;
    if (value.type == QVG_PARAM_TEXT) {
      value.value.text = random.OneIn(8) ? nullptr : random.Pick(kPaths);
    } else if (value.type == QVG_PARAM_COLOR) {
      for (double& channel : value.value.color) channel = random.Fraction();
    } else if (value.type == QVG_PARAM_BOOLEAN) {
      value.value.boolean = on;
    } else if (isStage() || !allowed) {
      value.value.integer = on;
    } else {
      value.value.integer = random.OneIn(4) ? int64_t{random.Integer()} << random.Below(33) : random.Below(100);
    }
    const char* const key = random.OneIn(16) ? OrNull("", 2) : table[row].name;
    return gl.SetEffectParameter(Effect(), key, OrNull(&value, 32));
  }

  bool Apply() {
    QVGEffect* const effect = Effect();
    QVGTexture* const input = Texture();
    QVGTexture* const output = gl.ApplyEffect(effect, input);
    Expect(effect != nullptr || output == input, "without an effect the input is not the output");
    return effect != nullptr && Keep(output);
  }

  bool ApplyWith() {
    QVGTexture* const first = Texture();
    QVGTexture* const output = gl.ApplyEffectWith(Effect(), first, Texture(), static_cast<float>(random.Real()));
    Expect(output == nullptr || output == first, "the form with two inputs does not give the first");
    return false;
  }

  Round& round;
  const I& gl;
  Hostile random;
  Handles mine;  // without home

 private:
  void _Sequence(int calls);
  void _Call(int slot);

  // What else knows of an object that goes.
  template <class T>
  void _Forget(const T&) {}
  void _Forget(QVGTexture* texture) {
    for (DrawTarget& target : mine.targets)
      if (target.bound == texture) target = {target.handle, nullptr, target.bound == nullptr};
  }
  void _Forget(QVGGLContext* context) {
    if (context == current_) current_ = nullptr;
  }
  void _Forget(QVGWndDrawer* drawer) { _Forget(gl.GetWndDrawerHandle(drawer)); }

  // Without a context, or with one of the host's.
  void _GoAway() {
    foreign_ = random.Flag() && host_.Enter();
    if (!foreign_) gl.MakeCurrentContext(nullptr, nullptr);
    current_ = nullptr;
  }

  void _ComeHome() {
    if (foreign_) {
      Expect(host_.IsCurrent() && host_.IsUntouched(), "the host's own context is not as it was");
      host_.Leave();
    }
    foreign_ = false;
    Expect(gl.MakeCurrentContext(home_, nullptr), "home can't be made current");
    Expect(gl.GetCurrentContext() == home_, "home is not current");
    current_ = home_;
  }

  // Objects go on another thread from here on, as the header allows it after Finish.
  void _HandOver() {
    gl.Finish();
    Handles& others = round.handedOver;
    const std::lock_guard lock(round.mutex);
    const auto exchange = [&](auto& its, auto& all) {
      if (!its.empty()) all.push_back(Take(its));
      if (all.size() < 3 || its.size() > 4) return;
      its.push_back(all.front());
      all.erase(all.begin());
    };
    exchange(mine.textures, others.textures);
    exchange(mine.reads, others.reads);
    exchange(mine.effects, others.effects);
    // They work where they were made only: here they end.
    if (!mine.targets.empty()) others.targets.push_back(Take(mine.targets));
    if (others.targets.size() >= 3) Return(gl, Take(others.targets));
  }

  HostileFrames frames_;
  ForeignHost host_;
  HostWindow window_;
  DrawTarget none_;
  int64_t sequence_ = 0;
  int slot_ = 0;
  bool foreign_ = false;  // the host's own context is current
  QVGGLContext* home_ = nullptr;
  QVGGLContext* current_ = nullptr;  // of the library
};

}  // namespace qvg::test
