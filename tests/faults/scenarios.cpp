#include <memory>
#include <optional>

#include "host.h"
#include "reference/drawing.h"
#include "support/frames.h"
#include "support/platform.h"

namespace qvg::test {
namespace {

struct GiveBack {
  Slots gl;

  void operator()(QVGTexture* texture) const { gl->ReleaseTexture(&texture); }
  void operator()(QVGFrameBuffer* frameBuffer) const { gl->DestroyFrameBuffer(&frameBuffer); }
  void operator()(QVGEffect* effect) const { gl->DestroyEffect(&effect); }
  void operator()(QVGWndDrawer* drawer) const { gl->DestroyWndDrawer(&drawer); }
};
template <class Handle>
using Held = std::unique_ptr<Handle, GiveBack>;

template <class Handle>
Held<Handle> Hold(Host& host, Handle* handle) {
  return Held<Handle>(handle, GiveBack{host.gl});
}

constexpr int kWidth = 24, kHeight = 12;
constexpr int kOddWidth = 21, kOddHeight = 13;

/// A frame's memory layout: a format's first layout is tight, the last one padded.
enum Padding { kTight, kPadded };

Frame FrameOf(int code, Padding padding = kTight, int seed = 1, int width = kOddWidth, int height = kOddHeight) {
  const std::vector<Layout> layouts = Layouts(code, width, height);
  return MakeFrame(padding == kTight ? layouts.front() : layouts.back(), seed);
}

// ---- Uploads

template <int kCode, Padding kPadding = kTight, bool kMatte = false>
void Upload(Host& host) {
  const Frame frame = FrameOf(kCode, kPadding);
  const auto texture = Hold(host, host.gl->UploadPixelBufferToNewTexture(&frame.buffer, true, kMatte, {0, 1, 0, 1}));
  host.Made(texture.get());
}

// A texture with this picture; nothing fails while it is made.
Held<QVGTexture> Given(Host& host, int code = QVG_FORMAT_RGBA, int seed = 1, int width = kWidth, int height = kHeight) {
  const WithoutFaults undisturbed;
  const Frame frame = FrameOf(code, kTight, seed, width, height);
  return Hold(host, host.gl->UploadPixelBufferToNewTexture(&frame.buffer, false, false, {}));
}

template <int kCode>
void UploadInto(Host& host) {
  const auto texture = Given(host, QVG_FORMAT_RGBA, 2, kOddWidth, kOddHeight);
  for (int seed = 3; seed < 5; ++seed) {
    const Frame frame = FrameOf(kCode, kTight, seed);
    host.Drew(host.gl->UploadPixelBufferToTexture(texture.get(), &frame.buffer, false, false, {}), texture.get());
  }
}

// ---- Read-backs

// flag: mirrored, flipped, or mirrored in full range.
bool ReadInto(Host& host, QVGTexture* texture, int code, bool flag, QVGPixelBuffer& out) {
  switch (code) {
    case QVG_FORMAT_NV12:
      return host.gl->TextureToNV12PixelBuffer(texture, &out, flag);
    case QVG_FORMAT_I420:
      return host.gl->TextureToYUV420PixelBuffer(texture, flag, flag, &out);
    case QVG_FORMAT_RGBA:
      return host.gl->TextureToRGBAPixelBuffer(texture, &out, flag);
    default:
      return host.gl->TextureToBGRAPixelBuffer(texture, &out, flag);
  }
}

bool ReadBack(Host& host, QVGTexture* texture, int code = QVG_FORMAT_NV12, bool flag = false) {
  uint8_t old = 0;
  QVGPixelBuffer out = {{&old, &old, &old}, {}, 0, 0, 0, 0, 0}, *handle = &out;
  const bool read = host.Read(ReadInto(host, texture, code, flag, out), out);
  if (!read) out = {};
  host.gl->ReleasePixelBuffer(&handle);
  return read;
}

template <int kAs, bool kFlag = false, int kW = kWidth, int kH = kHeight, int kCode = QVG_FORMAT_RGBA>
void Read(Host& host) {
  const auto texture = Given(host, kCode, 1, kW, kH);
  // The second one reuses the first one's buffer.
  for (int i = 0; i < 2; ++i) ReadBack(host, texture.get(), kAs, kFlag);
}

// ---- Drawing

constexpr double kBlue[4] = {0.2, 0.4, 0.8, 1};

// Clears the target and draws, which together make its picture; both are steps.
void ClearAndDraw(Host& host, QVGFrameBuffer* target, QVGTexture* canvas, QVGTexture* source,
                  const QVGDrawTextureParams* params) {
  const Part part(host, 2);
  const auto drew = [&](bool done) { return canvas != nullptr ? host.Drew(done, canvas) : host.Drew(done, target); };
  if (drew(host.gl->ClearFrameBuffer(target, kBlue))) drew(host.gl->DrawTexture(source, target, params));
}

// Draws on a canvas of its own, with a new frame buffer.
void DrawWith(Host& host, QVGTexture* source, const QVGDrawTextureParams* params, bool depth = false) {
  const Part part(host, 6);
  const auto canvas = Given(host, QVG_FORMAT_BGRA, 5);
  const QVGFrameBufferDesc desc = {kWidth, kHeight, 0, depth, false, DefaultCamera(kWidth, kHeight)};
  const auto target = Hold(host, depth ? host.gl->CreateFrameBufferFromDesc(&desc)
                                       : host.gl->CreateFrameBuffer(kWidth, kHeight, false, false));
  if (!host.Did(target != nullptr)) return;
  if (!host.Drew(host.gl->BindTextureToFrameBuffer(target.get(), canvas.get()), canvas.get())) return;
  ClearAndDraw(host, target.get(), canvas.get(), source, params);
  ClearAndDraw(host, target.get(), canvas.get(), source, params);
}

void DrawPlain(Host& host) { DrawWith(host, Given(host).get(), nullptr); }

void DrawBlended(Host& host) {
  const auto matte = Given(host, QVG_FORMAT_RGBA, 3, kOddWidth, kOddHeight);
  QVGDrawTextureParams params = DefaultParams();
  params.blendType = QVG_BLEND_MULTIPLY;
  params.matteType = QVG_MATTE_LUMA;
  params.matteTexture = matte.get();
  params.rotation[2] = 20;
  params.opacity = 0.8;
  DrawWith(host, Given(host).get(), &params);
}

void DrawWithDepth(Host& host) {
  QVGDrawTextureParams params = DefaultParams();
  params.depthTest = params.simpleMatte = true;
  params.simpleMatteSize[0] = 0.5;
  DrawWith(host, Given(host).get(), &params, true);
}

void DrawIntoOwnBuffer(Host& host) {
  const Part part(host, 3);
  const auto source = Given(host);
  QVGDrawTextureParams params = DefaultParams();
  params.blendType = QVG_BLEND_SCREEN;
  const auto target = Hold(host, host.gl->CreateFrameBuffer(kWidth, kHeight, true, false));
  if (host.Did(target != nullptr)) ClearAndDraw(host, target.get(), nullptr, source.get(), &params);
}

// Draws the target onto itself, with channels stored in another order.
void DrawOntoItself(Host& host) {
  const auto canvas = Given(host, QVG_FORMAT_ABGR);
  const auto target = Hold(host, host.gl->CreateFrameBuffer(kWidth, kHeight, false, false));
  if (!host.Did(target != nullptr)) return;
  if (!host.Drew(host.gl->BindTextureToFrameBuffer(target.get(), canvas.get()), canvas.get())) return;
  QVGDrawTextureParams params = DefaultParams();
  params.blendType = QVG_BLEND_NORMAL;
  params.scale[0] = 0.5;
  params.opacity = 0.5;
  host.Drew(host.gl->DrawTexture(canvas.get(), target.get(), &params), canvas.get());
}

template <int kCode>
void Clone(Host& host) {
  const auto source = Given(host, kCode);
  const auto copy = Hold(host, host.gl->CloneTexture(source.get()));
  if (!host.Made(copy.get())) return;
  host.Drew(host.gl->ClearTexture(copy.get(), kBlue), copy.get());
}

void ReorderChannels(Host& host) {
  const auto texture = Given(host);
  for (const int order : {0, 2, 3}) {
    if (!host.Drew(host.gl->SetTextureChannelOrder(texture.get(), order), texture.get())) {
      const WithoutFaults undisturbed;
      host.gl->SetTextureChannelOrder(texture.get(), order);
    }
    ReadBack(host, texture.get(), QVG_FORMAT_BGRA);
  }
}

// ---- Effects

void Set(Host& host, QVGEffect* effect, const char* key, int64_t value) {
  const QVGParamValue parameter = {QVG_PARAM_INTEGER, {.integer = value}};
  host.Did(host.gl->SetEffectParameter(effect, key, &parameter));
}

// Sets up the stage and applies it, also to another effect's result.
template <class SetUp>
void Apply(Host& host, SetUp setUp) {
  const auto frame = Given(host);
  const auto effect = Hold(host, host.gl->CreateEffect("general_eff"));
  if (!host.Did(effect != nullptr)) return;
  setUp(effect.get());
  const auto once = Hold(host, host.gl->ApplyEffect(effect.get(), frame.get()));
  if (!host.Made(once.get())) return;
  const auto twice = Hold(host, host.gl->ApplyEffect(effect.get(), once.get()));
  host.Made(twice.get());
  DrawWith(host, once.get(), nullptr);
}

void Key(Host& host) {
  Apply(host, [&](QVGEffect* effect) {
    const QVGParamValue color = {QVG_PARAM_COLOR, {.color = {0.1, 0.9, 0.2}}};
    host.Did(host.gl->SetEffectParameter(effect, "color", &color));
    Set(host, effect, "enable_key", 1);
  });
}

void Smooth(Host& host) {
  Apply(host, [&](QVGEffect* effect) {
    Set(host, effect, "blur", 30);
    Set(host, effect, "whitten", 40);
    Set(host, effect, "enable_beauty", 1);
  });
}

void Correct(Host& host) {
  Apply(host, [&](QVGEffect* effect) {
    Set(host, effect, "enable_color", 1);
    Set(host, effect, "bright", 20);
    Set(host, effect, "temperature", -30);
  });
}

void LayOverImage(Host& host) {
  Apply(host, [&](QVGEffect* effect) {
    const QVGParamValue path = {QVG_PARAM_TEXT, {.text = "beach"}};
    Set(host, effect, "enable_key", 1);
    Set(host, effect, "enable_bg", 1);
    // True also when the image could not be loaded: the next request loads it.
    const int failed = Faults().failed;
    host.Did(host.gl->SetEffectParameter(effect, "bgfile", &path));
    if (Faults().failed == failed) return;
    const WithoutFaults undisturbed;
    host.Did(host.gl->SetEffectParameter(effect, "bgfile", &path));
    host.steps.pop_back();
  });
}

void AskForEffects(Host& host) {
  const char* names[4] = {};
  int32_t count = 0;
  host.Did(host.gl->GetEffectNames(1, names, 4, &count));
  host.Did(host.gl->QueryEffect("general_eff", "en") != nullptr);
}

// ---- Refusals, which are logged when there is memory for a line

void Refuse(Host& host) {
  const auto texture = Given(host, QVG_FORMAT_NV12);
  Frame frame = FrameOf(QVG_FORMAT_NV12);
  frame.buffer.stride[1] = 1;
  host.Did(host.gl->UploadPixelBufferToNewTexture(&frame.buffer, false, false, {}) == nullptr);
  host.Did(host.gl->AcquireTexture(0, 1) == nullptr);
  host.Did(!host.gl->DrawTexture(texture.get(), nullptr, nullptr));
  host.Did(host.gl->CreateEffect("no such effect") == nullptr);
  OnThread([&] { host.Did(host.gl->AcquireTexture(8, 8) == nullptr); });
  ReadBack(host, texture.get());
}

// ---- Pools and contexts

void Preallocate(Host& host) {
  host.gl->PreallocateTextures(kWidth, kHeight, 3);
  host.gl->PreallocateRenderBuffers(kWidth, kHeight, 2);
  host.gl->PreallocatePixelBuffers(4 * kWidth * kHeight, 2, true);
  {
    const Part part(host, 2);
    const auto texture = Hold(host, host.gl->AcquireTexture(kWidth, kHeight));
    if (host.Did(texture != nullptr)) host.Drew(host.gl->ClearTexture(texture.get(), kBlue), texture.get());
  }
  DrawIntoOwnBuffer(host);
  Read<QVG_FORMAT_RGBA>(host);
  host.Did(host.gl->ClearTexturePool() && host.gl->ClearRenderBufferPool() && host.gl->ClearPixelBufferPool());
}

// Takes contexts, works on one, and gives them back in both ways.
void TakeContexts(Host& host) {
  QVGGLContext *previous = host.gl->GetCurrentContext(), *contexts[2] = {};
  for (QVGGLContext*& context : contexts) {
    const Part part(host, 5);
    context = &context == contexts ? host.gl->GetSharedContext() : host.gl->CreateSharedContext(nullptr, nullptr, true);
    if (!host.Did(context != nullptr)) continue;
    if (!host.Did(host.gl->MakeCurrentContext(context, nullptr))) continue;
    Upload<QVG_FORMAT_NV12>(host);
    Read<QVG_FORMAT_NV12>(host);
  }
  host.gl->ReleaseSharedContext(&contexts[0]);
  host.gl->DestroySharedContext(&contexts[1]);
  if (contexts[1] != nullptr) host.Blame("a destroyed context is not null");
  const WithoutFaults undisturbed;
  host.gl->MakeCurrentContext(previous, nullptr);
}

// An encoder's thread, without a context, gives back what it was handed.
void GiveBackElsewhere(Host& host) {
  const auto texture = Given(host);
  QVGPixelBuffer out = {};
  if (!host.Read(host.gl->TextureToNV12PixelBuffer(texture.get(), &out, false), out)) return;
  QVGTexture* upload = Given(host, QVG_FORMAT_RGBA, 7).release();
  QVGFrameBuffer* target = nullptr;
  {
    const WithoutFaults undisturbed;
    target = host.gl->CreateFrameBuffer(kWidth, kHeight, false, false);
  }
  OnThread([&] {
    QVGPixelBuffer* handle = &out;
    host.gl->ReleasePixelBuffer(&handle);
    host.gl->ReleaseTexture(&upload);
    host.gl->DestroyFrameBuffer(&target);
    if (handle != nullptr || upload != nullptr || target != nullptr)
      host.Blame("a handle that was given back is not null");
  });
  ReadBack(host, texture.get());
}

// A second context reads what the first has drawn, draws over it and gives it back; then the first takes it again.
void HandOver(Host& host) {
  const auto canvas = Given(host);
  const auto work = [&](int seed) {
    const auto frame = FrameOf(QVG_FORMAT_NV12, kTight, seed, kWidth, kHeight);
    const auto upload = [&] {
      const bool done = host.gl->UploadPixelBufferToTexture(canvas.get(), &frame.buffer, false, false, {});
      host.gl->Finish();
      return done;
    };
    if (host.Drew(upload(), canvas.get())) return;
    // The others need it.
    const WithoutFaults undisturbed;
    upload();
  };
  for (int seed = 3; seed < 6; ++seed) {
    work(seed);
    OnThread([&] {
      QVGGLContext* context = nullptr;
      {
        const WithoutFaults undisturbed;
        context = host.gl->GetSharedContext();
        host.gl->MakeCurrentContext(context, nullptr);
      }
      // It reuses planes and buffers of the first one's work.
      ReadBack(host, canvas.get());
      work(seed + 5);
      const WithoutFaults undisturbed;
      host.gl->ReleaseSharedContext(&context);
    });
  }
}

// ---- Start and end

void FirstFrame(Host& host) {
  QVGGLContext* context = host.gl->GetSharedContext();
  if (!host.Did(context != nullptr)) return;
  if (host.Did(host.gl->MakeCurrentContext(context, nullptr))) {
    const auto texture = Given(host);
    if (texture != nullptr) ReadBack(host, texture.get());
  }
  const WithoutFaults undisturbed;
  host.gl->MakeCurrentContext(nullptr, nullptr);
  host.gl->ReleaseSharedContext(&context);
}

void Start(Host& host) {
  StartLibrary();
  int32_t major = 0, minor = 0;
  host.gl->GetGLVersion(&major, &minor);
  host.Did(host.gl->IsGLVersionSupported() && major >= 4);
  FirstFrame(host);
  const WithoutFaults undisturbed;
  ReleaseLibrary();
}

// Releases the library with everything left over that a host may have forgotten.
void Teardown(Host& host) {
  {
    const WithoutFaults undisturbed;
    QVGGLContext* context = host.gl->GetSharedContext();
    host.gl->MakeCurrentContext(context, nullptr);
    LayOverImage(host);
    DrawWithDepth(host);
    DrawBlended(host);
    Read<QVG_FORMAT_NV12>(host);
    static QVGPixelBuffer never = {};
    host.gl->TextureToRGBAPixelBuffer(Given(host).get(), &never, false);
    for (Step& step : host.steps) step.hit = false;
  }
  ReleaseLibrary();
}

// The same without a current context: another thread did the work.
void TeardownWithoutContext(Host& host) {
  {
    const WithoutFaults undisturbed;
    OnThread([&] { FirstFrame(host); });
  }
  ReleaseLibrary();
}

// ---- Windows

void Window(Host& host) {
  const int failedBefore = Faults().failed;
  std::optional<HostWindow> window;
  auto texture = Hold<QVGTexture>(host, nullptr), premultiplied = Hold<QVGTexture>(host, nullptr);
  {
    const WithoutFaults undisturbed;
    window.emplace(40, 30);
    texture = Given(host);
    const auto effect = Hold(host, host.gl->CreateEffect("general_eff"));
    const QVGParamValue on = {QVG_PARAM_INTEGER, {.integer = 1}};
    host.gl->SetEffectParameter(effect.get(), "enable_key", &on);
    premultiplied = Hold(host, host.gl->ApplyEffect(effect.get(), texture.get()));
  }
  QVGGLContext* previous = host.gl->GetCurrentContext();
  const auto drawer = Hold(host, host.gl->CreateWndDrawer(window->handle()));
  if (host.gl->GetCurrentContext() != previous) host.Blame("a drawer leaves another context current");
  if (!host.Did(drawer != nullptr)) return;
  host.gl->SetWndDrawerSize(drawer.get(), 40, 30);
  if (host.Did(host.gl->MakeCurrentContext(host.gl->GetWndDrawerHandle(drawer.get()), nullptr))) {
    constexpr double kRed[3] = {0.9, 0.1, 0.2};
    host.gl->ClearWnd(drawer.get(), kRed, nullptr, nullptr);
    for (const auto* shown : {&texture, &premultiplied}) {
      const Part part(host, 1);
      const bool done = host.gl->DrawTextureToWnd(drawer.get(), shown->get());
      // What the window itself refuses is not shown, and not reported.
      const bool refused = Faults().failed > failedBefore && Faults().platformFailed;
      if (!done || !refused) host.Showed(done, *window);
    }
  }
  const WithoutFaults undisturbed;
  host.gl->MakeCurrentContext(previous, nullptr);
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
  static const std::vector<Scenario> all = {
      {"UploadNV12", &Upload<QVG_FORMAT_NV12>},
      {"UploadPlanar", &Upload<QVG_FORMAT_I420>},
      {"UploadPlanarPadded", &Upload<QVG_FORMAT_J422, kPadded>},
      {"Upload16Bit", &Upload<QVG_FORMAT_YUV16_SP>},
      {"UploadPacked", &Upload<QVG_FORMAT_ARGB>},
      {"UploadPackedPadded", &Upload<QVG_FORMAT_BGRA, kPadded>},
      {"UploadThreeBytes", &Upload<QVG_FORMAT_BGR, kPadded>},
      {"UploadMatted", &Upload<QVG_FORMAT_BGRA, kPadded, true>},
      {"UploadNV12IntoTexture", &UploadInto<QVG_FORMAT_NV12>},
      {"UploadPackedIntoTexture", &UploadInto<QVG_FORMAT_ABGR>},
      {"ReadNV12", &Read<QVG_FORMAT_NV12>},
      {"ReadNV12Mirrored", &Read<QVG_FORMAT_NV12, true>},
      {"ReadPlanar", &Read<QVG_FORMAT_I420>},
      {"ReadPlanarOdd", &Read<QVG_FORMAT_I420, false, kOddWidth, kOddHeight>},
      {"ReadPlanarMirrored", &Read<QVG_FORMAT_I420, true>},
      {"ReadRGBA", &Read<QVG_FORMAT_RGBA>},
      {"ReadRGBAFlipped", &Read<QVG_FORMAT_RGBA, true, kOddWidth, kOddHeight>},
      {"ReadBGRA", &Read<QVG_FORMAT_BGRA>},
      {"ReadReordered", &Read<QVG_FORMAT_BGRA, false, kWidth, kHeight, QVG_FORMAT_ARGB>},
      {"Clone", &Clone<QVG_FORMAT_ABGR>},
      {"CloneUnrenderable", &Clone<QVG_FORMAT_RGBX332>},
      {"ReorderChannels", &ReorderChannels},
      {"DrawPlain", &DrawPlain},
      {"DrawBlended", &DrawBlended},
      {"DrawWithDepth", &DrawWithDepth},
      {"DrawIntoOwnBuffer", &DrawIntoOwnBuffer},
      {"DrawOntoItself", &DrawOntoItself},
      {"EffectKey", &Key},
      {"EffectSmooth", &Smooth},
      {"EffectColor", &Correct},
      {"EffectBackground", &LayOverImage},
      {"AskForEffects", &AskForEffects},
      {"Refuse", &Refuse},
      {"Preallocate", &Preallocate},
      {"TakeContexts", &TakeContexts},
      {"GiveBackElsewhere", &GiveBackElsewhere},
      {"HandOver", &HandOver},
      {"Start", &Start, Scenario::kReleased},
      {"Teardown", &Teardown, Scenario::kStarted},
      {"TeardownWithoutContext", &TeardownWithoutContext, Scenario::kStarted},
      {"Window", &Window, Scenario::kWithContext, true},
  };
  return all;
}

}  // namespace qvg::test
