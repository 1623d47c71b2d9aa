#include "abuse/fuzzer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>

#include "abuse/checks.h"
#include "support/reference.h"

namespace qvg::test {

namespace {

constexpr size_t kMostTextures = 16, kMostTargets = 8, kMostEffects = 3, kMostReads = 6, kMostContexts = 3;
constexpr const char* kPaths[] = {"5x3", "1x1", "unreadable", "no pixels", "negative", "empty", "large", "wide", ""};
constexpr const char* kKeys[] = {"enable_key",    "color",     "similarity", "smoothness",   "anti-spill",
                                 "enable_beauty", "blur",      "whitten",    "enable_color", "bright",
                                 "temperature",   "highlight", "shadow",     "enable_bg",    "bgfile"};
constexpr QVGParamType kKeyTypes[] = {QVG_PARAM_BOOLEAN, QVG_PARAM_COLOR,   QVG_PARAM_INTEGER, QVG_PARAM_INTEGER,
                                      QVG_PARAM_INTEGER, QVG_PARAM_BOOLEAN, QVG_PARAM_INTEGER, QVG_PARAM_INTEGER,
                                      QVG_PARAM_BOOLEAN, QVG_PARAM_INTEGER, QVG_PARAM_INTEGER, QVG_PARAM_INTEGER,
                                      QVG_PARAM_INTEGER, QVG_PARAM_BOOLEAN, QVG_PARAM_TEXT};

template <class T>
T* TakeAny(std::vector<T*>& list, Hostile& random) {
  if (list.empty()) return nullptr;
  std::swap(list[static_cast<size_t>(random.Below(static_cast<int>(list.size())))], list.back());
  T* const taken = list.back();
  list.pop_back();
  return taken;
}

// No object of the library: slots that promise to tell are handed this.
template <class Handle>
Handle* NoHandle() {
  static uint64_t something[64] = {};
  return reinterpret_cast<Handle*>(something);
}

QVGColor ColorOf(Hostile& random) {
  return {random.Fraction(), random.Fraction(), random.Fraction(), random.Fraction()};
}

QVGCamera CameraOf(Hostile& random, int width, int height) {
  QVGCamera camera = DefaultCamera(std::clamp(width, 1, 64), std::clamp(height, 1, 64));
  if (random.OneIn(2)) return camera;
  camera.projection = random.OneIn(2) ? 1 : random.Integer();
  float* const numbers[] = {&camera.left,           &camera.right,     &camera.top,
                            &camera.bottom,         &camera.orthoNear, &camera.orthoFar,
                            &camera.fovy,           &camera.aspect,    &camera.perspectiveNear,
                            &camera.perspectiveFar, &camera.eye[0],    &camera.eye[2],
                            &camera.centre[1],      &camera.up[1]};
  for (float* const number : numbers) *number = static_cast<float>(random.Number(*number));
  return camera;
}

QVGDrawTextureParams DrawParamsOf(Hostile& random, const Round& round, QVGTexture* matte) {
  QVGDrawTextureParams params = DefaultParams();
  params.matteTexture = random.OneIn(3) ? matte : nullptr;
  params.matteType = random.OneIn(8) ? random.Integer() : round.matte;
  params.blendType = random.OneIn(8) ? random.Integer() : random.Pick(round.blends);
  params.simpleMatte = random.OneIn(8);
  params.depthTest = random.OneIn(4);
  params.useSizeFactor = random.OneIn(4);
  params.opacity = random.Fraction();
  if (random.OneIn(2)) return params;
  const auto spoil = [&](auto& numbers) {
    for (double& number : numbers) number = random.Number(number);
  };
  spoil(params.anchor);
  spoil(params.translation);
  spoil(params.scale);
  spoil(params.rotation);
  spoil(params.simpleMatteSize);
  spoil(params.sizeFactor);
  return params;
}

}  // namespace

std::atomic<int> HostImages::out = 0;
std::atomic<int> HostImages::valid = 0;

QVGHostImage* HostImages::Decode(const char* path) {
  struct Kind {
    const char* path;
    int32_t width, height;
    int bytes;
  };
  static constexpr Kind kKinds[] = {{"5x3", 5, 3, 60},      {"1x1", 1, 1, 4},   {"no pixels", 4, 4, 0},
                                    {"negative", -4, 4, 1}, {"empty", 0, 4, 1}, {"large", INT32_MAX, INT32_MAX, 1},
                                    {"wide", 1 << 20, 1, 1}};
  const auto kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                 [&](const Kind& known) { return std::strcmp(known.path, path) == 0; });
  if (kind == std::end(kKinds)) return nullptr;
  auto* const image = new QVGHostImage{};
  image->pixels = kind->bytes > 0 ? new uint8_t[static_cast<size_t>(kind->bytes)]() : nullptr;
  image->width = kind->width;
  image->height = kind->height;
  ++out;
  if (kind->bytes > 1) ++valid;
  return image;
}

void HostImages::Free(const char* /*path*/, QVGHostImage* image) {
  --out;
  delete[] image->pixels;
  delete image;
}

void SlotCounts::Add(const SlotCounts& other) {
  for (size_t i = 0; i < calls.size(); ++i) {
    calls[i] += other.calls[i];
    successes[i] += other.successes[i];
  }
}

int64_t SlotCounts::AllCalls() const { return std::accumulate(calls.begin(), calls.end(), int64_t{0}); }

/// A call of each slot; true for anything but the slot's failure value.
struct Slots {
  using F = Fuzzer;
  struct Slot {
    const char* name;
    int weight;
    bool needsContext;  // fails without one of the library's
    bool (*call)(F& f);
  };

  template <auto kSlot>
  static bool Get(F& f) {
    return (f.gl_.*kSlot)(f._Texture()) != 0;
  }

  // Of so few pixels that many of them can be idle.
  static bool Preallocate(F& f, void (*slot)(uint32_t, uint32_t, int32_t)) {
    const auto area = f.random_.Area();
    const bool possible = area[0] > 0 && area[1] > 0 && area[0] <= 65536 && area[1] <= 65536;
    const int32_t count = f.random_.Integer();
    slot(static_cast<uint32_t>(area[0]), static_cast<uint32_t>(area[1]), possible ? std::min(count, 3) : count);
    return false;
  }

  static bool MakeCurrent(F& f) {
    const bool busy = f.random_.OneIn(16);
    const bool windows = !f.drawers_.empty() && f.random_.OneIn(3);
    QVGGLContext* next = f.random_.OneIn(8) ? nullptr : f.random_.OneIn(6) ? f._Context(true) : f.home_;
    if (windows) next = f.gl_.GetWndDrawerHandle(f.drawers_.back());
    if (busy) next = f.round_.elsewhere;
    QVGGLContext* previous = NoHandle<QVGGLContext>();
    const bool made = f.gl_.MakeCurrentContext(next, f.random_.Flag() ? &previous : nullptr);
    f._Expect(previous == f.current_ || previous == NoHandle<QVGGLContext>(), "previous is not what was current");
    f._Expect(!busy || !made, "a context that is current elsewhere was had");
    if (made || next == nullptr) f.current_ = next;
    if (made) f.mode_ = next != nullptr ? F::Mode::kHome : F::Mode::kNoContext;
    return made;
  }

  static bool Upload(F& f, bool anew) {
    HostileFrames::Frame frame = f.frames_.Make(f.random_, f.random_.Pick(f.round_.formats), f.round_.maxSize);
    const bool none = f.random_.OneIn(32);
    const QVGPixelBuffer* const source = none ? nullptr : &frame.buffer;
    const bool flipped = f.random_.Flag();
    const bool matte = f.random_.OneIn(4);
    const QVGColor color = ColorOf(f.random_);
    if (!anew) {
      const bool loaded = f.gl_.UploadPixelBufferToTexture(f._Texture(), source, flipped, matte, color);
      f._Expect(!loaded || (frame.valid && !none), "a bad frame was taken");
      return loaded;
    }
    QVGTexture* const texture = f.gl_.UploadPixelBufferToNewTexture(source, flipped, matte, color);
    f._Expect((texture != nullptr) == (frame.valid && !none && f.current_ != nullptr),
              "a bad frame was taken or a good one refused");
    return f._Keep(texture);
  }

  template <auto kSlot, bool kFlagsFirst = false>
  static bool Read(F& f) {
    QVGPixelBuffer buffer = {};
    for (uint8_t*& plane : buffer.plane) plane = NoHandle<uint8_t>();
    QVGPixelBuffer* const out = f.random_.OneIn(32) ? nullptr : &buffer;
    QVGTexture* const texture = f._Texture();
    bool read = false;
    if constexpr (kFlagsFirst) {
      read = (f.gl_.*kSlot)(texture, f.random_.Flag(), f.random_.Flag(), out);
    } else {
      read = (f.gl_.*kSlot)(texture, out, f.random_.Flag());
    }
    return f._KeepRead(read, &buffer, out != nullptr);
  }

  static bool ReleaseRead(F& f) {
    QVGPixelBuffer buffer = {};
    QVGPixelBuffer* pointer = &buffer;
    if (f.random_.OneIn(6)) {
      buffer.plane[0] = NoHandle<uint8_t>();
      if (f.random_.Flag()) pointer = nullptr;
    } else if (!f.reads_.empty()) {
      buffer = f.reads_.back();
      f.reads_.pop_back();
    }
    f.gl_.ReleasePixelBuffer(f.random_.OneIn(32) && pointer == nullptr ? nullptr : &pointer);
    f._Expect(pointer == nullptr, "a released descriptor's pointer is not null");
    return true;
  }

  static bool KeepTarget(F& f, QVGFrameBuffer* made) {
    if (made != nullptr) f.targets_.push_back({made});
    if (f.targets_.size() > kMostTargets) DestroyTarget(f);
    return made != nullptr;
  }

  static bool MakeTarget(F& f) {
    const auto area = f.random_.Area();
    return KeepTarget(f, f.gl_.CreateFrameBuffer(static_cast<uint32_t>(area[0]), static_cast<uint32_t>(area[1]),
                                                 f.random_.Flag(), f.random_.Flag()));
  }

  static bool MakeTargetFromDesc(F& f) {
    const auto area = f.random_.Area();
    const QVGFrameBufferDesc desc = {area[0],          area[1],          f.random_.Integer(),
                                     f.random_.Flag(), f.random_.Flag(), CameraOf(f.random_, area[0], area[1])};
    return KeepTarget(f, f.gl_.CreateFrameBufferFromDesc(f.random_.OneIn(16) ? nullptr : &desc));
  }

  static bool Bind(F& f) {
    F::Target* const target = f._Target(false);
    QVGTexture* const texture = f._Texture();
    const bool bound = f.gl_.BindTextureToFrameBuffer(target != nullptr ? target->handle : nullptr, texture);
    f._Expect(!bound || (target != nullptr && texture != nullptr), "nothing was bound with success");
    if (bound) *target = {target->handle, texture, true};
    return bound;
  }

  static bool Draw(F& f) {
    F::Target* const target = f._Target(true);
    // Often the target itself, as source or as matte.
    QVGTexture* const self = target != nullptr ? target->bound : nullptr;
    QVGTexture* const source = f.random_.OneIn(6) ? self : f._Texture();
    const QVGDrawTextureParams params = DrawParamsOf(f.random_, f.round_, f.random_.OneIn(4) ? self : f._Texture());
    return f.gl_.DrawTexture(source, target != nullptr ? target->handle : nullptr,
                             f.random_.OneIn(8) ? nullptr : &params);
  }

  static bool DestroyTarget(F& f) {
    QVGFrameBuffer* handle = nullptr;
    if (!f.targets_.empty() && !f.random_.OneIn(16)) {
      std::swap(f.targets_.back(),
                f.targets_[static_cast<size_t>(f.random_.Below(static_cast<int>(f.targets_.size())))]);
      handle = f.targets_.back().handle;
      f.targets_.pop_back();
    }
    const bool had = handle != nullptr;
    f._Expect(f.gl_.DestroyFrameBuffer(&handle) == had && handle == nullptr, "a frame buffer was not destroyed");
    return had;
  }

  static bool ReleaseTexture(F& f) {
    QVGTexture* texture = f.random_.OneIn(16) ? nullptr : TakeAny(f.textures_, f.random_);
    const bool had = texture != nullptr;
    f._Forget(texture);
    f.gl_.ReleaseTexture(f.random_.OneIn(32) && !had ? nullptr : &texture);
    f._Expect(texture == nullptr, "a released texture's pointer is not null");
    return had;
  }

  static bool KeepContext(F& f, QVGGLContext* made) {
    if (made != nullptr) f.contexts_.push_back(made);
    return made != nullptr;
  }

  static bool MakeContext(F& f) {
    const bool hidden = f.random_.OneIn(3);
    // No window has such a number.
    void* const window = hidden && f.random_.Flag() ? NoHandle<void>() : reinterpret_cast<void*>(intptr_t{-1});
    if (f.contexts_.size() >= kMostContexts) GiveBackContext(f, true);
    return KeepContext(f, f.gl_.CreateSharedContext(NoHandle<void>(), window, hidden));
  }

  static bool GiveBackContext(F& f, bool destroy) {
    QVGGLContext* context = nullptr;
    const bool none = f.random_.OneIn(8);
    if (none) {
      context = NoHandle<QVGGLContext>();
    } else if ((context = f._Context(false)) != nullptr) {
      std::erase(f.contexts_, context);
    }
    const bool had = context != nullptr && !none;
    if (had && context == f.current_) f.current_ = nullptr, f.mode_ = F::Mode::kNoContext;
    bool released = had;
    if (destroy) {
      f.gl_.DestroySharedContext(&context);
    } else {
      const bool null = context == nullptr;
      released = f.gl_.ReleaseSharedContext(&context);
      f._Expect(released == !none || null, "what is no context was given back, or one was not");
    }
    f._Expect(context == nullptr, "a context's pointer is not null");
    return released;
  }

  static bool MakeDrawer(F& f) {
    void* window = f.random_.OneIn(4) ? reinterpret_cast<void*>(intptr_t{-1}) : f.window_.handle();
    if (f.drawers_.size() >= 2) DestroyDrawer(f);
    QVGWndDrawer* const drawer = f.gl_.CreateWndDrawer(f.random_.OneIn(8) ? nullptr : window);
    if (drawer != nullptr) f.drawers_.push_back(drawer);
    return drawer != nullptr;
  }

  static bool DestroyDrawer(F& f) {
    QVGWndDrawer* drawer = f.random_.OneIn(8) ? nullptr : TakeAny(f.drawers_, f.random_);
    if (drawer != nullptr && f.gl_.GetWndDrawerHandle(drawer) == f.current_ && f.current_ != nullptr) {
      f.current_ = nullptr;
      f.mode_ = F::Mode::kNoContext;
    }
    return f.gl_.DestroyWndDrawer(&drawer) && drawer == nullptr;
  }

  static bool EffectNames(F& f) {
    const char* names[8] = {};
    int32_t count = 0;
    const int32_t capacity = f.random_.OneIn(2) ? 8 : -std::abs(f.random_.Below(1 << 30));
    return f.gl_.GetEffectNames(f.random_.OneIn(2) ? 1 : f.random_.Integer(), f.random_.OneIn(4) ? nullptr : names,
                                capacity, f.random_.OneIn(8) ? nullptr : &count);
  }

  static bool ParameterTable(F& f) {
    const QVGParamDescriptor* table = nullptr;
    uint32_t count = 0;
    return f.gl_.GetEffectParameterTable(f._EffectName(), f.random_.OneIn(4) ? nullptr : &table,
                                         f.random_.OneIn(8) ? nullptr : &count);
  }

  static bool MakeEffect(F& f) {
    if (f.effects_.size() >= kMostEffects) DestroyEffect(f);
    QVGEffect* const effect = f.gl_.CreateEffect(f._EffectName());
    if (effect != nullptr) f.effects_.push_back(effect);
    return effect != nullptr;
  }

  static bool DestroyEffect(F& f) {
    if (f.random_.OneIn(8)) {
      QVGEffect* effect = NoHandle<QVGEffect>();
      f._Expect(!f.gl_.DestroyEffect(&effect), "what is no effect was destroyed");
      return false;
    }
    QVGEffect* effect = TakeAny(f.effects_, f.random_);
    return f.gl_.DestroyEffect(&effect) && effect == nullptr;
  }

  static bool SetParameter(F& f) {
    constexpr int kSwitches[] = {0, 5, 8, 13};
    const int row =
        f.random_.OneIn(3) ? f.random_.Pick(kSwitches) : f.random_.Below(static_cast<int>(std::size(kKeys)));
    const bool known = !f.random_.OneIn(16);
    QVGParamValue value = {};
    value.type = f.random_.OneIn(8)    ? f.random_.Pick(kKeyTypes)
                 : f.random_.OneIn(16) ? f.random_.Integer()
                                       : kKeyTypes[row];
    const bool stage = kKeyTypes[row] == QVG_PARAM_BOOLEAN;
    // A stage that this round is without stays off.
    const bool allowed = (f.round_.parameters >> row & 1) != 0;
    if (value.type == QVG_PARAM_TEXT) {
      value.value.text = f.random_.OneIn(8) ? nullptr : f.random_.Pick(kPaths);
    } else if (value.type == QVG_PARAM_COLOR) {
      for (double& channel : value.value.color) channel = f.random_.Fraction();
    } else if (value.type == QVG_PARAM_BOOLEAN) {
      value.value.boolean = allowed && !f.random_.OneIn(4);
    } else if (stage || !allowed) {
      value.value.integer = allowed && !f.random_.OneIn(4);
    } else {
      value.value.integer =
          f.random_.OneIn(4) ? int64_t{f.random_.Integer()} << f.random_.Below(33) : f.random_.Below(100);
    }
    const char* const key = known ? kKeys[row] : f.random_.OneIn(2) ? nullptr : "";
    return f.gl_.SetEffectParameter(f._Effect(), key, f.random_.OneIn(32) ? nullptr : &value);
  }

  static bool Apply(F& f) {
    QVGEffect* const effect = f._Effect();
    QVGTexture* const input = f._Texture();
    QVGTexture* const output = f.gl_.ApplyEffect(effect, input);
    f._Expect(effect != nullptr || output == input, "without an effect the input is not the output");
    return effect != nullptr && f._Keep(output);
  }

  static bool ApplyWith(F& f) {
    QVGTexture* const first = f._Texture();
    QVGTexture* const output =
        f.gl_.ApplyEffectWith(f._Effect(), first, f._Texture(), static_cast<float>(f.random_.Real()));
    f._Expect(output == nullptr || output == first, "the form with two inputs does not give the first");
    return false;
  }

  static bool SetBudget(F& f) { return f.gl_.SetTexturePoolCapacity(f.random_.Integer()), true; }

  static bool PreallocateBuffers(F& f) {
    const bool none = f.random_.Flag();
    f.gl_.PreallocatePixelBuffers(none ? static_cast<uint32_t>(f.random_.Integer()) : f.random_.Below(4096),
                                  none ? -std::abs(f.random_.Below(1 << 30)) : f.random_.Below(4), f.random_.Flag());
    return false;
  }

  static bool Clear(F& f, bool target) {
    const double color[4] = {f.random_.Real(), f.random_.Fraction(), f.random_.Fraction(), f.random_.Fraction()};
    const double* const given = f.random_.OneIn(16) ? nullptr : color;
    if (!target) return f.gl_.ClearTexture(f._Texture(), given);
    const F::Target* const cleared = f._Target(true);
    return f.gl_.ClearFrameBuffer(cleared != nullptr ? cleared->handle : nullptr, given);
  }

  static bool Version(F& f, void (*slot)(int32_t*, int32_t*)) {
    int32_t numbers[2] = {};
    slot(f.random_.OneIn(4) ? nullptr : &numbers[0], f.random_.OneIn(4) ? nullptr : &numbers[1]);
    return true;
  }

  static bool ClearWindow(F& f) {
    const double color[3] = {f.random_.Real(), f.random_.Fraction(), f.random_.Fraction()};
    return f.gl_.ClearWnd(f._Drawer(), f.random_.OneIn(8) ? nullptr : color, NoHandle<void>(), nullptr);
  }

  // Often as large as a possible rectangle in the storage, so that what is drawn is not always nothing.
  static bool SetContent(F& f, bool origin) {
    QVGTexture* const texture = f._Texture();
    const auto slot = origin ? f.gl_.SetTextureOrigin : f.gl_.SetTextureSize;
    if (texture == nullptr || f.random_.OneIn(3)) {
      return slot(texture, static_cast<uint32_t>(f.random_.Integer()), static_cast<uint32_t>(f.random_.Integer()));
    }
    const uint32_t width = f.gl_.GetTextureAllocatedWidth(texture), height = f.gl_.GetTextureAllocatedHeight(texture);
    return origin ? slot(texture, 0, 0) : slot(texture, 1 + f.random_.Next() % width, 1 + f.random_.Next() % height);
  }

  using I = QVGGLRendererInterface;
  static constexpr Slot kAll[kSlotCount] = {
      {"SetTexturePoolCapacity", 12, false, SetBudget},
      {"Reserved", 4, false, [](F& f) { return f.gl_.Reserved(), true; }},
      {"PreallocateTextures", 2, true, [](F& f) { return Preallocate(f, f.gl_.PreallocateTextures); }},
      {"ClearTexturePool", 2, true, [](F& f) { return f.gl_.ClearTexturePool(); }},
      {"PreallocateRenderBuffers", 2, true, [](F& f) { return Preallocate(f, f.gl_.PreallocateRenderBuffers); }},
      {"ClearRenderBufferPool", 2, true, [](F& f) { return f.gl_.ClearRenderBufferPool(); }},
      {"PreallocatePixelBuffers", 2, true, PreallocateBuffers},
      {"ClearPixelBufferPool", 2, true, [](F& f) { return f.gl_.ClearPixelBufferPool(); }},
      {"CreateSharedContext", 1, false, MakeContext},
      {"GetSharedContext", 1, false,
       [](F& f) {
         if (f.contexts_.size() >= kMostContexts) GiveBackContext(f, false);
         return KeepContext(f, f.gl_.GetSharedContext());
       }},
      {"ReleaseSharedContext", 2, false, [](F& f) { return GiveBackContext(f, false); }},
      {"MakeCurrentContext", 8, false, MakeCurrent},
      {"GetCurrentContext", 72, false, [](F& f) { return f.gl_.GetCurrentContext() != nullptr; }},
      {"SwapBuffers", 4, false,
       [](F& f) { return f.gl_.SwapBuffers(f.random_.OneIn(4) ? NoHandle<QVGGLContext>() : f._Context(true)); }},
      {"DestroySharedContext", 1, false, [](F& f) { return GiveBackContext(f, true); }},
      {"IsGLVersionSupported", 24, false, [](F& f) { return f.gl_.IsGLVersionSupported(); }},
      {"GetGLVersion", 24, false, [](F& f) { return Version(f, f.gl_.GetGLVersion); }},
      {"GetRequiredGLVersion", 24, false, [](F& f) { return Version(f, f.gl_.GetRequiredGLVersion); }},
      {"CloneTexture", 3, true, [](F& f) { return f._Keep(f.gl_.CloneTexture(f._Texture())); }},
      {"SetTextureChannelOrder", 12, true,
       [](F& f) {
         return f.gl_.SetTextureChannelOrder(f._Texture(),
                                             f.random_.OneIn(4) ? f.random_.Integer() | 4 : f.round_.order);
       }},
      {"AcquireTexture", 8, true,
       [](F& f) {
         const auto area = f.random_.Area();
         return f._Keep(f.gl_.AcquireTexture(static_cast<uint32_t>(area[0]), static_cast<uint32_t>(area[1])));
       }},
      {"UploadPixelBufferToNewTexture", 8, true, [](F& f) { return Upload(f, true); }},
      {"UploadPixelBufferToTexture", 8, true, [](F& f) { return Upload(f, false); }},
      {"ClearTexture", 4, true, [](F& f) { return Clear(f, false); }},
      {"GetTextureWidth", 72, false, Get<&I::GetTextureWidth>},
      {"GetTextureHeight", 72, false, Get<&I::GetTextureHeight>},
      {"GetTextureAllocatedWidth", 72, false, Get<&I::GetTextureAllocatedWidth>},
      {"GetTextureAllocatedHeight", 72, false, Get<&I::GetTextureAllocatedHeight>},
      {"GetTextureRotation", 72, false, Get<&I::GetTextureRotation>},
      {"GetTextureFlipped", 72, false, Get<&I::GetTextureFlipped>},
      {"GetTextureId", 72, false, Get<&I::GetTextureId>},
      {"SetTextureSize", 48, false, [](F& f) { return SetContent(f, false); }},
      {"SetTextureOrigin", 48, false, [](F& f) { return SetContent(f, true); }},
      {"SetTextureFlipped", 48, false, [](F& f) { return f.gl_.SetTextureFlipped(f._Texture(), f.random_.Flag()); }},
      {"SetTextureRotation", 48, false,
       [](F& f) { return f.gl_.SetTextureRotation(f._Texture(), static_cast<uint32_t>(f.random_.Integer())); }},
      {"TextureToYUV420PixelBuffer", 4, true, Read<&I::TextureToYUV420PixelBuffer, true>},
      {"TextureToNV12PixelBuffer", 4, true, Read<&I::TextureToNV12PixelBuffer>},
      {"TextureToRGBAPixelBuffer", 4, true, Read<&I::TextureToRGBAPixelBuffer>},
      {"TextureToBGRAPixelBuffer", 4, true, Read<&I::TextureToBGRAPixelBuffer>},
      {"ReleasePixelBuffer", 36, false, ReleaseRead},
      {"ReleaseTexture", 6, false, ReleaseTexture},
      {"CreateFrameBuffer", 4, true, MakeTarget},
      {"CreateFrameBufferFromDesc", 4, true, MakeTargetFromDesc},
      {"BindTextureToFrameBuffer", 12, true, Bind},
      {"ClearFrameBuffer", 4, true, [](F& f) { return Clear(f, true); }},
      {"DrawTexture", 16, true, Draw},
      {"DestroyFrameBuffer", 4, false, DestroyTarget},
      {"Finish", 2, false, [](F& f) { return f.gl_.Finish(), true; }},
      {"CreateWndDrawer", 1, false, MakeDrawer},
      {"GetWndDrawerHandle", 48, false, [](F& f) { return f.gl_.GetWndDrawerHandle(f._Drawer()) != nullptr; }},
      {"ClearWnd", 4, false, ClearWindow},
      {"SetWndDrawerSize", 48, false,
       [](F& f) {
         const auto area = f.random_.Area();
         return f.gl_.SetWndDrawerSize(f._Drawer(), static_cast<uint32_t>(area[0]), static_cast<uint32_t>(area[1]));
       }},
      {"DrawTextureToWnd", 6, false, [](F& f) { return f.gl_.DrawTextureToWnd(f._Drawer(), f._Texture()); }},
      {"DestroyWndDrawer", 1, false, DestroyDrawer},
      {"GetEffectNames", 36, false, EffectNames},
      {"HasEffect", 36, false, [](F& f) { return f.gl_.HasEffect(f._EffectName()); }},
      {"GetEffectType", 36, false, [](F& f) { return f.gl_.GetEffectType(f._EffectName()) != 0; }},
      {"QueryEffect", 36, false,
       [](F& f) {
         return f.gl_.QueryEffect(f._EffectName(), f.random_.Flag() ? nullptr : f._EffectName()) != nullptr;
       }},
      {"GetEffectParameterTable", 36, false, ParameterTable},
      {"CreateEffect", 6, true, MakeEffect},
      {"SetEffectParameter", 36, false, SetParameter},
      {"ApplyEffect", 8, true, Apply},
      {"ApplyEffectWith", 4, true, ApplyWith},
      {"DestroyEffect", 1, false, DestroyEffect},
  };

  /// Each slot as often as its weight tells.
  static const std::vector<uint8_t>& Weighted() {
    static const std::vector<uint8_t> all = [] {
      std::vector<uint8_t> slots;
      for (int i = 0; i < kSlotCount; ++i) slots.insert(slots.end(), static_cast<size_t>(kAll[i].weight), uint8_t(i));
      return slots;
    }();
    return all;
  }
};

const char* NameOfSlot(int slot) { return Slots::kAll[slot].name; }

Fuzzer::Fuzzer(Round& round, uint64_t seed)
    : round_(round), gl_(round.gl), random_(seed), window_(24, 16), home_(gl_.GetSharedContext()) {
  _Expect(home_ != nullptr, "there is no context");
  _ComeHome();
}

Fuzzer::~Fuzzer() {
  if (home_ == nullptr) return;
  _ComeHome();
  _GiveBackAll();
  gl_.ReleaseSharedContext(&home_);
}

void Fuzzer::LeaveForRelease() {
  _ComeHome();
  effects_.clear();
  reads_.clear();
  contexts_.clear();
}

void Fuzzer::Run(int64_t calls, std::chrono::steady_clock::time_point end) {
  constexpr int kSequence = 96;
  for (int64_t done = 0; done < calls && std::chrono::steady_clock::now() < end; done += kSequence) {
    _Sequence(static_cast<int>(std::min<int64_t>(kSequence, calls - done)));
  }
}

void Fuzzer::_Sequence(int calls) {
  ++sequence_;
  const bool away = random_.OneIn(8);
  _Enter(!away ? Mode::kHome : random_.Flag() ? Mode::kForeign : Mode::kNoContext);
  for (int i = 0; i < calls; ++i) _Call(random_.Pick(Slots::Weighted()));
  _ComeHome();
  const char* const fault = PictureFault(gl_, random_.Next());
  _Expect(*fault == '\0', fault);
  _HandOver();
  if (random_.OneIn(32)) _GiveBackAll();
}

void Fuzzer::_Call(int slot) {
  slot_ = slot;
  const bool without = current_ == nullptr;
  const bool foreign = mode_ == Mode::kForeign;
  const bool done = Slots::kAll[slot].call(*this);
  ++counts_.calls[static_cast<size_t>(slot)];
  if (done) ++counts_.successes[static_cast<size_t>(slot)];
  _Expect(!done || !without || !Slots::kAll[slot].needsContext, "what needs a context worked without one");
  if (foreign && mode_ == Mode::kForeign) _Expect(foreign_.IsCurrent(), "the host's own context did not stay current");
}

void Fuzzer::_Enter(Mode mode) {
  if (mode == Mode::kHome || (mode == Mode::kForeign && !foreign_.Enter())) return;
  if (mode == Mode::kNoContext) gl_.MakeCurrentContext(nullptr, nullptr);
  mode_ = mode;
  current_ = nullptr;
}

void Fuzzer::_ComeHome() {
  if (mode_ == Mode::kForeign) {
    _Expect(foreign_.IsCurrent() && foreign_.IsUntouched(), "the host's own context is not as it was");
    foreign_.Leave();
  }
  _Expect(gl_.MakeCurrentContext(home_, nullptr), "home can't be made current");
  _Expect(gl_.GetCurrentContext() == home_, "home is not current");
  mode_ = Mode::kHome;
  current_ = home_;
}

// An object goes on another thread from here on, as the header allows it after Finish.
void Fuzzer::_HandOver() {
  if (!random_.OneIn(4)) return;
  gl_.Finish();
  const std::lock_guard lock(round_.mutex);
  const auto exchange = [&](auto& mine, auto& others, auto release) {
    if (!mine.empty()) {
      release(mine.back());
      others.push_back(mine.back());
      mine.pop_back();
    }
    if (others.size() < 3 || mine.size() > 4) return;
    mine.push_back(others.front());
    others.erase(others.begin());
  };
  exchange(textures_, round_.textures, [&](QVGTexture* texture) { _Forget(texture); });
  exchange(reads_, round_.reads, [](const QVGPixelBuffer&) {});
  exchange(effects_, round_.effects, [](const QVGEffect*) {});
  // They work where they were made only: here they end.
  if (!targets_.empty()) round_.frameBuffers.push_back(targets_.back().handle), targets_.pop_back();
  if (round_.frameBuffers.size() < 3) return;
  gl_.DestroyFrameBuffer(&round_.frameBuffers.front());
  round_.frameBuffers.erase(round_.frameBuffers.begin());
}

void Fuzzer::_GiveBackAll() {
  for (Target& target : targets_) gl_.DestroyFrameBuffer(&target.handle);
  for (QVGTexture*& texture : textures_) gl_.ReleaseTexture(&texture);
  for (QVGEffect*& effect : effects_) gl_.DestroyEffect(&effect);
  for (QVGWndDrawer*& drawer : drawers_) gl_.DestroyWndDrawer(&drawer);
  for (QVGPixelBuffer& read : reads_) {
    QVGPixelBuffer* pointer = &read;
    gl_.ReleasePixelBuffer(&pointer);
  }
  for (QVGGLContext*& context : contexts_) gl_.DestroySharedContext(&context);
  targets_.clear();
  textures_.clear();
  effects_.clear();
  drawers_.clear();
  reads_.clear();
  contexts_.clear();
}

void Fuzzer::_Expect(bool holds, const char* what) const {
  if (holds) return;
  std::fprintf(stderr, "FAULT: %s (seed %llu, sequence %lld, slot %d %s)\n", what,
               static_cast<unsigned long long>(round_.seed), static_cast<long long>(sequence_), slot_,
               NameOfSlot(slot_));
  std::abort();
}

QVGTexture* Fuzzer::_Texture() { return textures_.empty() || random_.OneIn(24) ? nullptr : random_.Pick(textures_); }

Fuzzer::Target* Fuzzer::_Target(bool drawn) {
  if (targets_.empty() || random_.OneIn(24)) return nullptr;
  Target& target = targets_[static_cast<size_t>(random_.Below(static_cast<int>(targets_.size())))];
  return target.drawable || !drawn ? &target : nullptr;
}

QVGEffect* Fuzzer::_Effect() {
  if (random_.OneIn(16)) return NoHandle<QVGEffect>();
  return effects_.empty() || random_.OneIn(16) ? nullptr : random_.Pick(effects_);
}

QVGGLContext* Fuzzer::_Context(bool mayBeCurrent) {
  QVGGLContext* const context = contexts_.empty() ? nullptr : random_.Pick(contexts_);
  return mayBeCurrent || context != current_ || random_.Flag() ? context : nullptr;
}

const char* Fuzzer::_EffectName() {
  static const std::string kLong(5000, 'x');
  const char* const names[] = {"", nullptr, "general_ef", "zh_CN", "\xff\xfe%s%n", kLong.c_str()};
  return random_.OneIn(3) ? random_.Pick(names) : "general_eff";
}

bool Fuzzer::_Keep(QVGTexture* texture) {
  if (texture == nullptr) return false;
  textures_.push_back(texture);
  if (textures_.size() > kMostTextures) {
    QVGTexture* released = TakeAny(textures_, random_);
    _Forget(released);
    gl_.ReleaseTexture(&released);
  }
  return true;
}

void Fuzzer::_Forget(const QVGTexture* texture) {
  if (texture == nullptr) return;
  for (Target& target : targets_) {
    if (target.bound == texture) target.bound = nullptr, target.drawable = false;
  }
}

bool Fuzzer::_KeepRead(bool read, QVGPixelBuffer* out, bool given) {
  if (!read) {
    const bool null = std::all_of(std::begin(out->plane), std::end(out->plane), [](auto* plane) { return !plane; });
    _Expect(!given || null, "a read-back that failed left a plane");
    return false;
  }
  const bool yuv = out->format != QVG_FORMAT_RGBA && out->format != QVG_FORMAT_BGRA;
  volatile uint8_t sum = 0;
  for (int p = 0; p < 3; ++p) {
    const int64_t rows = p > 0 ? out->height / 2 : out->height;
    if (out->plane[p] == nullptr) continue;
    _Expect(p == 0 || yuv, "RGB has more than a plane");
    for (int64_t i = 0; i < rows * out->stride[p]; ++i) sum = sum + out->plane[p][i];
  }
  reads_.push_back(*out);
  if (reads_.size() > kMostReads) {
    QVGPixelBuffer* pointer = &reads_.front();
    gl_.ReleasePixelBuffer(&pointer);
    reads_.erase(reads_.begin());
  }
  return true;
}

}  // namespace qvg::test
