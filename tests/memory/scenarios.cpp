#include <array>
#include <thread>

#include "script.h"
#include "support/frames.h"
#include "support/platform.h"
#include "support/reference.h"

namespace qvg::test {
namespace {

constexpr int kWidth = 32, kHeight = 18;

QVGTexture* Upload(Script& s, int code, int seed, const char* name = "upload") {
  const Frame frame = MakeFrame(code, kWidth, kHeight, seed);
  return s.Slot(name, [&] { return s.table->UploadPixelBufferToNewTexture(&frame.buffer, false, false, {}); });
}

void Release(Script& s, QVGTexture*& texture) { s.GiveBack("ReleaseTexture", s.table->ReleaseTexture, texture); }

// Runs on a thread of its own, with a context of its own or with none.
template <class Work>
void OnThread(Script& s, bool withContext, Work work) {
  std::thread([&] {
    const HeapOwner test(HeapOwner::kTest);
    QVGGLContext* own = withContext ? s.Slot("GetSharedContext", [&] { return s.table->GetSharedContext(); }) : nullptr;
    if (own == nullptr ? !withContext
                       : s.Slot("MakeCurrentContext", [&] { return s.table->MakeCurrentContext(own, nullptr); })) {
      work();
    }
    s.GiveBack("ReleaseSharedContext", s.table->ReleaseSharedContext, own);
  }).join();
}

void UploadKinds(Script& s) {
  if (!s.Start()) return;
  for (const int code :
       {QVG_FORMAT_NV12, QVG_FORMAT_YUV16_SP, QVG_FORMAT_I420, QVG_FORMAT_RGBA, QVG_FORMAT_BGR, QVG_FORMAT_RGBX332}) {
    QVGTexture* texture = Upload(s, code, 1);
    s.Show(FormatOf(code).name, texture);
    const Frame next = MakeFrame(code, kWidth, kHeight, 2);
    if (texture != nullptr && s.Slot("upload again", [&] {
          return s.table->UploadPixelBufferToTexture(texture, &next.buffer, false, false, {});
        })) {
      s.Show(std::string(FormatOf(code).name) + " again", texture);
    }
    Release(s, texture);
  }
  const Frame padded = MakeFrame(Layouts(QVG_FORMAT_BGR, kWidth, kHeight)[2], 3);
  const QVGColor matte = {0, 0, 0, 1};
  QVGTexture* texture = s.Slot(
      "padded upload", [&] { return s.table->UploadPixelBufferToNewTexture(&padded.buffer, false, false, matte); });
  s.Show("padded", texture);
  Release(s, texture);
  const Frame screen = MakeFrame(QVG_FORMAT_RGBA, kWidth, kHeight, 3);
  texture = s.Slot("matted upload",
                   [&] { return s.table->UploadPixelBufferToNewTexture(&screen.buffer, true, true, matte); });
  s.Show("matted", texture);
  Release(s, texture);
}

void ReadBacks(Script& s) {
  if (!s.Start()) return;
  QVGTexture* texture = Upload(s, QVG_FORMAT_BGRA, 1);
  const auto read = [&](const char* name, auto call) {
    if (texture == nullptr) return;
    QVGPixelBuffer buffer = {{reinterpret_cast<uint8_t*>(1)}, {}, 0, 0, 0, 0, 0};
    const bool ok = s.Slot(name, [&] { return call(&buffer); });
    s.TakeRead(name, ok, buffer);
  };
  const auto all = [&](const std::string& size) {
    read((size + "NV12").c_str(), [&](auto* out) { return s.table->TextureToNV12PixelBuffer(texture, out, false); });
    read((size + "I420").c_str(),
         [&](auto* out) { return s.table->TextureToYUV420PixelBuffer(texture, true, false, out); });
    read((size + "RGBA").c_str(), [&](auto* out) { return s.table->TextureToRGBAPixelBuffer(texture, out, true); });
    read((size + "BGRA").c_str(), [&](auto* out) { return s.table->TextureToBGRAPixelBuffer(texture, out, false); });
  };
  all("even ");
  if (texture != nullptr) s.table->SetTextureSize(texture, kWidth - 1, kHeight - 1);
  all("odd ");
  Release(s, texture);
}

// As an encoder does, whose thread has no context.
void MappedMemory(Script& s) {
  if (!s.Start()) return;
  QVGTexture* texture = Upload(s, QVG_FORMAT_RGBA, 1);
  std::array<QVGPixelBuffer, 3> buffers = {};
  std::array<bool, 3> filled = {};
  for (size_t i = 0; texture != nullptr && i < buffers.size(); ++i) {
    filled[i] = s.Slot("read", [&] { return s.table->TextureToNV12PixelBuffer(texture, &buffers[i], false); });
  }
  OnThread(s, false, [&] {
    for (size_t i = 0; i < 2; ++i) s.TakeRead("frame " + std::to_string(i), filled[i], buffers[i]);
  });
  s.TakeRead("frame 2", filled[2], buffers[2]);
  Release(s, texture);
}

void Drawing(Script& s) {
  if (!s.Start()) return;
  const double color[4] = {0.2, 0.4, 0.6, 1};
  QVGTexture *picture = Upload(s, QVG_FORMAT_NV12, 1), *matte = Upload(s, QVG_FORMAT_RGBA, 2);
  QVGTexture *target = Upload(s, QVG_FORMAT_RGBA, 3), *clone = nullptr;
  QVGFrameBufferDesc description = {kWidth, kHeight, 0, true, false, DefaultCamera(kWidth, kHeight)};
  QVGFrameBuffer* buffer =
      s.Slot("CreateFrameBufferFromDesc", [&] { return s.table->CreateFrameBufferFromDesc(&description); });
  QVGFrameBuffer* own = s.Slot("CreateFrameBuffer", [&] { return s.table->CreateFrameBuffer(8, 8, true, false); });
  bool ready = picture != nullptr && matte != nullptr && target != nullptr && buffer != nullptr;
  const auto step = [&](const char* name, auto call) {
    ready = ready && s.Slot(name, call);
    if (ready) s.Show(name, target);
  };
  QVGDrawTextureParams params = DefaultParams();
  params.rotation[2] = 20;
  params.depthTest = true;
  step("bind", [&] { return s.table->BindTextureToFrameBuffer(buffer, target); });
  step("clear", [&] { return s.table->ClearFrameBuffer(buffer, color); });
  step("draw", [&] { return s.table->DrawTexture(picture, buffer, &params); });
  params.matteTexture = matte;
  params.matteType = QVG_MATTE_LUMA;
  params.blendType = QVG_BLEND_SCREEN;
  params.opacity = 0.5;
  step("blend", [&] { return s.table->DrawTexture(picture, buffer, &params); });
  step("draw itself", [&] { return s.table->DrawTexture(target, buffer, &params); });
  if (ready) clone = s.Slot("CloneTexture", [&] { return s.table->CloneTexture(target); });
  s.Show("clone", clone);
  step("ClearTexture", [&] { return s.table->ClearTexture(target, color); });
  for (QVGTexture** texture : {&picture, &matte, &clone, &target}) Release(s, *texture);
  s.GiveBack("DestroyFrameBuffer", s.table->DestroyFrameBuffer, own);
  // Elsewhere its name has to wait.
  OnThread(s, false, [&] { s.GiveBack("DestroyFrameBuffer", s.table->DestroyFrameBuffer, buffer); });
}

QVGHostImage* Decode(const char*) {
  const HeapOwner test(HeapOwner::kTest);
  static const Image picture = Picture(20, 20, 4, true);
  static const std::vector<uint8_t> bytes = Bytes(picture, true);
  static QVGHostImage image = {bytes.data(), {}, 20, 20};
  return &image;
}

void Effects(Script& s) {
  static const QVGConfig config = {{}, &Decode, nullptr};
  s.table = s.Slot("start", [] { return QVG_GetGLRendererInterface(&config); });
  if (!s.Start()) return;
  QVGTexture* frame = Upload(s, QVG_FORMAT_NV12, 1);
  QVGEffect* effect = s.Slot("CreateEffect", [&] { return s.table->CreateEffect("general_eff"); });
  const QVGParamValue on = {QVG_PARAM_INTEGER, {.integer = 1}}, much = {QVG_PARAM_INTEGER, {.integer = 60}};
  QVGParamValue color = {QVG_PARAM_COLOR, {}};
  color.value.color[1] = 1;
  QVGParamValue path = {QVG_PARAM_TEXT, {.text = "/a/path/that/is/long/enough/to/be/allocated.png"}};
  const struct {
    const char* key;
    const QVGParamValue& value;
  } parameters[] = {{"enable_key", on}, {"color", color},  {"blur", much},   {"enable_beauty", on},
                    {"bgfile", path},   {"enable_bg", on}, {"bright", much}, {"enable_color", on}};
  bool all = true;
  for (const auto& [key, value] : parameters) {
    if (effect == nullptr) break;
    const int failed = FailedAllocations();
    s.Slot(key, [&] { return s.table->SetEffectParameter(effect, key, &value); });
    all = all && FailedAllocations() == failed;
  }
  QVGTexture* shown = nullptr;
  if (effect != nullptr && frame != nullptr && all) {
    shown = s.Slot("ApplyEffect", [&] { return s.table->ApplyEffect(effect, frame); });
  }
  s.Show("effect", shown);
  path.value.text = "/another/path/that/is/long/enough/to/be/allocated.png";
  if (effect != nullptr) s.Slot("bgfile", [&] { return s.table->SetEffectParameter(effect, "bgfile", &path); });
  for (QVGTexture** texture : {&shown, &frame}) Release(s, *texture);
  s.GiveBack("DestroyEffect", s.table->DestroyEffect, effect);
  const char* names[4] = {};
  int32_t count = 0;
  s.Slot("GetEffectNames", [&] { return s.table->GetEffectNames(1, names, 4, &count); });
  s.Slot("QueryEffect", [&] { return s.table->QueryEffect("general_eff", "en"); });
}

void Pools(Script& s) {
  if (!s.Start()) return;
  s.Slot("PreallocateTextures", [&] { return s.table->PreallocateTextures(kWidth, kHeight, 5), true; });
  s.Slot("PreallocateRenderBuffers", [&] { return s.table->PreallocateRenderBuffers(kWidth, kHeight, 5), true; });
  s.Slot("PreallocatePixelBuffers", [&] { return s.table->PreallocatePixelBuffers(4096, 5, true), true; });
  const double color[4] = {0.2, 0.4, 0.6, 1};
  std::array<QVGTexture*, 9> textures = {};
  for (QVGTexture*& texture : textures) {
    texture = s.Slot("AcquireTexture", [&] { return s.table->AcquireTexture(kWidth, kHeight); });
    if (texture == nullptr) continue;
    if (s.Slot("ClearTexture", [&] { return s.table->ClearTexture(texture, color); })) s.Show("cleared", texture);
  }
  for (QVGTexture*& texture : textures) Release(s, texture);
  s.Slot("ClearTexturePool", [&] { return s.table->ClearTexturePool(); });
  s.Slot("ClearRenderBufferPool", [&] { return s.table->ClearRenderBufferPool(); });
  s.Slot("ClearPixelBufferPool", [&] { return s.table->ClearPixelBufferPool(); });
}

void ContextLife(Script& s) {
  if (!s.Start()) return;
  for (int round = 0; round < 2; ++round) {
    QVGGLContext* created = s.Slot("Create", [&] { return s.table->CreateSharedContext(nullptr, nullptr, true); });
    QVGGLContext* shared = s.Slot("Get", [&] { return s.table->GetSharedContext(); });
    QVGTexture* texture = nullptr;
    if (created != nullptr && s.Slot("Make", [&] { return s.table->MakeCurrentContext(created, nullptr); })) {
      texture = Upload(s, QVG_FORMAT_NV12, 1);
      s.Show("on its own", texture);
    }
    s.GiveBack("Destroy", s.table->DestroySharedContext, created);
    // What came back without a context waits for one.
    Release(s, texture);
    s.GiveBack("Release", s.table->ReleaseSharedContext, shared);
    if (!s.Slot("Make", [&] { return s.table->MakeCurrentContext(s.context, nullptr); })) return;
  }
  QVGTexture* texture = Upload(s, QVG_FORMAT_NV12, 1);
  s.Show("afterwards", texture);
  Release(s, texture);
}

void TwoThreads(Script& s) {
  if (!s.Start()) return;
  std::array<std::thread, 2> threads;
  for (std::thread& thread : threads) {
    thread = std::thread([&s] {
      for (int round = 0; round < 3; ++round) {
        QVGGLContext* context = s.table->GetSharedContext();
        if (context != nullptr && s.table->MakeCurrentContext(context, nullptr)) {
          QVGTexture* texture = s.table->AcquireTexture(kWidth, kHeight);
          const double color[4] = {1, 0, 0, 1};
          if (texture != nullptr) s.table->ClearTexture(texture, color);
          s.table->ReleaseTexture(&texture);
        }
        round % 2 == 0 ? s.table->DestroySharedContext(&context) : void(s.table->ReleaseSharedContext(&context));
        if (context != nullptr) std::abort();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// A texture goes from one context to another and comes back without one.
void HandOvers(Script& s) {
  if (!s.Start()) return;
  QVGTexture* texture = Upload(s, QVG_FORMAT_NV12, 1);
  s.Slot("Finish", [&] { return s.table->Finish(), true; });
  QVGTexture* clone = nullptr;
  OnThread(s, true, [&] {
    if (texture != nullptr) clone = s.Slot("CloneTexture", [&] { return s.table->CloneTexture(texture); });
    s.Show("clone", clone);
    Release(s, texture);
  });
  Release(s, texture);
  OnThread(s, false, [&] { Release(s, clone); });
  texture = Upload(s, QVG_FORMAT_NV12, 2);
  s.Show("next", texture);
  Release(s, texture);
}

// What is refused says so, where there is memory for a line.
void Refusals(Script& s) {
  if (!s.Start()) return;
  const Frame frame = MakeFrame(QVG_FORMAT_NV12, kWidth, kHeight, 1);
  QVGPixelBuffer bad = frame.buffer;
  bad.stride[1] = 1;
  QVGPixelBuffer out = {};
  QVGTexture* texture = Upload(s, QVG_FORMAT_NV12, 1);
  const bool refused[] = {
      s.Slot("bad stride", [&] { return s.table->UploadPixelBufferToNewTexture(&bad, false, false, {}) == nullptr; }),
      s.Slot("size 0", [&] { return s.table->AcquireTexture(0, 1) == nullptr; }),
      s.Slot("null target", [&] { return !s.table->DrawTexture(texture, nullptr, nullptr); }),
      s.Slot("null texture", [&] { return !s.table->TextureToNV12PixelBuffer(nullptr, &out, false); }),
      s.Slot("unknown effect", [&] { return s.table->CreateEffect("no such effect") == nullptr; }),
  };
  for (const bool each : refused) {
    if (!each) s.Fault("something bad was taken");
  }
  OnThread(s, false, [&] { s.Slot("no context", [&] { return s.table->AcquireTexture(8, 8) == nullptr; }); });
  s.Show("after refusals", texture);
  Release(s, texture);
}

void ColdFrame(Script& s) {
  if (!s.Start()) return;
  QVGTexture* texture = Upload(s, QVG_FORMAT_NV12, 1);
  s.Show("frame", texture);
  Release(s, texture);
}

// With everything still held.
void Teardown(Script& s) {
  {
    const HeapPause pause;
    if (!s.Start()) return;
    QVGTexture* texture = Upload(s, QVG_FORMAT_NV12, 1);
    QVGPixelBuffer buffer = {};
    s.table->TextureToNV12PixelBuffer(texture, &buffer, false);
    QVGEffect* effect = s.table->CreateEffect("general_eff");
    const QVGParamValue on = {QVG_PARAM_INTEGER, {.integer = 1}};
    s.table->SetEffectParameter(effect, "enable_key", &on);
    QVGTexture* shown = s.table->ApplyEffect(effect, texture);
    s.Show("frame", shown);
    // Textures that are out are the host's to give back: the rest is what a release has to find.
    s.table->ReleaseTexture(&shown);
    s.table->ReleaseTexture(&texture);
    s.table->PreallocateRenderBuffers(kWidth, kHeight, 2);
  }
  s.context = nullptr;
  s.Slot("release", [&] { return QVG_ReleaseGLRendererInterface(&s.table), true; });
  if (s.table != nullptr) s.Fault("the table's handle is left");
}

void Window(Script& s) {
  if (!s.Start()) return;
  HostWindow window(64, 48);
  QVGTexture* texture = Upload(s, QVG_FORMAT_NV12, 1);
  if (texture != nullptr) s.table->SetTextureSize(texture, kWidth - 2, kHeight - 2);
  s.Slot("Finish", [&] { return s.table->Finish(), true; });
  QVGWndDrawer* drawer = s.Slot("CreateWndDrawer", [&] { return s.table->CreateWndDrawer(window.handle()); });
  if (drawer != nullptr) {
    s.table->SetWndDrawerSize(drawer, 64, 48);
    QVGGLContext* own = s.table->GetWndDrawerHandle(drawer);
    const double color[3] = {1, 0, 0};
    if (s.Slot("Make", [&] { return s.table->MakeCurrentContext(own, nullptr); })) {
      s.Slot("ClearWnd", [&] { return s.table->ClearWnd(drawer, color, nullptr, nullptr); });
      if (texture != nullptr) s.Slot("Draw", [&] { return s.table->DrawTextureToWnd(drawer, texture); });
      s.Slot("Make", [&] { return s.table->MakeCurrentContext(nullptr, nullptr); });
    }
  }
  s.GiveBack("DestroyWndDrawer", s.table->DestroyWndDrawer, drawer);
  Release(s, texture);
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
  static const std::vector<Scenario> scenarios = {
      {"Start", Scenario::kStarts, &ColdFrame},
      {"Teardown", Scenario::kEnds, &Teardown},
      {"Uploads", Scenario::kRuns, &UploadKinds},
      {"ReadBacks", Scenario::kRuns, &ReadBacks},
      {"MappedMemory", Scenario::kRuns, &MappedMemory},
      {"Drawing", Scenario::kRuns, &Drawing},
      {"Effects", Scenario::kRuns, &Effects},
      {"Pools", Scenario::kRuns, &Pools},
      {"Contexts", Scenario::kRuns, &ContextLife},
      {"TwoThreads", Scenario::kRuns, &TwoThreads},
      {"HandOvers", Scenario::kRuns, &HandOvers},
      {"Refusals", Scenario::kRuns, &Refusals},
      {"Window", Scenario::kShows, &Window},
  };
  return scenarios;
}

}  // namespace qvg::test
