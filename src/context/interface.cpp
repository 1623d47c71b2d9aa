// The exported entry points and the function table. Each slot checks its handles, fetches the renderer context where it
// needs it and forwards; nothing is thrown across this boundary.

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

#include "base/contextState.h"
#include "base/debugLabels.h"
#include "base/driverTurn.h"
#include "base/framebuffer.h"
#include "base/glError.h"
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
#include "utils/format.h"
#include "utils/log.h"
#include "utils/slotCall.h"

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
    LogShort(kLogError, Format("{}: {}", SlotCall::Name(), what));
  } catch (...) {  // Without memory for a line there is nothing left to say.
  }
}

/// Runs a slot's work; what the runtime throws becomes the slot's failure value.
/// @param slot its name, of static lifetime.
template <class Result, class Work>
Result Guard(const char* slot, Result failure, Work&& work) noexcept {
  const SlotCall call(slot);
  try {
    return work();
  } catch (const std::exception& error) {
    LogException(error.what());
  } catch (...) {
    LogException("unknown exception");
  }
  return failure;
}

enum class Start { kYes, kNo };

/// The same with what runs, which stays for the length of the call; the failure value when nothing does.
template <class Result, class Work>
Result WithRuntime(const char* slot, Result failure, Work&& work, Start start = Start::kYes) noexcept {
  return Guard(slot, failure, [&] {
    const QVGContext::Use use(QVGContext::GetInstance(), start == Start::kYes);
    return use.Get() != nullptr ? work(*use.Get()) : failure;
  });
}

/// The same for slots that need the pools: the failure value when the driver can't render.
template <class Result, class Work>
Result WithPools(const char* slot, Result failure, Work&& work) noexcept {
  return WithRuntime(slot, failure, [&](Runtime& runtime) { return runtime.canRender ? work(runtime) : failure; });
}

/// One operation on the current context. What a host has left of GL errors is not the operation's; after one of its
/// own everything is dropped that was made or remembered for later ones.
class Operation {
 public:
  explicit Operation(ContextState& context) : context_(context) {
    context_.worked = true;
    context_.failed = false;
    if (DrainGLErrors() != GL_NO_ERROR)
      Refuse("context", "no OpenGL error of the host's left pending, which is dropped");
  }
  ~Operation() {
    if ((!succeeded_ && DrainGLErrors() != GL_NO_ERROR) || context_.failed) context_.Distrust();
  }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  void Succeed() { succeeded_ = true; }

 private:
  const DebugGroup group_{DebugGroupKind::kSlot, SlotCall::Name()};
  ContextState& context_;
  bool succeeded_ = false;
};

/// The same for slots that make or recycle GL objects: with a context of the library current.
template <class Result, class Work>
Result OnContext(const char* slot, Result failure, Work&& work) noexcept {
  return WithPools(slot, failure, [&](Runtime& runtime) {
    ContextState* const current = CurrentContext();
    if (!Expect(current != nullptr, "context", "one of this library's current on the calling thread")) return failure;
    const DriverTurn turn;
    Operation operation(*current);
    const Result result = work(runtime);
    if (result != failure) operation.Succeed();
    return result;
  });
}

/// The same for slots that need the context manager.
template <class Result, class Work>
Result WithContexts(const char* slot, Result failure, Work&& work) noexcept {
  return WithRuntime(slot, failure, [&](Runtime& runtime) { return work(runtime.contexts); });
}

Texture* From(QVGTexture* texture) { return reinterpret_cast<Texture*>(texture); }
const Texture* From(const QVGTexture* texture) { return reinterpret_cast<const Texture*>(texture); }
QVGTexture* To(Texture* texture) { return reinterpret_cast<QVGTexture*>(texture); }
FrameBuffer* From(QVGFrameBuffer* frameBuffer) { return reinterpret_cast<FrameBuffer*>(frameBuffer); }
QVGFrameBuffer* To(FrameBuffer* frameBuffer) { return reinterpret_cast<QVGFrameBuffer*>(frameBuffer); }
WndDrawer* From(QVGWndDrawer* drawer) { return reinterpret_cast<WndDrawer*>(drawer); }
Effect* From(QVGEffect* effect) { return reinterpret_cast<Effect*>(effect); }
QVGGLContext* ToContext(void* context) { return static_cast<QVGGLContext*>(context); }

constexpr char kNotNull[] = "something other than null";

bool IsGiven(const void* argument, const char* name) { return Expect(argument != nullptr, name, kNotNull); }

bool IsTextureSize(uint32_t width, uint32_t height) {
  const auto limit = static_cast<uint32_t>(Limits::MaxTextureSize());
  return Expect(width >= 1 && width <= limit, "width", "1 to the driver's texture limit") &&
         Expect(height >= 1 && height <= limit, "height", "1 to the driver's texture limit");
}

/// Whatever becomes of a read-back, no plane of an older one stays in its descriptor.
void NullPlanes(QVGPixelBuffer* out) {
  if (out != nullptr) std::fill(std::begin(out->plane), std::end(out->plane), nullptr);
}

bool CanRead(const QVGTexture* source, const QVGPixelBuffer* out) {
  return IsGiven(source, "source") && IsGiven(out, "out") &&
         Expect(From(source)->Content().IsInside(), "source", "a content rectangle inside the texture's storage");
}

namespace slots {

// ---- Pools

void SetTexturePoolCapacity(int32_t count) noexcept {
  WithRuntime(__func__, false, [&](Runtime& runtime) {
    runtime.textures.SetHostBudget(count);
    return true;
  });
}

void Reserved() noexcept {}

void PreallocateTextures(uint32_t width, uint32_t height, int32_t count) noexcept {
  OnContext(__func__, false, [&](Runtime& runtime) {
    if (!IsTextureSize(width, height)) return false;
    runtime.textures.Preallocate(width, height, count);
    return true;
  });
}

bool ClearTexturePool() noexcept {
  return OnContext(__func__, false, [](Runtime& runtime) { return runtime.textures.Clear(); });
}

void PreallocateRenderBuffers(uint32_t width, uint32_t height, int32_t count) noexcept {
  OnContext(__func__, false, [&](Runtime& runtime) {
    if (!IsTextureSize(width, height)) return false;
    runtime.renderBuffers.Preallocate(static_cast<int>(width), static_cast<int>(height), count);
    return true;
  });
}

bool ClearRenderBufferPool() noexcept {
  return OnContext(__func__, false, [](Runtime& runtime) { return runtime.renderBuffers.Clear(); });
}

void PreallocatePixelBuffers(uint32_t size, int32_t count, bool forRead) noexcept {
  OnContext(__func__, false, [&](Runtime& runtime) {
    runtime.pixelBuffers.Preallocate(size, count, forRead);
    return true;
  });
}

bool ClearPixelBufferPool() noexcept {
  return OnContext(__func__, false, [](Runtime& runtime) {
    runtime.scratchBuffers.Clear();
    return runtime.pixelBuffers.Clear();
  });
}

// ---- Contexts

QVGGLContext* CreateSharedContext(void* reserved, void* window, bool useHiddenWindow) noexcept {
  return WithContexts<QVGGLContext*>(__func__, nullptr, [&](QVGLContextManager& contexts) {
    return ToContext(contexts.CreateSharedContext(reserved, window, useHiddenWindow));
  });
}

QVGGLContext* GetSharedContext() noexcept {
  return WithContexts<QVGGLContext*>(
      __func__, nullptr, [](QVGLContextManager& contexts) { return ToContext(contexts.GetSharedContext()); });
}

bool ReleaseSharedContext(QVGGLContext** context) noexcept {
  if (context == nullptr) return false;
  void* handle = *context;
  const bool ok = WithContexts(__func__, false,
                               [&](QVGLContextManager& contexts) { return contexts.ReleaseSharedContext(handle); });
  *context = nullptr;
  return ok;
}

bool MakeCurrentContext(QVGGLContext* context, QVGGLContext** previous) noexcept {
  void* before = nullptr;
  const bool ok = WithContexts(
      __func__, false, [&](QVGLContextManager& contexts) { return contexts.MakeCurrentContext(context, &before); });
  if (previous != nullptr) *previous = ToContext(before);
  return ok;
}

QVGGLContext* GetCurrentContext() noexcept {
  return WithContexts<QVGGLContext*>(
      __func__, nullptr, [](QVGLContextManager& contexts) { return ToContext(contexts.GetCurrentContext()); });
}

bool SwapBuffers(QVGGLContext* context) noexcept {
  return WithContexts(__func__, false, [&](QVGLContextManager& contexts) { return contexts.SwapBuffers(context); });
}

void DestroySharedContext(QVGGLContext** context) noexcept {
  if (context == nullptr) return;
  void* handle = *context;
  WithContexts(__func__, false, [&](QVGLContextManager& contexts) { return contexts.DestroySharedContext(handle); });
  *context = nullptr;
}

// ---- Versions

bool IsGLVersionSupported() noexcept {
  return Guard(__func__, false, [] { return QVGContext::GetInstance().IsGLVersionSupported(); });
}

void GetGLVersion(int32_t* major, int32_t* minor) noexcept {
  Guard(__func__, false, [&] {
    QVGContext::GetInstance().GetGLVersion(major, minor);
    return true;
  });
}

void GetRequiredGLVersion(int32_t* major, int32_t* minor) noexcept { QVGContext::GetRequiredGLVersion(major, minor); }

// ---- Textures

QVGTexture* CloneTexture(QVGTexture* source) noexcept {
  return OnContext<QVGTexture*>(__func__, nullptr, [&](Runtime& runtime) {
    return IsGiven(source, "source") ? To(qvg::CloneTexture(runtime.frames, From(source))) : nullptr;
  });
}

bool SetTextureChannelOrder(QVGTexture* texture, int32_t order) noexcept {
  static constexpr Swizzle kOrders[] = {kSwizzleBGRA, kSwizzleRGBA, kSwizzleABGR, kSwizzleARGB};
  return OnContext(__func__, false, [&](Runtime&) {
    const bool known = order >= 0 && order < static_cast<int32_t>(std::size(kOrders));
    return IsGiven(texture, "texture") && Expect(known, "order", "0 to 3") && From(texture)->RemapRGBA(kOrders[order]);
  });
}

QVGTexture* AcquireTexture(uint32_t width, uint32_t height) noexcept {
  return OnContext<QVGTexture*>(__func__, nullptr, [&](Runtime& runtime) {
    return IsTextureSize(width, height) ? To(runtime.textures.Acquire(width, height, GL_RGBA8)) : nullptr;
  });
}

QVGTexture* UploadPixelBufferToNewTexture(const QVGPixelBuffer* source, bool flipped, bool matteRGB,
                                          QVGColor matte) noexcept {
  return OnContext<QVGTexture*>(__func__, nullptr, [&](Runtime& runtime) {
    return To(qvg::UploadPixelBufferToNewTexture(runtime.frames, source, flipped, matteRGB, matte));
  });
}

bool UploadPixelBufferToTexture(QVGTexture* destination, const QVGPixelBuffer* source, bool flipped, bool matteRGB,
                                QVGColor matte) noexcept {
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return IsGiven(destination, "destination") &&
           qvg::UploadPixelBufferToTexture(runtime.frames, From(destination), source, flipped, matteRGB, matte);
  });
}

bool ClearTexture(QVGTexture* texture, const double rgba[4]) noexcept {
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return IsGiven(texture, "texture") && IsGiven(rgba, "rgba") &&
           qvg::ClearTexture(runtime.frames, From(texture), rgba);
  });
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
  NullPlanes(out);
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return CanRead(source, out) &&
           qvg::TextureToYUV420PixelBuffer(runtime.frames, From(source), fullRange, mirror, out);
  });
}

bool TextureToNV12PixelBuffer(QVGTexture* source, QVGPixelBuffer* out, bool mirror) noexcept {
  NullPlanes(out);
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return CanRead(source, out) && qvg::TextureToNV12PixelBuffer(runtime.frames, From(source), out, mirror);
  });
}

bool TextureToRGBAPixelBuffer(QVGTexture* source, QVGPixelBuffer* out, bool flip) noexcept {
  NullPlanes(out);
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return CanRead(source, out) && qvg::TextureToRGBAPixelBuffer(runtime.frames, From(source), out, flip);
  });
}

bool TextureToBGRAPixelBuffer(QVGTexture* source, QVGPixelBuffer* out, bool flip) noexcept {
  NullPlanes(out);
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return CanRead(source, out) && qvg::TextureToBGRAPixelBuffer(runtime.frames, From(source), out, flip);
  });
}

void ReleasePixelBuffer(QVGPixelBuffer** buffer) noexcept {
  if (buffer == nullptr || *buffer == nullptr) return;
  QVGPixelBuffer* const released = std::exchange(*buffer, nullptr);
  const auto release = [&](Runtime& runtime) {
    qvg::ReleasePixelBuffer(runtime.frames, *released);
    return true;
  };
  WithRuntime(__func__, false, release, Start::kNo);
}

void ReleaseTexture(QVGTexture** texture) noexcept {
  if (texture == nullptr || *texture == nullptr) return;
  Texture* released = From(std::exchange(*texture, nullptr));
  const auto release = [&](Runtime& runtime) {
    const DriverTurn turn;
    runtime.textures.Release(released);
    return true;
  };
  WithRuntime(__func__, false, release, Start::kNo);
}

// ---- Frame buffers and drawing

QVGFrameBuffer* CreateFrameBuffer(uint32_t width, uint32_t height, bool ownColor, bool stored) noexcept {
  constexpr int32_t kStoredFlag = 4;
  return OnContext<QVGFrameBuffer*>(__func__, nullptr, [&](Runtime& runtime) {
    FrameBufferSetting setting;
    setting.width = static_cast<int>(width);
    setting.height = static_cast<int>(height);
    setting.stored = stored ? kStoredFlag : 0;
    setting.colorRenderBuffer = ownColor;
    FrameBuffer* const made =
        qvg::CreateFrameBuffer(runtime.frames, setting, Camera::ForCanvas(setting.width, setting.height));
    // The size is that of what will be bound.
    if (made != nullptr) made->cameraFollows = width == 0 || height == 0;
    return To(made);
  });
}

QVGFrameBuffer* CreateFrameBufferFromDesc(const QVGFrameBufferDesc* desc) noexcept {
  return OnContext<QVGFrameBuffer*>(__func__, nullptr, [&](Runtime& runtime) {
    if (!IsGiven(desc, "desc")) return To(static_cast<FrameBuffer*>(nullptr));
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
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return IsGiven(frameBuffer, "frameBuffer") && IsGiven(texture, "texture") &&
           qvg::BindTextureToFrameBuffer(runtime.frames, From(frameBuffer), From(texture));
  });
}

bool ClearFrameBuffer(QVGFrameBuffer* frameBuffer, const double rgba[4]) noexcept {
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return IsGiven(frameBuffer, "frameBuffer") && IsGiven(rgba, "rgba") &&
           qvg::ClearFrameBuffer(runtime.frames, From(frameBuffer), rgba);
  });
}

bool DrawTexture(QVGTexture* source, QVGFrameBuffer* destination, const QVGDrawTextureParams* params) noexcept {
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return IsGiven(source, "source") && IsGiven(destination, "destination") &&
           qvg::DrawTexture(runtime.frames, From(source), From(destination), params);
  });
}

bool DestroyFrameBuffer(QVGFrameBuffer** frameBuffer) noexcept {
  if (frameBuffer == nullptr || *frameBuffer == nullptr) return false;
  FrameBuffer* const destroyed = From(std::exchange(*frameBuffer, nullptr));
  const auto destroy = [&](Runtime&) {
    const DriverTurn turn;
    delete destroyed;
    return true;
  };
  return WithRuntime(__func__, false, destroy, Start::kNo);
}

void Finish() noexcept {
  OnContext(__func__, false, [](Runtime&) {
    glFinish();
    ++CurrentContext()->finished;
    FlushContextObjects();
    return true;
  });
}

// ---- Windows

/// Runs work on a drawer in its turn; as an operation when its context is current, without which it does nothing.
template <class Work>
bool OnDrawer(const char* slot, Work&& work) noexcept {
  const auto run = [&](Runtime&) {
    const DriverTurn turn;
    std::optional<Operation> operation;
    if (ContextState* const current = CurrentContext(); current != nullptr) operation.emplace(*current);
    const bool result = work();
    if (result && operation.has_value()) operation->Succeed();
    return result;
  };
  return WithRuntime(slot, false, run, Start::kNo);
}

QVGWndDrawer* CreateWndDrawer(void* window) noexcept {
  return WithPools<QVGWndDrawer*>(__func__, nullptr, [&](Runtime& runtime) {
    auto drawer = std::make_unique<WndDrawer>(runtime.contexts, runtime.programs);
    return drawer->Init(window) ? reinterpret_cast<QVGWndDrawer*>(drawer.release()) : nullptr;
  });
}

QVGGLContext* GetWndDrawerHandle(QVGWndDrawer* drawer) noexcept {
  return drawer == nullptr ? nullptr : ToContext(From(drawer)->Context());
}

bool ClearWnd(QVGWndDrawer* drawer, const double rgb[3], void* /*reserved1*/, void* /*reserved2*/) noexcept {
  return OnDrawer(__func__, [&] {
    if (!IsGiven(drawer, "drawer") || !IsGiven(rgb, "rgb")) return false;
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
  return OnDrawer(__func__, [&] {
    return IsGiven(drawer, "drawer") && IsGiven(texture, "texture") && From(drawer)->Draw(From(texture));
  });
}

bool DestroyWndDrawer(QVGWndDrawer** drawer) noexcept {
  if (drawer == nullptr || *drawer == nullptr) return true;
  WndDrawer* const destroyed = From(std::exchange(*drawer, nullptr));
  const auto destroy = [&](Runtime&) {
    delete destroyed;
    return true;
  };
  WithRuntime(__func__, false, destroy, Start::kNo);
  return true;
}

// ---- Effects

bool IsEmpty(const char* text) { return text == nullptr || *text == '\0'; }

/// Runs work with the effect group of the name, null without a name or when it is unknown.
template <class Result, class Work>
Result WithGroup(const char* slot, const char* name, Result failure, Work&& work) noexcept {
  return WithRuntime(slot, failure,
                     [&](Runtime& runtime) { return work(IsEmpty(name) ? nullptr : runtime.effects.Find(name)); });
}

bool IsKnown(const EffectGroup* group) { return Expect(group != nullptr, "name", "that of an effect (see slot 54)"); }

bool GetEffectNames(int32_t type, const char** names, int32_t capacity, int32_t* count) noexcept {
  return WithRuntime(__func__, false, [&](Runtime& runtime) {
    if (!IsGiven(count, "count")) return false;
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
  return WithGroup(__func__, name, false, [](const EffectGroup* group) { return group != nullptr; });
}

uint32_t GetEffectType(const char* name) noexcept {
  return WithGroup(__func__, name, uint32_t{0},
                   [](const EffectGroup* group) { return group != nullptr ? static_cast<uint32_t>(group->type) : 0; });
}

const char* QueryEffect(const char* name, const char* key) noexcept {
  return WithGroup<const char*>(__func__, name, nullptr, [&](const EffectGroup* group) -> const char* {
    if (!IsKnown(group) || group->displayName == nullptr) return nullptr;
    return group->displayName(key != nullptr ? key : "");
  });
}

bool GetEffectParameterTable(const char* name, const QVGParamDescriptor** table, uint32_t* count) noexcept {
  return WithGroup(__func__, name, false, [&](const EffectGroup* group) {
    if (!IsKnown(group) || !IsGiven(count, "count")) return false;
    if (table != nullptr) *table = group->parameters;
    *count = group->parameterCount;
    return true;
  });
}

QVGEffect* CreateEffect(const char* name) noexcept {
  return OnContext<QVGEffect*>(__func__, nullptr, [&](Runtime& runtime) -> QVGEffect* {
    if (IsEmpty(name) || !IsKnown(runtime.effects.Find(name))) return nullptr;
    return reinterpret_cast<QVGEffect*>(runtime.effects.CreateEffect(name));
  });
}

bool SetEffectParameter(QVGEffect* effect, const char* key, const QVGParamValue* value) noexcept {
  return OnContext(__func__, false, [&](Runtime& runtime) {
    return IsGiven(effect, "effect") && Expect(!IsEmpty(key), "key", kNotNull) && IsGiven(value, "value") &&
           runtime.effects.SetEffectParameter(From(effect), key, value);
  });
}

QVGTexture* ApplyEffect(QVGEffect* effect, QVGTexture* input) noexcept {
  if (effect == nullptr) return input;
  return OnContext<QVGTexture*>(__func__, nullptr, [&](Runtime& runtime) {
    return IsGiven(input, "input") ? To(runtime.effects.ApplyEffect(From(effect), From(input))) : nullptr;
  });
}

QVGTexture* ApplyEffectWith(QVGEffect* effect, QVGTexture* first, QVGTexture* second, float value) noexcept {
  if (effect == nullptr) return first;
  return OnContext<QVGTexture*>(__func__, nullptr, [&](Runtime& runtime) {
    return To(runtime.effects.ApplyEffectWith(From(effect), From(first), From(second), value));
  });
}

bool DestroyEffect(QVGEffect** effect) noexcept {
  if (effect == nullptr || *effect == nullptr) return true;
  const auto destroy = [&](Runtime& runtime) {
    Effect* handle = From(*effect);
    if (!Expect(runtime.effects.DestroyEffect(handle), "effect", "one that was created and not destroyed")) {
      return false;
    }
    *effect = nullptr;
    return true;
  };
  return WithRuntime(__func__, false, destroy, Start::kNo);
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
  Guard(__func__, false, [&] {
    static constexpr QVGConfig kEmpty = {};
    QVGContext& context = QVGContext::GetInstance();
    context.SetConfig(config != nullptr ? *config : kEmpty);
    return context.Init();
  });
  return &kTable;
}

void QVG_ReleaseGLRendererInterface(const QVGGLRendererInterface** table) {
  if (table == nullptr) return;
  *table = nullptr;
  using namespace qvg;
  Guard(__func__, false, [] {
    QVGContext::GetInstance().Uninit();
    return true;
  });
}
