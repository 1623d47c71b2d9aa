#include "abuse/fuzzer.h"

#include <glad/gl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <vector>

#include "abuse/checks.h"
#include "abuse/foreignHost.h"
#include "abuse/hostile.h"
#include "reference/drawing.h"
#include "support/frames.h"
#include "support/platform.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

using I = QVGGLRendererInterface;

constexpr int kSequence = 96;
constexpr char kEffect[] = "general_eff";

// A pointer that is no object of the library, for slots that promise to detect that.
template <class Handle>
Handle* NoHandle() {
  static uint64_t something[64] = {};
  return reinterpret_cast<Handle*>(something);
}

struct DrawTarget {
  QVGFrameBuffer* handle = nullptr;
  QVGTexture* bound = nullptr;
  bool drawable = true;  ///< The bound texture still exists.
};

void Return(const I& gl, QVGTexture* texture) { gl.ReleaseTexture(&texture); }
void Return(const I& gl, DrawTarget target) { gl.DestroyFrameBuffer(&target.handle); }
void Return(const I& gl, QVGEffect* effect) { gl.DestroyEffect(&effect); }
void Return(const I& gl, QVGGLContext* context) { gl.DestroySharedContext(&context); }
void Return(const I& gl, QVGWndDrawer* drawer) { gl.DestroyWndDrawer(&drawer); }
void Return(const I& gl, QVGPixelBuffer read) {
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

/// Shared by the threads between a start of the library and its release.
struct Round {
  const I& gl;
  SlotCounts& counts;
  uint64_t seed = 0;
  QVGGLContext* elsewhere = nullptr;  ///< Stays current on another thread.
  std::mutex mutex = {};
  Handles handedOver = {};  ///< On their way from one thread to another.
};

/// One thread of the host. Nothing that it holds is current on another one.
class Fuzzer {
 public:
  Fuzzer(Round& itsRound, uint64_t seed)
      : round(itsRound), gl(round.gl), random(seed), window_(24, 16), home_(gl.GetSharedContext()) {
    Expect(home_ != nullptr, "there is no context");
    _ComeHome();
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxSize_);
  }

  void Sequence();

  void End(bool leave) {
    if (leave) mine.effects.clear(), mine.reads.clear(), mine.contexts.clear();
    mine.GiveBackAll(gl);
    gl.ReleaseSharedContext(&home_);
  }

  void Expect(bool holds, const char* what) const {
    if (holds) return;
    std::fprintf(stderr, "FAULT: %s (seed %llu, sequence %d, slot %d %s)\n", what,
                 static_cast<unsigned long long>(round.seed), sequence_, slot_, NameOfSlot(slot_));
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

  /// Gives one handle back when there are too many.
  template <class T, class Handle>
  bool Keep(std::vector<T>& all, size_t most, Handle* made) {
    if (made == nullptr) return false;
    all.push_back(T{made});
    if (all.size() > most) Return(gl, Take(all));
    return true;
  }
  bool Keep(QVGTexture* texture) { return Keep(mine.textures, 16, texture); }
  bool Keep(QVGGLContext* context) { return Keep(mine.contexts, 3, context); }
  bool Keep(QVGFrameBuffer* frameBuffer) { return Keep(mine.targets, 8, frameBuffer); }

  template <class T>
  T* Any(const std::vector<T*>& all, int noneIn) {
    return all.empty() || random.OneIn(noneIn) ? nullptr : random.Pick(all);
  }
  QVGTexture* Texture() { return Any(mine.textures, 24); }
  QVGWndDrawer* Drawer() { return Any(mine.drawers, 8); }
  QVGEffect* Effect() { return random.OneIn(16) ? NoHandle<QVGEffect>() : Any(mine.effects, 16); }
  /// May return an empty target when there is none, or none that can be drawn to.
  DrawTarget& AnyTarget(bool drawn) {
    none_ = {};
    if (mine.targets.empty() || random.OneIn(24)) return none_;
    DrawTarget& target = mine.targets[static_cast<size_t>(random.Below(static_cast<int>(mine.targets.size())))];
    return target.drawable || !drawn ? target : none_;
  }

  /// Passes a handle to a slot that destroys it.
  template <class Handle, class Slot>
  bool Destroy(Slot slot, Handle* handle) {
    const bool hostile = handle == NoHandle<Handle>(), had = handle != nullptr && !hostile;
    Handle** const pointer = handle == nullptr ? OrNull(&handle, 8) : &handle;
    if constexpr (std::is_void_v<decltype(slot(pointer))>) {
      slot(pointer);
    } else {
      const bool done = slot(pointer);
      Expect(!hostile || !done, "what is no object was destroyed");
      Expect(!had || done, "an object was not destroyed");
    }
    Expect(handle == nullptr || hostile, "the pointer to an object that is gone is not null");
    return had;
  }

  // ---- Values

  /// One of two values per round: for values that make the driver compile something.
  int OfRound(int limit) {
    Hostile few(round.seed * 2 + random.Below(2));
    return few.Below(limit);
  }
  uint32_t Unsigned() { return static_cast<uint32_t>(random.Integer()); }
  /// The value, or null once in so many times.
  template <class T>
  T* OrNull(T* value, int noneIn) {
    return random.OneIn(noneIn) ? nullptr : value;
  }
  /// Calls it with a width and a height.
  template <class Function>
  auto WithArea(Function function) {
    const auto [width, height] = random.Area();
    return function(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  }
  const char* EffectName() {
    static const std::string kLong(5000, 'x');
    const char* const names[] = {"", nullptr, "general_ef", "zh_CN", "\xff\xfe%s%n", kLong.c_str()};
    return random.OneIn(3) ? random.Pick(names) : kEffect;
  }
  QVGCamera Camera(int width, int height) {
    QVGCamera camera = DefaultCamera(std::clamp(width, 1, 64), std::clamp(height, 1, 64));
    camera.projection = random.OneIn(4) ? random.Integer() : random.Below(2);
    for (float* number : {&camera.left, &camera.orthoFar, &camera.aspect, &camera.perspectiveNear, &camera.eye[2]})
      *number = static_cast<float>(random.Number(*number));
    return camera;
  }
  QVGDrawTextureParams DrawParams(QVGTexture* matte) {
    QVGDrawTextureParams params = DefaultParams();
    params.matteTexture = random.OneIn(3) ? matte : nullptr;
    params.matteType = random.OneIn(8) ? random.Integer() : OfRound(5);
    params.blendType = random.OneIn(8) ? random.Integer() : OfRound(37) - 1;
    params.simpleMatte = random.OneIn(8);
    params.depthTest = random.OneIn(4);
    params.useSizeFactor = random.OneIn(4);
    params.opacity = random.Fraction();
    if (random.OneIn(2)) return params;
    for (double* list : {params.anchor, params.translation, params.scale, params.rotation})
      for (double& number : std::span(list, 3)) number = random.Number(number);
    return params;
  }

  // ---- Slots that take more than a line; true for anything but the slot's failure value

  bool Preallocate(void (*slot)(uint32_t, uint32_t, int32_t)) {
    WithArea([&](uint32_t width, uint32_t height) { slot(width, height, std::min(random.Integer(), 3)); });
    return false;
  }

  bool MakeContext() {
    void* const noWindow = reinterpret_cast<void*>(intptr_t{-1});
    return Keep(gl.CreateSharedContext(NoHandle<void>(), noWindow, random.OneIn(3)));
  }

  QVGGLContext* ContextToEnd() { return random.OneIn(8) ? NoHandle<QVGGLContext>() : Take(mine.contexts); }

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
    const HostileFrames::Frame frame = frames_.Make(
        random, Formats()[static_cast<size_t>(OfRound(static_cast<int>(Formats().size())))].code, maxSize_);
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

  /// Calls it with a colour.
  template <class Function>
  bool Clear(Function function) {
    const double color[4] = {random.Real(), random.Fraction(), random.Fraction(), random.Fraction()};
    return function(OrNull(color, 16));
  }

  bool SetContent(bool origin) {
    QVGTexture* const texture = Texture();
    const auto slot = origin ? gl.SetTextureOrigin : gl.SetTextureSize;
    if (texture == nullptr || random.OneIn(3)) return slot(texture, Unsigned(), Unsigned());
    // Often a valid rectangle in the storage, so that something is drawn now and then.
    const uint32_t width = gl.GetTextureAllocatedWidth(texture), height = gl.GetTextureAllocatedHeight(texture);
    return origin ? slot(texture, 0, 0) : slot(texture, 1 + random.Next() % width, 1 + random.Next() % height);
  }

  bool Read(const auto& slot) {
    QVGPixelBuffer buffer = {};
    for (uint8_t*& plane : buffer.plane) plane = NoHandle<uint8_t>();
    QVGPixelBuffer* const out = OrNull(&buffer, 32);
    if (!slot(Texture(), out, random.Flag())) {
      Expect(out == nullptr || std::ranges::count(buffer.plane, nullptr) == 3, "a read-back that failed left a plane");
      return false;
    }
    for (int p = 0; p < 3; ++p) {
      const int64_t rows = p > 0 ? out->height / 2 : out->height;
      if (out->plane[p] != nullptr) last_ = out->plane[p][rows * out->stride[p] - 1];
    }
    mine.reads.push_back(*out);
    if (mine.reads.size() > 6) Return(gl, Take(mine.reads));
    return true;
  }

  bool ReleaseRead() {
    QVGPixelBuffer buffer = Take(mine.reads);
    if (buffer.plane[0] == nullptr) buffer.plane[0] = OrNull(NoHandle<uint8_t>(), 2);
    return Destroy(gl.ReleasePixelBuffer, &buffer);
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

  bool MakeDrawer() {
    void* const window = random.OneIn(4) ? reinterpret_cast<void*>(intptr_t{-1}) : window_.handle();
    return Keep(mine.drawers, 2, gl.CreateWndDrawer(OrNull(window, 8)));
  }

  bool EffectNames() {
    const char* names[8] = {};
    int32_t count = 0;
    return gl.GetEffectNames(random.Below(3), OrNull(names, 4), std::min(random.Integer(), 8), OrNull(&count, 8));
  }

  bool ParameterTable() {
    const QVGParamDescriptor* table = nullptr;
    uint32_t count = 0;
    return gl.GetEffectParameterTable(EffectName(), OrNull(&table, 4), OrNull(&count, 8));
  }

  bool SetParameter() {
    static constexpr QVGParamType kTypes[] = {QVG_PARAM_INTEGER, QVG_PARAM_BOOLEAN, QVG_PARAM_TEXT, QVG_PARAM_COLOR};
    // Sizes of images, including invalid ones and empty ones.
    static constexpr const char* kPaths[] = {
        "5x3", "1x1", "unreadable", "4x4 ", "-4x4", "0x4", "2147483647x2147483647", "1048576x1", ""};
    const QVGParamDescriptor* table = nullptr;
    uint32_t rows = 0;
    gl.GetEffectParameterTable(kEffect, &table, &rows);
    const uint32_t row = random.Next() % rows;
    const bool stage = table[row].valueType == QVG_PARAM_BOOLEAN,
               allowed = (round.seed * 0x9E3779B97F4A7C15 >> row & 1) != 0;
    const int64_t number = stage             ? !random.OneIn(4)
                           : random.OneIn(4) ? int64_t{random.Integer()} << random.Below(33)
                                             : random.Below(100);
    QVGParamValue value = {};
    value.type = random.OneIn(8) ? random.Pick(kTypes) : random.OneIn(16) ? random.Integer() : table[row].valueType;
    if (value.type == QVG_PARAM_TEXT) {
      value.value.text = random.OneIn(8) ? nullptr : random.Pick(kPaths);
    } else if (value.type == QVG_PARAM_COLOR) {
      for (double& channel : value.value.color) channel = random.Fraction();
    } else {
      value.value.integer = !allowed ? 0 : value.type == QVG_PARAM_BOOLEAN ? number & 1 : number;
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

  Round& round;
  const I& gl;
  Hostile random;
  Handles mine;  // without home

 private:
  void _Call(int slot);

  // Clears other references to an object that is destroyed.
  template <class T>
  void _Forget(const T&) {}
  void _Forget(QVGTexture* texture) {
    for (DrawTarget& target : mine.targets)
      if (target.bound == texture) target = {target.handle, nullptr, false};
  }
  void _Forget(QVGGLContext* context) {
    if (context == current_) current_ = nullptr;
  }
  void _Forget(QVGWndDrawer* drawer) { _Forget(gl.GetWndDrawerHandle(drawer)); }

  // Goes on without a context, or with one of the host's.
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

  // From here on another thread uses an object of each kind, as the header allows after Finish.
  void _HandOver() {
    gl.Finish();
    const std::lock_guard lock(round.mutex);
    const auto exchange = [&](auto& its, auto& others) {
      if (others.size() > 2) its.push_back(others.front()), others.erase(others.begin());
      if (!its.empty()) others.push_back(Take(its));
    };
    exchange(mine.textures, round.handedOver.textures);
    exchange(mine.reads, round.handedOver.reads);
    exchange(mine.effects, round.handedOver.effects);
  }

  HostileFrames frames_;
  ForeignHost host_;
  HostWindow window_;
  DrawTarget none_;
  volatile uint8_t last_ = 0;  // of a plane
  GLint maxSize_ = 0;
  int sequence_ = 0;
  int slot_ = 0;
  bool foreign_ = false;  // the host's own context is current
  QVGGLContext* home_ = nullptr;
  QVGGLContext* current_ = nullptr;  // of the library
};

struct Slot {
  const char* name;
  int weight;
  bool needsContext;  // fails without one of the library's
  bool (*call)(Fuzzer& f);
};

// The expression is false for the slot's failure value.
#define QVG_SLOT(name, weight, needsContext, expression)                       \
  Slot {                                                                       \
#name, weight, needsContext, [](Fuzzer & f) -> bool { return expression; } \
  }
constexpr Slot kSlots[kSlotCount] = {
    QVG_SLOT(SetTexturePoolCapacity, 12, false, (f.gl.SetTexturePoolCapacity(f.random.Integer()), true)),
    QVG_SLOT(Reserved, 4, false, (f.gl.Reserved(), true)),
    QVG_SLOT(PreallocateTextures, 2, true, f.Preallocate(f.gl.PreallocateTextures)),
    QVG_SLOT(ClearTexturePool, 2, true, f.gl.ClearTexturePool()),
    QVG_SLOT(PreallocateRenderBuffers, 2, true, f.Preallocate(f.gl.PreallocateRenderBuffers)),
    QVG_SLOT(ClearRenderBufferPool, 2, true, f.gl.ClearRenderBufferPool()),
    QVG_SLOT(PreallocatePixelBuffers, 2, true,
             (f.gl.PreallocatePixelBuffers(f.Unsigned() % 4096, f.random.Integer() % 4, f.random.Flag()), false)),
    QVG_SLOT(ClearPixelBufferPool, 2, true, f.gl.ClearPixelBufferPool()),
    QVG_SLOT(CreateSharedContext, 1, false, f.MakeContext()),
    QVG_SLOT(GetSharedContext, 1, false, f.Keep(f.gl.GetSharedContext())),
    QVG_SLOT(ReleaseSharedContext, 2, false, f.Destroy(f.gl.ReleaseSharedContext, f.ContextToEnd())),
    QVG_SLOT(MakeCurrentContext, 8, false, f.MakeCurrent()),
    QVG_SLOT(GetCurrentContext, 72, false, f.gl.GetCurrentContext() != nullptr),
    QVG_SLOT(SwapBuffers, 4, false,
             f.gl.SwapBuffers(f.random.OneIn(4) ? NoHandle<QVGGLContext>() : f.Any(f.mine.contexts, 24))),
    QVG_SLOT(DestroySharedContext, 1, false, f.Destroy(f.gl.DestroySharedContext, f.ContextToEnd())),
    QVG_SLOT(IsGLVersionSupported, 24, false, f.gl.IsGLVersionSupported()),
    QVG_SLOT(GetGLVersion, 24, false, f.Version(f.gl.GetGLVersion)),
    QVG_SLOT(GetRequiredGLVersion, 24, false, f.Version(f.gl.GetRequiredGLVersion)),
    QVG_SLOT(CloneTexture, 3, true, f.Keep(f.gl.CloneTexture(f.Texture()))),
    QVG_SLOT(SetTextureChannelOrder, 12, true,
             f.gl.SetTextureChannelOrder(f.Texture(), f.random.OneIn(4) ? f.random.Integer() | 4 : f.OfRound(4))),
    QVG_SLOT(AcquireTexture, 8, true, f.Keep(f.WithArea(f.gl.AcquireTexture))),
    QVG_SLOT(UploadPixelBufferToNewTexture, 8, true, f.Upload(true)),
    QVG_SLOT(UploadPixelBufferToTexture, 8, true, f.Upload(false)),
    QVG_SLOT(ClearTexture, 4, true, f.Clear([&](auto* color) { return f.gl.ClearTexture(f.Texture(), color); })),
    QVG_SLOT(GetTextureWidth, 72, false, f.gl.GetTextureWidth(f.Texture()) != 0),
    QVG_SLOT(GetTextureHeight, 72, false, f.gl.GetTextureHeight(f.Texture()) != 0),
    QVG_SLOT(GetTextureAllocatedWidth, 72, false, f.gl.GetTextureAllocatedWidth(f.Texture()) != 0),
    QVG_SLOT(GetTextureAllocatedHeight, 72, false, f.gl.GetTextureAllocatedHeight(f.Texture()) != 0),
    QVG_SLOT(GetTextureRotation, 72, false, f.gl.GetTextureRotation(f.Texture()) != 0),
    QVG_SLOT(GetTextureFlipped, 72, false, f.gl.GetTextureFlipped(f.Texture()) != 0),
    QVG_SLOT(GetTextureId, 72, false, f.gl.GetTextureId(f.Texture()) != 0),
    QVG_SLOT(SetTextureSize, 48, false, f.SetContent(false)),
    QVG_SLOT(SetTextureOrigin, 48, false, f.SetContent(true)),
    QVG_SLOT(SetTextureFlipped, 48, false, f.gl.SetTextureFlipped(f.Texture(), f.random.Flag())),
    QVG_SLOT(SetTextureRotation, 48, false, f.gl.SetTextureRotation(f.Texture(), f.Unsigned())),
    QVG_SLOT(TextureToYUV420PixelBuffer, 4, true, f.Read([&](QVGTexture* texture, QVGPixelBuffer* out, bool mirror) {
      return f.gl.TextureToYUV420PixelBuffer(texture, f.random.Flag(), mirror, out);
    })),
    QVG_SLOT(TextureToNV12PixelBuffer, 4, true, f.Read(f.gl.TextureToNV12PixelBuffer)),
    QVG_SLOT(TextureToRGBAPixelBuffer, 4, true, f.Read(f.gl.TextureToRGBAPixelBuffer)),
    QVG_SLOT(TextureToBGRAPixelBuffer, 4, true, f.Read(f.gl.TextureToBGRAPixelBuffer)),
    QVG_SLOT(ReleasePixelBuffer, 36, false, f.ReleaseRead()),
    QVG_SLOT(ReleaseTexture, 6, false, f.Destroy(f.gl.ReleaseTexture, f.Take(f.mine.textures))),
    QVG_SLOT(CreateFrameBuffer, 4, true, f.Keep(f.WithArea([&](uint32_t width, uint32_t height) {
      return f.gl.CreateFrameBuffer(width, height, f.random.Flag(), f.random.Flag());
    }))),
    QVG_SLOT(CreateFrameBufferFromDesc, 4, true, f.MakeTargetFromDesc()),
    QVG_SLOT(BindTextureToFrameBuffer, 12, true, f.Bind()),
    QVG_SLOT(ClearFrameBuffer, 4, true,
             f.Clear([&](auto* color) { return f.gl.ClearFrameBuffer(f.AnyTarget(true).handle, color); })),
    QVG_SLOT(DrawTexture, 16, true, f.Draw()),
    QVG_SLOT(DestroyFrameBuffer, 4, false, f.Destroy(f.gl.DestroyFrameBuffer, f.Take(f.mine.targets).handle)),
    QVG_SLOT(Finish, 2, false, (f.gl.Finish(), true)),
    QVG_SLOT(CreateWndDrawer, 1, false, f.MakeDrawer()),
    QVG_SLOT(GetWndDrawerHandle, 48, false, f.gl.GetWndDrawerHandle(f.Drawer()) != nullptr),
    QVG_SLOT(ClearWnd, 4, false,
             f.Clear([&](auto* color) { return f.gl.ClearWnd(f.Drawer(), color, NoHandle<void>(), nullptr); })),
    QVG_SLOT(SetWndDrawerSize, 48, false, f.WithArea([&](uint32_t width, uint32_t height) {
      return f.gl.SetWndDrawerSize(f.Drawer(), width, height);
    })),
    QVG_SLOT(DrawTextureToWnd, 6, false, f.gl.DrawTextureToWnd(f.Drawer(), f.Texture())),
    QVG_SLOT(DestroyWndDrawer, 1, false, f.Destroy(f.gl.DestroyWndDrawer, f.Take(f.mine.drawers))),
    QVG_SLOT(GetEffectNames, 36, false, f.EffectNames()),
    QVG_SLOT(HasEffect, 36, false, f.gl.HasEffect(f.EffectName())),
    QVG_SLOT(GetEffectType, 36, false, f.gl.GetEffectType(f.EffectName()) != 0),
    QVG_SLOT(QueryEffect, 36, false, f.gl.QueryEffect(f.EffectName(), f.OrNull(f.EffectName(), 2)) != nullptr),
    QVG_SLOT(GetEffectParameterTable, 36, false, f.ParameterTable()),
    QVG_SLOT(CreateEffect, 6, true, f.Keep(f.mine.effects, 3, f.gl.CreateEffect(f.EffectName()))),
    QVG_SLOT(SetEffectParameter, 36, false, f.SetParameter()),
    QVG_SLOT(ApplyEffect, 8, true, f.Apply()),
    QVG_SLOT(ApplyEffectWith, 4, true,
             (f.gl.ApplyEffectWith(f.Effect(), f.Texture(), f.Texture(), static_cast<float>(f.random.Real())), false)),
    QVG_SLOT(DestroyEffect, 1, false,
             f.Destroy(f.gl.DestroyEffect, f.random.OneIn(8) ? NoHandle<QVGEffect>() : f.Take(f.mine.effects))),
};

void Fuzzer::_Call(int slot) {
  slot_ = slot;
  const bool without = current_ == nullptr;
  const bool done = kSlots[slot].call(*this);
  ++round.counts.all;
  ++round.counts.calls[static_cast<size_t>(slot)];
  if (done) ++round.counts.successes[static_cast<size_t>(slot)];
  Expect(!done || !without || !kSlots[slot].needsContext, "what needs a context worked without one");
  Expect(!foreign_ || host_.IsCurrent(), "the host's own context did not stay current");
}

void Fuzzer::Sequence() {
  // Each slot occurs as often as its weight says.
  static const std::vector<int> weighted = [] {
    std::vector<int> slots;
    for (int i = 0; i < kSlotCount; ++i) slots.insert(slots.end(), static_cast<size_t>(kSlots[i].weight), i);
    return slots;
  }();
  ++sequence_;
  if (random.OneIn(8)) _GoAway();
  for (int i = 0; i < kSequence; ++i) _Call(random.Pick(weighted));
  _ComeHome();
  const char* const fault = PictureFault(gl, random.Next());
  Expect(*fault == '\0', fault);
  if (random.OneIn(4)) _HandOver();
  if (random.OneIn(32)) mine.GiveBackAll(gl);
}

/// Images for effects, and a count of those that have not come back.
struct HostImages {
  static constexpr size_t kShown = 2;  ///< Paths in the fuzzer whose image can be shown. The library keeps them.
  static QVGHostImage* Decode(const char* path) {
    int width = 0, height = 0;
    if (std::sscanf(path, "%dx%d", &width, &height) != 2) return nullptr;
    ++out;
    // Images that can't be shown have at most a byte.
    const bool shown = width > 0 && height > 0 && width <= 16384 && height <= 16384;
    const bool empty = std::string_view(path).ends_with(' ');
    return new QVGHostImage{empty ? nullptr : new uint8_t[shown ? size_t{4} * width * height : 1](), {}, width, height};
  }
  static void Free(const char* /*path*/, QVGHostImage* image) {
    --out;
    delete[] image->pixels;
    delete image;
  }
  static inline std::atomic<int> out = 0;
};

void Demand(bool holds, const char* what, uint64_t seed) {
  if (holds) return;
  std::fprintf(stderr, "FAULT: %s (seed %llu)\n", what, static_cast<unsigned long long>(seed));
  std::abort();
}

// When all handles were given back and no context has drawn, only the images that effects show are left.
void DemandBalance(Round& round) {
  const std::vector<size_t> left = CountsWhenIdle(round.gl, round.elsewhere);
  Demand(!left.empty() && glGetError() == 0, "the context can't be made current, or an error is pending", round.seed);
  Demand(left[kTextures] <= HostImages::kShown, "textures are left", round.seed);
  Demand(left[kBuffers] == 0 && left[kRenderBuffers] == 0, "buffers are left", round.seed);
}

}  // namespace

const char* NameOfSlot(int slot) { return kSlots[slot].name; }

void RunRound(SlotCounts& counts, uint64_t seed, int64_t threads, int64_t calls,
              std::chrono::steady_clock::time_point end, bool handlesAreLeft) {
  static const QVGConfig config = {{}, HostImages::Decode, HostImages::Free};
  const QVGGLRendererInterface* table = QVG_GetGLRendererInterface(seed % 8 == 7 ? nullptr : &config);
  Round round{*table, counts, seed, table->GetSharedContext()};
  Demand(table->MakeCurrentContext(round.elsewhere, nullptr), "no context can be made current", seed);
  static const bool loaded =
      gladLoadGL([](const char* name) { return reinterpret_cast<GLADapiproc>(GLFunction(name)); }) != 0;
  Demand(loaded, "GL can't be loaded", seed);
  std::vector<std::thread> hosts;
  for (int64_t i = 0; i < threads; ++i)
    hosts.emplace_back([&, i] {
      Fuzzer fuzzer(round, seed * 64 + static_cast<uint64_t>(i));
      for (int64_t left = calls; left > 0 && std::chrono::steady_clock::now() < end; left -= kSequence)
        fuzzer.Sequence();
      fuzzer.End(handlesAreLeft);
    });
  for (std::thread& host : hosts) host.join();
  round.handedOver.GiveBackAll(*table);
  if (!handlesAreLeft) DemandBalance(round);
  table->ReleaseSharedContext(&round.elsewhere);
  QVG_ReleaseGLRendererInterface(&table);
  Demand(HostImages::out == 0, "an image was not taken back", seed);
}

}  // namespace qvg::test
