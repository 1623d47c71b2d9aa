// The exported entry points and the function table. Each slot checks its handles, fetches the renderer context where it
// needs it and forwards; nothing is thrown across this boundary.

#include <algorithm>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>

#include "base/contextState.h"
#include "base/framebuffer.h"
#include "base/limits.h"
#include "base/texture.h"
#include "context/context.h"
#include "context/runtime.h"
#include "frame/draw.h"
#include "frame/pixelFormat.h"
#include "frame/readBack.h"
#include "frame/upload.h"
#include "qvGLRenderer/qvGLRenderer.h"
#include "tool/wndDrawer.h"
#include "utils/log.h"
#include "utils/neverDestroyed.h"

namespace qvg {

namespace {

// The host relies on these layouts.
static_assert(offsetof(QVGConfig, decodeImage) == 2048 && offsetof(QVGConfig, freeImage) == 2056 &&
              sizeof(QVGConfig) == 2064);
static_assert(offsetof(QVGHostImage, pixels) == 0 && offsetof(QVGHostImage, host) == 8 &&
              offsetof(QVGHostImage, width) == 36 && offsetof(QVGHostImage, height) == 40);
static_assert(offsetof(QVGPixelBuffer, plane) == 0 && offsetof(QVGPixelBuffer, stride) == 24 &&
              offsetof(QVGPixelBuffer, width) == 36 && offsetof(QVGPixelBuffer, height) == 40 &&
              offsetof(QVGPixelBuffer, reserved) == 44 && offsetof(QVGPixelBuffer, kind) == 48 &&
              offsetof(QVGPixelBuffer, format) == 52 && sizeof(QVGPixelBuffer) == 56);
static_assert(offsetof(QVGColor, r) == 0 && offsetof(QVGColor, a) == 24 && sizeof(QVGColor) == 32);
static_assert(offsetof(QVGDrawTextureParams, matteTexture) == 0 && offsetof(QVGDrawTextureParams, blendType) == 8 &&
              offsetof(QVGDrawTextureParams, matteType) == 12 && offsetof(QVGDrawTextureParams, simpleMatte) == 16 &&
              offsetof(QVGDrawTextureParams, depthTest) == 17 && offsetof(QVGDrawTextureParams, useSizeFactor) == 18 &&
              offsetof(QVGDrawTextureParams, opacity) == 24 && offsetof(QVGDrawTextureParams, anchor) == 32 &&
              offsetof(QVGDrawTextureParams, translation) == 56 && offsetof(QVGDrawTextureParams, scale) == 80 &&
              offsetof(QVGDrawTextureParams, rotation) == 104 &&
              offsetof(QVGDrawTextureParams, simpleMatteSize) == 128 &&
              offsetof(QVGDrawTextureParams, sizeFactor) == 144 && sizeof(QVGDrawTextureParams) == 160);
static_assert(offsetof(QVGFrameBufferDesc, width) == 0 && offsetof(QVGFrameBufferDesc, height) == 4 &&
              offsetof(QVGFrameBufferDesc, stored) == 8 && offsetof(QVGFrameBufferDesc, depthStencil) == 12 &&
              offsetof(QVGFrameBufferDesc, colorRenderBuffer) == 13 && offsetof(QVGFrameBufferDesc, camera) == 16 &&
              sizeof(QVGFrameBufferDesc) == 96);
static_assert(offsetof(QVGCamera, projection) == 0 && offsetof(QVGCamera, left) == 4 &&
              offsetof(QVGCamera, fovy) == 28 && offsetof(QVGCamera, aspect) == 32 && offsetof(QVGCamera, eye) == 44 &&
              offsetof(QVGCamera, centre) == 56 && offsetof(QVGCamera, up) == 68 && sizeof(QVGCamera) == 80);
static_assert(offsetof(QVGParamValue, type) == 0 && offsetof(QVGParamValue, value) == 8 && sizeof(QVGParamValue) == 32);
static_assert(offsetof(QVGParamDescriptor, name) == 0 && offsetof(QVGParamDescriptor, label) == 128 &&
              offsetof(QVGParamDescriptor, controlKind) == 512 && offsetof(QVGParamDescriptor, valueType) == 516 &&
              offsetof(QVGParamDescriptor, valueType2) == 520 && offsetof(QVGParamDescriptor, defaultValue) == 528 &&
              offsetof(QVGParamDescriptor, minimum) == 560 && offsetof(QVGParamDescriptor, maximum) == 592 &&
              offsetof(QVGParamDescriptor, step) == 624 && sizeof(QVGParamDescriptor) == 656);
static_assert(sizeof(QVGGLRendererInterface) == 64 * sizeof(void (*)()) && sizeof(bool) == 1);

void LogException(const char* what) noexcept {
  try {
    LogLocated(kLogError, what);
  } catch (...) {  // Without memory for a line there is nothing left to say.
  }
}

/// Runs a slot's work; what the runtime throws becomes the slot's failure value.
template <class Result, class Work>
Result Guard(Result failure, Work&& work) noexcept {
  try {
    return work();
  } catch (const std::exception& error) {
    LogException(error.what());
  } catch (...) {
    LogException("unknown exception");
  }
  return failure;
}

/// The same with what runs, for slots that need its pools: the failure value when it can't render.
template <class Result, class Work>
Result WithRuntime(Result failure, Work&& work) noexcept {
  return Guard(failure, [&] {
    Runtime* const runtime = QVGContext::GetInstance().Rendering();
    return runtime != nullptr ? work(*runtime) : failure;
  });
}

/// Held while a slot issues GL commands; a lock only for drivers that need it.
class DriverTurn {
 public:
  DriverTurn() {
    static NeverDestroyed<std::mutex> mutex;
    if (Limits::NeedsTurns()) lock_ = std::unique_lock(mutex.Get());
  }

 private:
  std::unique_lock<std::mutex> lock_;
};

/// The same for slots that make or recycle GL objects: with a context of the library current.
template <class Result, class Work>
Result OnContext(Result failure, Work&& work) noexcept {
  return WithRuntime(failure, [&](Runtime& runtime) {
    ContextState* const current = CurrentContext();
    if (current == nullptr) return failure;
    const DriverTurn turn;
    current->worked = true;
    return work(runtime);
  });
}

/// The same for slots that need the context manager.
template <class Result, class Work>
Result WithContexts(Result failure, Work&& work) noexcept {
  return Guard(failure, [&] {
    Runtime* const runtime = QVGContext::GetInstance().Running();
    return runtime != nullptr ? work(runtime->contexts) : failure;
  });
}

Texture* From(QVGTexture* texture) { return reinterpret_cast<Texture*>(texture); }
const Texture* From(const QVGTexture* texture) { return reinterpret_cast<const Texture*>(texture); }
QVGTexture* To(Texture* texture) { return reinterpret_cast<QVGTexture*>(texture); }
FrameBuffer* From(QVGFrameBuffer* frameBuffer) { return reinterpret_cast<FrameBuffer*>(frameBuffer); }
QVGFrameBuffer* To(FrameBuffer* frameBuffer) { return reinterpret_cast<QVGFrameBuffer*>(frameBuffer); }
WndDrawer* From(QVGWndDrawer* drawer) { return reinterpret_cast<WndDrawer*>(drawer); }
Effect* From(QVGEffect* effect) { return reinterpret_cast<Effect*>(effect); }
QVGGLContext* ToContext(void* context) { return static_cast<QVGGLContext*>(context); }

namespace slots {

// ---- Pools

void SetTexturePoolCapacity(int32_t count) noexcept {
  WithRuntime(false, [&](Runtime& runtime) {
    runtime.textures.SetHostBudget(count);
    return true;
  });
}

void Reserved() noexcept {}

void PreallocateTextures(uint32_t width, uint32_t height, int32_t count) noexcept {
  OnContext(false, [&](Runtime& runtime) {
    runtime.textures.Preallocate(width, height, count);
    return true;
  });
}

bool ClearTexturePool() noexcept {
  return OnContext(false, [](Runtime& runtime) { return runtime.textures.Clear(); });
}

void PreallocateRenderBuffers(uint32_t width, uint32_t height, int32_t count) noexcept {
  OnContext(false, [&](Runtime& runtime) {
    runtime.renderBuffers.Preallocate(static_cast<int>(width), static_cast<int>(height), count);
    return true;
  });
}

bool ClearRenderBufferPool() noexcept {
  return OnContext(false, [](Runtime& runtime) { return runtime.renderBuffers.Clear(); });
}

void PreallocatePixelBuffers(uint32_t size, int32_t count, bool forRead) noexcept {
  OnContext(false, [&](Runtime& runtime) {
    runtime.pixelBuffers.Preallocate(size, count, forRead);
    return true;
  });
}

bool ClearPixelBufferPool() noexcept {
  return OnContext(false, [](Runtime& runtime) { return runtime.pixelBuffers.Clear(); });
}

// ---- Contexts

QVGGLContext* CreateSharedContext(void* reserved, void* window, bool useHiddenWindow) noexcept {
  return WithContexts<QVGGLContext*>(nullptr, [&](QVGLContextManager& contexts) {
    return ToContext(contexts.CreateSharedContext(reserved, window, useHiddenWindow));
  });
}

QVGGLContext* GetSharedContext() noexcept {
  return WithContexts<QVGGLContext*>(
      nullptr, [](QVGLContextManager& contexts) { return ToContext(contexts.GetSharedContext()); });
}

bool ReleaseSharedContext(QVGGLContext** context) noexcept {
  if (context == nullptr) return false;
  void* handle = *context;
  const bool ok =
      WithContexts(false, [&](QVGLContextManager& contexts) { return contexts.ReleaseSharedContext(handle); });
  *context = nullptr;
  return ok;
}

bool MakeCurrentContext(QVGGLContext* context, QVGGLContext** previous) noexcept {
  void* before = nullptr;
  const bool ok =
      WithContexts(false, [&](QVGLContextManager& contexts) { return contexts.MakeCurrentContext(context, &before); });
  if (previous != nullptr) *previous = ToContext(before);
  return ok;
}

QVGGLContext* GetCurrentContext() noexcept {
  return WithContexts<QVGGLContext*>(
      nullptr, [](QVGLContextManager& contexts) { return ToContext(contexts.GetCurrentContext()); });
}

bool SwapBuffers(QVGGLContext* context) noexcept {
  return WithContexts(false, [&](QVGLContextManager& contexts) { return contexts.SwapBuffers(context); });
}

void DestroySharedContext(QVGGLContext** context) noexcept {
  if (context == nullptr) return;
  void* handle = *context;
  WithContexts(false, [&](QVGLContextManager& contexts) { return contexts.DestroySharedContext(handle); });
  *context = nullptr;
}

// ---- Versions

bool IsGLVersionSupported() noexcept {
  return Guard(false, [] { return QVGContext::GetInstance().IsGLVersionSupported(); });
}

void GetGLVersion(int32_t* major, int32_t* minor) noexcept {
  Guard(false, [&] {
    QVGContext::GetInstance().GetGLVersion(major, minor);
    return true;
  });
}

void GetRequiredGLVersion(int32_t* major, int32_t* minor) noexcept { QVGContext::GetRequiredGLVersion(major, minor); }

// ---- Textures

QVGTexture* CloneTexture(QVGTexture* source) noexcept {
  if (source == nullptr) return nullptr;
  return OnContext<QVGTexture*>(nullptr,
                                [&](Runtime& runtime) { return To(qvg::CloneTexture(runtime.frames, From(source))); });
}

bool SetTextureChannelOrder(QVGTexture* texture, int32_t order) noexcept {
  static constexpr Swizzle kOrders[] = {kSwizzleBGRA, kSwizzleRGBA, kSwizzleABGR, kSwizzleARGB};
  if (texture == nullptr || order < 0 || order >= static_cast<int32_t>(std::size(kOrders))) return false;
  return Guard(false, [&] { return From(texture)->RemapRGBA(kOrders[order]); });
}

QVGTexture* AcquireTexture(uint32_t width, uint32_t height) noexcept {
  return OnContext<QVGTexture*>(
      nullptr, [&](Runtime& runtime) { return To(runtime.textures.Acquire(width, height, GL_RGBA8)); });
}

QVGTexture* UploadPixelBufferToNewTexture(const QVGPixelBuffer* source, bool flipped, bool matteRGB,
                                          QVGColor matte) noexcept {
  return OnContext<QVGTexture*>(nullptr, [&](Runtime& runtime) {
    return To(qvg::UploadPixelBufferToNewTexture(runtime.frames, source, flipped, matteRGB, matte));
  });
}

bool UploadPixelBufferToTexture(QVGTexture* destination, const QVGPixelBuffer* source, bool flipped, bool matteRGB,
                                QVGColor matte) noexcept {
  return OnContext(false, [&](Runtime& runtime) {
    return qvg::UploadPixelBufferToTexture(runtime.frames, From(destination), source, flipped, matteRGB, matte);
  });
}

bool ClearTexture(QVGTexture* texture, const double rgba[4]) noexcept {
  return OnContext(false, [&](Runtime& runtime) { return qvg::ClearTexture(runtime.frames, From(texture), rgba); });
}

uint32_t GetTextureWidth(const QVGTexture* texture) noexcept {
  return texture == nullptr ? 0 : static_cast<uint32_t>(From(texture)->Content().width);
}

uint32_t GetTextureHeight(const QVGTexture* texture) noexcept {
  return texture == nullptr ? 0 : static_cast<uint32_t>(From(texture)->Content().height);
}

uint32_t GetTextureAllocatedWidth(const QVGTexture* texture) noexcept {
  return texture == nullptr ? 0 : static_cast<uint32_t>(From(texture)->Setting().width);
}

uint32_t GetTextureAllocatedHeight(const QVGTexture* texture) noexcept {
  return texture == nullptr ? 0 : static_cast<uint32_t>(From(texture)->Setting().height);
}

uint32_t GetTextureRotation(const QVGTexture* texture) noexcept {
  return texture == nullptr ? 0 : From(texture)->presentation.rotation;
}

bool GetTextureFlipped(const QVGTexture* texture) noexcept {
  return texture != nullptr && From(texture)->presentation.flipped;
}

uint32_t GetTextureId(const QVGTexture* texture) noexcept { return texture == nullptr ? 0 : From(texture)->Id(); }

bool SetTextureSize(QVGTexture* texture, uint32_t width, uint32_t height) noexcept {
  if (texture == nullptr) return false;
  From(texture)->SetContentSize(static_cast<int>(width), static_cast<int>(height));
  return true;
}

bool SetTextureOrigin(QVGTexture* texture, uint32_t x, uint32_t y) noexcept {
  if (texture == nullptr) return false;
  From(texture)->SetContentOrigin(static_cast<int>(x), static_cast<int>(y));
  return true;
}

bool SetTextureFlipped(QVGTexture* texture, bool flipped) noexcept {
  if (texture == nullptr) return false;
  From(texture)->presentation.flipped = flipped;
  return true;
}

bool SetTextureRotation(QVGTexture* texture, uint32_t quarterTurns) noexcept {
  if (texture == nullptr) return false;
  From(texture)->presentation.rotation = quarterTurns;
  return true;
}

// ---- Read-back

bool TextureToYUV420PixelBuffer(QVGTexture* source, bool fullRange, bool mirror, QVGPixelBuffer* out) noexcept {
  return OnContext(false, [&](Runtime& runtime) {
    return qvg::TextureToYUV420PixelBuffer(runtime.frames, From(source), fullRange, mirror, out);
  });
}

bool TextureToNV12PixelBuffer(QVGTexture* source, QVGPixelBuffer* out, bool mirror) noexcept {
  return OnContext(false, [&](Runtime& runtime) {
    return qvg::TextureToNV12PixelBuffer(runtime.frames, From(source), out, mirror);
  });
}

bool TextureToRGBAPixelBuffer(QVGTexture* source, QVGPixelBuffer* out, bool flip) noexcept {
  return OnContext(
      false, [&](Runtime& runtime) { return qvg::TextureToRGBAPixelBuffer(runtime.frames, From(source), out, flip); });
}

bool TextureToBGRAPixelBuffer(QVGTexture* source, QVGPixelBuffer* out, bool flip) noexcept {
  return OnContext(
      false, [&](Runtime& runtime) { return qvg::TextureToBGRAPixelBuffer(runtime.frames, From(source), out, flip); });
}

void ReleasePixelBuffer(QVGPixelBuffer** buffer) noexcept {
  WithRuntime(false, [&](Runtime& runtime) {
    const DriverTurn turn;
    qvg::ReleasePixelBuffer(runtime.frames, buffer);
    return true;
  });
  if (buffer != nullptr) *buffer = nullptr;
}

void ReleaseTexture(QVGTexture** texture) noexcept {
  if (texture == nullptr || *texture == nullptr) return;
  WithRuntime(false, [&](Runtime& runtime) {
    Texture* released = From(*texture);
    runtime.textures.Release(released);
    *texture = nullptr;
    return true;
  });
}

// ---- Frame buffers and drawing

QVGFrameBuffer* CreateFrameBuffer(uint32_t width, uint32_t height, bool ownColor, bool stored) noexcept {
  constexpr int32_t kStoredFlag = 4;
  return OnContext<QVGFrameBuffer*>(nullptr, [&](Runtime& runtime) {
    FrameBufferSetting setting;
    setting.width = static_cast<int>(width);
    setting.height = static_cast<int>(height);
    setting.stored = stored ? kStoredFlag : 0;
    setting.colorRenderBuffer = ownColor;
    return To(qvg::CreateFrameBuffer(runtime.frames, setting, Camera::ForCanvas(setting.width, setting.height)));
  });
}

QVGFrameBuffer* CreateFrameBufferFromDesc(const QVGFrameBufferDesc* desc) noexcept {
  if (desc == nullptr) return nullptr;
  return OnContext<QVGFrameBuffer*>(nullptr, [&](Runtime& runtime) {
    const FrameBufferSetting setting = {desc->width, desc->height, desc->stored, desc->depthStencil,
                                        desc->colorRenderBuffer};
    const QVGCamera& from = desc->camera;
    const auto vec3 = [](const float(&v)[3]) { return glm::vec3(v[0], v[1], v[2]); };
    Camera camera;
    camera.projection = from.projection;
    camera.left = from.left;
    camera.right = from.right;
    camera.top = from.top;
    camera.bottom = from.bottom;
    camera.orthoNear = from.orthoNear;
    camera.orthoFar = from.orthoFar;
    camera.fovy = from.fovy;
    camera.aspect = from.aspect;
    camera.perspectiveNear = from.perspectiveNear;
    camera.perspectiveFar = from.perspectiveFar;
    camera.eye = vec3(from.eye);
    camera.centre = vec3(from.centre);
    camera.up = vec3(from.up);
    return To(qvg::CreateFrameBuffer(runtime.frames, setting, camera));
  });
}

bool BindTextureToFrameBuffer(QVGFrameBuffer* frameBuffer, QVGTexture* texture) noexcept {
  return OnContext(false, [&](Runtime& runtime) {
    return qvg::BindTextureToFrameBuffer(runtime.frames, From(frameBuffer), From(texture));
  });
}

bool ClearFrameBuffer(QVGFrameBuffer* frameBuffer, const double rgba[4]) noexcept {
  return OnContext(false,
                   [&](Runtime& runtime) { return qvg::ClearFrameBuffer(runtime.frames, From(frameBuffer), rgba); });
}

bool DrawTexture(QVGTexture* source, QVGFrameBuffer* destination, const QVGDrawTextureParams* params) noexcept {
  return OnContext(false, [&](Runtime& runtime) {
    return qvg::DrawTexture(runtime.frames, From(source), From(destination), params);
  });
}

bool DestroyFrameBuffer(QVGFrameBuffer** frameBuffer) noexcept {
  if (frameBuffer == nullptr || *frameBuffer == nullptr) return false;
  return Guard(false, [&] {
    delete From(*frameBuffer);
    *frameBuffer = nullptr;
    return true;
  });
}

void Finish() noexcept {
  OnContext(false, [](Runtime&) {
    glFinish();
    ++CurrentContext()->finished;
    FlushContextObjects();
    return true;
  });
}

// ---- Windows

QVGWndDrawer* CreateWndDrawer(void* window) noexcept {
  return WithRuntime<QVGWndDrawer*>(nullptr, [&](Runtime& runtime) {
    auto drawer = std::make_unique<WndDrawer>(runtime.contexts);
    return drawer->Init(window) ? reinterpret_cast<QVGWndDrawer*>(drawer.release()) : nullptr;
  });
}

QVGGLContext* GetWndDrawerHandle(QVGWndDrawer* drawer) noexcept {
  return drawer == nullptr ? nullptr : ToContext(From(drawer)->Context());
}

bool ClearWnd(QVGWndDrawer* drawer, const double rgb[3], void* /*reserved1*/, void* /*reserved2*/) noexcept {
  if (drawer == nullptr || rgb == nullptr) return false;
  return Guard(false, [&] {
    From(drawer)->Clear(ColorComponent(rgb[0]), ColorComponent(rgb[1]), ColorComponent(rgb[2]));
    return true;
  });
}

bool SetWndDrawerSize(QVGWndDrawer* drawer, uint32_t width, uint32_t height) noexcept {
  if (drawer == nullptr) return false;
  const auto pixels = [](uint32_t size) { return static_cast<int>(std::min(size, uint32_t{INT32_MAX})); };
  From(drawer)->SetSize(pixels(width), pixels(height));
  return true;
}

bool DrawTextureToWnd(QVGWndDrawer* drawer, QVGTexture* texture) noexcept {
  if (drawer == nullptr || texture == nullptr) return false;
  return Guard(false, [&] { return From(drawer)->Draw(From(texture)); });
}

bool DestroyWndDrawer(QVGWndDrawer** drawer) noexcept {
  if (drawer == nullptr) return true;
  Guard(false, [&] {
    delete From(*drawer);
    return true;
  });
  *drawer = nullptr;
  return true;
}

// ---- Effects

bool IsEmpty(const char* text) { return text == nullptr || *text == '\0'; }

/// Runs work with the effect group of the name; the failure value without a name or when it is unknown.
template <class Result, class Work>
Result WithGroup(const char* name, Result failure, Work&& work) noexcept {
  if (IsEmpty(name)) return failure;
  return WithRuntime(failure, [&](Runtime& runtime) {
    const EffectGroup* group = runtime.effects.Find(name);
    return group != nullptr ? work(*group) : failure;
  });
}

bool GetEffectNames(int32_t type, const char** names, int32_t capacity, int32_t* count) noexcept {
  if (count == nullptr) return false;
  return WithRuntime(false, [&](Runtime& runtime) {
    const auto& groups = runtime.effects.Groups();
    *count = static_cast<int32_t>(
        std::count_if(groups.begin(), groups.end(), [&](const EffectGroup* group) { return group->type == type; }));
    if (*count > capacity || names == nullptr) return false;
    // Every name, whatever its type: the host's array is large enough for all.
    for (const EffectGroup* group : groups) *names++ = group->name;
    return true;
  });
}

bool HasEffect(const char* name) noexcept {
  return WithGroup(name, false, [](const EffectGroup&) { return true; });
}

uint32_t GetEffectType(const char* name) noexcept {
  return WithGroup(name, uint32_t{0}, [](const EffectGroup& group) { return static_cast<uint32_t>(group.type); });
}

const char* QueryEffect(const char* name, const char* key) noexcept {
  return WithGroup<const char*>(name, nullptr, [&](const EffectGroup& group) {
    return group.displayName != nullptr ? group.displayName(key != nullptr ? key : "") : nullptr;
  });
}

bool GetEffectParameterTable(const char* name, const QVGParamDescriptor** table, uint32_t* count) noexcept {
  if (count == nullptr) return false;
  return WithGroup(name, false, [&](const EffectGroup& group) {
    if (table != nullptr) *table = group.parameters;
    *count = group.parameterCount;
    return true;
  });
}

QVGEffect* CreateEffect(const char* name) noexcept {
  if (IsEmpty(name)) return nullptr;
  return OnContext<QVGEffect*>(
      nullptr, [&](Runtime& runtime) { return reinterpret_cast<QVGEffect*>(runtime.effects.CreateEffect(name)); });
}

bool SetEffectParameter(QVGEffect* effect, const char* key, const QVGParamValue* value) noexcept {
  if (effect == nullptr || IsEmpty(key) || value == nullptr) return false;
  return WithRuntime(false, [&](Runtime& runtime) {
    const DriverTurn turn;
    return runtime.effects.SetEffectParameter(From(effect), key, value);
  });
}

QVGTexture* ApplyEffect(QVGEffect* effect, QVGTexture* input) noexcept {
  if (effect == nullptr || input == nullptr) return input;
  return OnContext<QVGTexture*>(
      nullptr, [&](Runtime& runtime) { return To(runtime.effects.ApplyEffect(From(effect), From(input))); });
}

QVGTexture* ApplyEffectWith(QVGEffect* effect, QVGTexture* first, QVGTexture* second, float value) noexcept {
  if (effect == nullptr) return first;
  return OnContext<QVGTexture*>(nullptr, [&](Runtime& runtime) {
    return To(runtime.effects.ApplyEffectWith(From(effect), From(first), From(second), value));
  });
}

bool DestroyEffect(QVGEffect** effect) noexcept {
  if (effect == nullptr || *effect == nullptr) return true;
  return WithRuntime(false, [&](Runtime& runtime) {
    Effect* handle = From(*effect);
    if (!runtime.effects.DestroyEffect(handle)) return false;
    *effect = nullptr;
    return true;
  });
}

}  // namespace slots

constexpr QVGGLRendererInterface kTable = {
    .SetTexturePoolCapacity = slots::SetTexturePoolCapacity,
    .Reserved = slots::Reserved,
    .PreallocateTextures = slots::PreallocateTextures,
    .ClearTexturePool = slots::ClearTexturePool,
    .PreallocateRenderBuffers = slots::PreallocateRenderBuffers,
    .ClearRenderBufferPool = slots::ClearRenderBufferPool,
    .PreallocatePixelBuffers = slots::PreallocatePixelBuffers,
    .ClearPixelBufferPool = slots::ClearPixelBufferPool,
    .CreateSharedContext = slots::CreateSharedContext,
    .GetSharedContext = slots::GetSharedContext,
    .ReleaseSharedContext = slots::ReleaseSharedContext,
    .MakeCurrentContext = slots::MakeCurrentContext,
    .GetCurrentContext = slots::GetCurrentContext,
    .SwapBuffers = slots::SwapBuffers,
    .DestroySharedContext = slots::DestroySharedContext,
    .IsGLVersionSupported = slots::IsGLVersionSupported,
    .GetGLVersion = slots::GetGLVersion,
    .GetRequiredGLVersion = slots::GetRequiredGLVersion,
    .CloneTexture = slots::CloneTexture,
    .SetTextureChannelOrder = slots::SetTextureChannelOrder,
    .AcquireTexture = slots::AcquireTexture,
    .UploadPixelBufferToNewTexture = slots::UploadPixelBufferToNewTexture,
    .UploadPixelBufferToTexture = slots::UploadPixelBufferToTexture,
    .ClearTexture = slots::ClearTexture,
    .GetTextureWidth = slots::GetTextureWidth,
    .GetTextureHeight = slots::GetTextureHeight,
    .GetTextureAllocatedWidth = slots::GetTextureAllocatedWidth,
    .GetTextureAllocatedHeight = slots::GetTextureAllocatedHeight,
    .GetTextureRotation = slots::GetTextureRotation,
    .GetTextureFlipped = slots::GetTextureFlipped,
    .GetTextureId = slots::GetTextureId,
    .SetTextureSize = slots::SetTextureSize,
    .SetTextureOrigin = slots::SetTextureOrigin,
    .SetTextureFlipped = slots::SetTextureFlipped,
    .SetTextureRotation = slots::SetTextureRotation,
    .TextureToYUV420PixelBuffer = slots::TextureToYUV420PixelBuffer,
    .TextureToNV12PixelBuffer = slots::TextureToNV12PixelBuffer,
    .TextureToRGBAPixelBuffer = slots::TextureToRGBAPixelBuffer,
    .TextureToBGRAPixelBuffer = slots::TextureToBGRAPixelBuffer,
    .ReleasePixelBuffer = slots::ReleasePixelBuffer,
    .ReleaseTexture = slots::ReleaseTexture,
    .CreateFrameBuffer = slots::CreateFrameBuffer,
    .CreateFrameBufferFromDesc = slots::CreateFrameBufferFromDesc,
    .BindTextureToFrameBuffer = slots::BindTextureToFrameBuffer,
    .ClearFrameBuffer = slots::ClearFrameBuffer,
    .DrawTexture = slots::DrawTexture,
    .DestroyFrameBuffer = slots::DestroyFrameBuffer,
    .Finish = slots::Finish,
    .CreateWndDrawer = slots::CreateWndDrawer,
    .GetWndDrawerHandle = slots::GetWndDrawerHandle,
    .ClearWnd = slots::ClearWnd,
    .SetWndDrawerSize = slots::SetWndDrawerSize,
    .DrawTextureToWnd = slots::DrawTextureToWnd,
    .DestroyWndDrawer = slots::DestroyWndDrawer,
    .GetEffectNames = slots::GetEffectNames,
    .HasEffect = slots::HasEffect,
    .GetEffectType = slots::GetEffectType,
    .QueryEffect = slots::QueryEffect,
    .GetEffectParameterTable = slots::GetEffectParameterTable,
    .CreateEffect = slots::CreateEffect,
    .SetEffectParameter = slots::SetEffectParameter,
    .ApplyEffect = slots::ApplyEffect,
    .ApplyEffectWith = slots::ApplyEffectWith,
    .DestroyEffect = slots::DestroyEffect,
};

}  // namespace

}  // namespace qvg

const QVGGLRendererInterface* QVG_GetGLRendererInterface(const QVGConfig* config) {
  using namespace qvg;
  Guard(false, [&] {
    // Copied first: the caller's block may go as soon as this returns, and null counts as an empty one.
    const auto copy = config != nullptr ? std::make_unique<QVGConfig>(*config) : std::make_unique<QVGConfig>();
    QVGContext::GetInstance().SetConfig(*copy);
    return true;
  });
  return &kTable;
}

void QVG_ReleaseGLRendererInterface(const QVGGLRendererInterface** table) {
  if (table == nullptr) return;
  *table = nullptr;
  using namespace qvg;
  Guard(false, [] {
    QVGContext::GetInstance().Uninit();
    return true;
  });
}
