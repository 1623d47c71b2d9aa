// Abuses the library until a number of calls or a time is over; a fault ends the program, and a sanitizer's finding
// too.
#include <glad/gl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "abuse/checks.h"
#include "abuse/fuzzer.h"
#include "abuse/hostile.h"
#include "abuse/options.h"
#include "support/frames.h"
#include "support/table_test.h"

namespace qvg::test {

namespace {

struct Slot {
  const char* name;
  int weight;
  bool needsContext;  // fails without one of the library's
  bool (*call)(Fuzzer& f);
};

template <auto kSlot>
bool Get(Fuzzer& f) {
  return (f.gl.*kSlot)(f.Texture()) != 0;
}

template <auto kSlot>
bool ReadBack(Fuzzer& f) {
  return f.Read([&](QVGTexture* texture, QVGPixelBuffer* out) { return (f.gl.*kSlot)(texture, out, f.random.Flag()); });
}

// Sizes are hostile numbers, too.
template <class Function>
auto WithArea(Fuzzer& f, Function function) {
  const auto [width, height] = f.random.Area();
  return function(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
}

using F = Fuzzer;
constexpr Slot kSlots[kSlotCount] = {
    {"SetTexturePoolCapacity", 12, false, [](F& f) { return f.gl.SetTexturePoolCapacity(f.random.Integer()), true; }},
    {"Reserved", 4, false, [](F& f) { return f.gl.Reserved(), true; }},
    {"PreallocateTextures", 2, true, [](F& f) { return f.Preallocate(f.gl.PreallocateTextures); }},
    {"ClearTexturePool", 2, true, [](F& f) { return f.gl.ClearTexturePool(); }},
    {"PreallocateRenderBuffers", 2, true, [](F& f) { return f.Preallocate(f.gl.PreallocateRenderBuffers); }},
    {"ClearRenderBufferPool", 2, true, [](F& f) { return f.gl.ClearRenderBufferPool(); }},
    {"PreallocatePixelBuffers", 2, true, [](F& f) { return f.PreallocateBuffers(); }},
    {"ClearPixelBufferPool", 2, true, [](F& f) { return f.gl.ClearPixelBufferPool(); }},
    {"CreateSharedContext", 1, false, [](F& f) { return f.MakeContext(); }},
    {"GetSharedContext", 1, false, [](F& f) { return f.Keep(f.gl.GetSharedContext()); }},
    {"ReleaseSharedContext", 2, false, [](F& f) { return f.GiveBackContext(false); }},
    {"MakeCurrentContext", 8, false, [](F& f) { return f.MakeCurrent(); }},
    {"GetCurrentContext", 72, false, [](F& f) { return f.gl.GetCurrentContext() != nullptr; }},
    {"SwapBuffers", 4, false,
     [](F& f) { return f.gl.SwapBuffers(f.random.OneIn(4) ? NoHandle<QVGGLContext>() : f.Any(f.mine.contexts, 24)); }},
    {"DestroySharedContext", 1, false, [](F& f) { return f.GiveBackContext(true); }},
    {"IsGLVersionSupported", 24, false, [](F& f) { return f.gl.IsGLVersionSupported(); }},
    {"GetGLVersion", 24, false, [](F& f) { return f.Version(f.gl.GetGLVersion); }},
    {"GetRequiredGLVersion", 24, false, [](F& f) { return f.Version(f.gl.GetRequiredGLVersion); }},
    {"CloneTexture", 3, true, [](F& f) { return f.Keep(f.gl.CloneTexture(f.Texture())); }},
    {"SetTextureChannelOrder", 12, true,
     [](F& f) {
       return f.gl.SetTextureChannelOrder(f.Texture(), f.random.OneIn(4) ? f.random.Integer() | 4 : f.round.order);
     }},
    {"AcquireTexture", 8, true, [](F& f) { return f.Keep(WithArea(f, f.gl.AcquireTexture)); }},
    {"UploadPixelBufferToNewTexture", 8, true, [](F& f) { return f.Upload(true); }},
    {"UploadPixelBufferToTexture", 8, true, [](F& f) { return f.Upload(false); }},
    {"ClearTexture", 4, true, [](F& f) { return f.Clear(false); }},
    {"GetTextureWidth", 72, false, Get<&I::GetTextureWidth>},
    {"GetTextureHeight", 72, false, Get<&I::GetTextureHeight>},
    {"GetTextureAllocatedWidth", 72, false, Get<&I::GetTextureAllocatedWidth>},
    {"GetTextureAllocatedHeight", 72, false, Get<&I::GetTextureAllocatedHeight>},
    {"GetTextureRotation", 72, false, Get<&I::GetTextureRotation>},
    {"GetTextureFlipped", 72, false, Get<&I::GetTextureFlipped>},
    {"GetTextureId", 72, false, Get<&I::GetTextureId>},
    {"SetTextureSize", 48, false, [](F& f) { return f.SetContent(false); }},
    {"SetTextureOrigin", 48, false, [](F& f) { return f.SetContent(true); }},
    {"SetTextureFlipped", 48, false, [](F& f) { return f.gl.SetTextureFlipped(f.Texture(), f.random.Flag()); }},
    {"SetTextureRotation", 48, false, [](F& f) { return f.gl.SetTextureRotation(f.Texture(), f.Unsigned()); }},
    {"TextureToYUV420PixelBuffer", 4, true,
     [](F& f) {
       return f.Read([&](QVGTexture* texture, QVGPixelBuffer* out) {
         return f.gl.TextureToYUV420PixelBuffer(texture, f.random.Flag(), f.random.Flag(), out);
       });
     }},
    {"TextureToNV12PixelBuffer", 4, true, ReadBack<&I::TextureToNV12PixelBuffer>},
    {"TextureToRGBAPixelBuffer", 4, true, ReadBack<&I::TextureToRGBAPixelBuffer>},
    {"TextureToBGRAPixelBuffer", 4, true, ReadBack<&I::TextureToBGRAPixelBuffer>},
    {"ReleasePixelBuffer", 36, false, [](F& f) { return f.ReleaseRead(); }},
    {"ReleaseTexture", 6, false, [](F& f) { return f.ReleaseTexture(); }},
    {"CreateFrameBuffer", 4, true,
     [](F& f) {
       return f.Keep(WithArea(f, [&](uint32_t width, uint32_t height) {
         return f.gl.CreateFrameBuffer(width, height, f.random.Flag(), f.random.Flag());
       }));
     }},
    {"CreateFrameBufferFromDesc", 4, true, [](F& f) { return f.MakeTargetFromDesc(); }},
    {"BindTextureToFrameBuffer", 12, true, [](F& f) { return f.Bind(); }},
    {"ClearFrameBuffer", 4, true, [](F& f) { return f.Clear(true); }},
    {"DrawTexture", 16, true, [](F& f) { return f.Draw(); }},
    {"DestroyFrameBuffer", 4, false, [](F& f) { return f.DestroyTarget(); }},
    {"Finish", 2, false, [](F& f) { return f.gl.Finish(), true; }},
    {"CreateWndDrawer", 1, false, [](F& f) { return f.MakeDrawer(); }},
    {"GetWndDrawerHandle", 48, false, [](F& f) { return f.gl.GetWndDrawerHandle(f.Drawer()) != nullptr; }},
    {"ClearWnd", 4, false, [](F& f) { return f.ClearWindow(); }},
    {"SetWndDrawerSize", 48, false,
     [](F& f) {
       return WithArea(
           f, [&](uint32_t width, uint32_t height) { return f.gl.SetWndDrawerSize(f.Drawer(), width, height); });
     }},
    {"DrawTextureToWnd", 6, false, [](F& f) { return f.gl.DrawTextureToWnd(f.Drawer(), f.Texture()); }},
    {"DestroyWndDrawer", 1, false, [](F& f) { return f.DestroyDrawer(); }},
    {"GetEffectNames", 36, false, [](F& f) { return f.EffectNames(); }},
    {"HasEffect", 36, false, [](F& f) { return f.gl.HasEffect(f.EffectName()); }},
    {"GetEffectType", 36, false, [](F& f) { return f.gl.GetEffectType(f.EffectName()) != 0; }},
    {"QueryEffect", 36, false,
     [](F& f) { return f.gl.QueryEffect(f.EffectName(), f.OrNull(f.EffectName(), 2)) != nullptr; }},
    {"GetEffectParameterTable", 36, false, [](F& f) { return f.ParameterTable(); }},
    {"CreateEffect", 6, true, [](F& f) { return f.Keep(f.mine.effects, 3, f.gl.CreateEffect(f.EffectName())); }},
    {"SetEffectParameter", 36, false, [](F& f) { return f.SetParameter(); }},
    {"ApplyEffect", 8, true, [](F& f) { return f.Apply(); }},
    {"ApplyEffectWith", 4, true, [](F& f) { return f.ApplyWith(); }},
    {"DestroyEffect", 1, false, [](F& f) { return f.DestroyEffect(); }},
};

}  // namespace

const char* NameOfSlot(int slot) { return kSlots[slot].name; }

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

void Fuzzer::_Sequence(int calls) {
  // Each slot as often as its weight tells.
  static const std::vector<int> weighted = [] {
    std::vector<int> slots;
    for (int i = 0; i < kSlotCount; ++i) slots.insert(slots.end(), static_cast<size_t>(kSlots[i].weight), i);
    return slots;
  }();
  ++sequence_;
  if (random.OneIn(8)) _GoAway();
  for (int i = 0; i < calls; ++i) _Call(random.Pick(weighted));
  _ComeHome();
  const char* const fault = PictureFault(gl, random.Next());
  Expect(*fault == '\0', fault);
  if (random.OneIn(4)) _HandOver();
  if (random.OneIn(32)) mine.GiveBackAll(gl);
}

namespace {

using Clock = std::chrono::steady_clock;

void Demand(bool holds, const char* what, uint64_t seed) {
  if (holds) return;
  std::fprintf(stderr, "FAULT: %s (seed %llu)\n", what, static_cast<unsigned long long>(seed));
  std::abort();
}

void DrawFromFew(Round& round) {
  Hostile random(round.seed);
  constexpr int32_t kBlends[] = {-1, 0, 1, 6, 7, 8, 10, 11, 16, 19, 26, 27, 30, 31, 32, 33, 34, 35};
  for (int32_t& blend : round.blends) blend = random.Pick(kBlends);
  for (int32_t& format : round.formats) format = random.Pick(Formats()).code;
  round.matte = random.Below(5);
  round.order = random.Below(4);
  round.parameters = random.Next() & random.Next();
}

// With all handles given back and no context that drew, only decoded images are there.
void DemandBalance(Round& round) {
  const std::vector<size_t> left = CountsWhenIdle(round.gl, round.elsewhere);
  Demand(!left.empty() && glGetError() == 0, "the context can't be made current, or an error is pending", round.seed);
  const size_t images = static_cast<size_t>(HostImages::valid);
  const bool balanced = left[kTextures] <= images && left[kBuffers] == 0 && left[kRenderBuffers] == 0;
  if (!balanced) {
    std::fprintf(stderr, "left: %zu textures (%zu images), %zu buffers, %zu render buffers\n", left[kTextures], images,
                 left[kBuffers], left[kRenderBuffers]);
  }
  Demand(balanced, "GL names are left", round.seed);
}

/// From a start of the library to its release.
/// @param calls of each thread. @param handlesAreLeft the library is released while some are held.
void RunRound(SlotCounts& counts, uint64_t seed, int64_t threads, int64_t calls, Clock::time_point end,
              bool handlesAreLeft) {
  static const QVGConfig config = {{}, HostImages::Decode, HostImages::Free};
  HostImages::valid = 0;
  const QVGGLRendererInterface* table = QVG_GetGLRendererInterface(seed % 8 == 7 ? nullptr : &config);
  Round round{*table, counts, seed, 0, table->GetSharedContext()};
  Demand(table->MakeCurrentContext(round.elsewhere, nullptr), "no context can be made current", seed);
  static const bool loaded =
      gladLoadGL([](const char* name) { return reinterpret_cast<GLADapiproc>(GLFunction(name)); }) != 0;
  Demand(loaded, "GL can't be loaded", seed);
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &round.maxSize);
  DrawFromFew(round);
  std::vector<std::thread> hosts;
  for (int64_t i = 0; i < threads; ++i)
    hosts.emplace_back([&, i] {
      Fuzzer fuzzer(round, seed * 64 + static_cast<uint64_t>(i));
      fuzzer.Run(calls, end);
      fuzzer.End(handlesAreLeft);
    });
  for (std::thread& host : hosts) host.join();
  round.handedOver.GiveBackAll(*table);
  if (!handlesAreLeft) DemandBalance(round);
  table->ReleaseSharedContext(&round.elsewhere);
  QVG_ReleaseGLRendererInterface(&table);
  Demand(HostImages::out == 0, "an image was not taken back", seed);
}

int Main(int argc, char** argv) {
  auto options = ReadOptions(argc, argv, {{"calls", 200000}, {"seed", 1}, {"threads", 1}, {"seconds", 0}});
  // What is drawn is small: threads of the driver would only wait.
  setenv("LP_NUM_THREADS", "0", 0);
  std::FILE* const report = KeepReportOffStandardOutput("/dev/null");
  constexpr int64_t kCallsOfARound = 500000;
  const int64_t threads = std::max<int64_t>(1, options["threads"]);
  const bool timed = options["seconds"] > 0;
  const Clock::time_point start = Clock::now();
  const Clock::time_point end = timed ? start + std::chrono::seconds(options["seconds"]) : Clock::time_point::max();
  SlotCounts counts;
  for (int64_t round = 0; timed ? Clock::now() < end : counts.all < options["calls"]; ++round) {
    const int64_t calls = timed ? kCallsOfARound / 8 : std::min(kCallsOfARound, options["calls"] - counts.all);
    RunRound(counts, static_cast<uint64_t>(options["seed"] + round), threads, (calls + threads - 1) / threads, end,
             round % 3 == 2);
    std::fprintf(report, "\r%lld calls", static_cast<long long>(counts.all));
  }
  std::fprintf(report, "\r%-30s %12s %12s\n", "slot", "calls", "successes");
  for (int i = 0; i < kSlotCount; ++i) {
    std::fprintf(report, "%2d %-27s %12lld %12lld\n", i, NameOfSlot(i), static_cast<long long>(counts.calls[size_t(i)]),
                 static_cast<long long>(counts.successes[size_t(i)]));
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::fprintf(report, "%lld calls in %.1f s, %.0f calls/s, no fault\n", static_cast<long long>(counts.all), seconds,
               static_cast<double>(counts.all) / seconds);
  return 0;
}

}  // namespace
}  // namespace qvg::test

int main(int argc, char** argv) { return qvg::test::Main(argc, argv); }
