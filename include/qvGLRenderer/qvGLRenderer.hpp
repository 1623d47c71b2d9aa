/**
 * @file qvGLRenderer.hpp
 * The library for C++17 and later: handles that give themselves back, over the table of qvGLRenderer.h.
 *
 * Header only; what the slots do, and which thread and context they want, is documented in qvGLRenderer.h, and each
 * function here names its slot. Nothing is added to a call: handles are as large as a pointer, no function allocates or
 * is virtual.
 *
 * - Failure. As with the table: what makes something answers with an empty handle, all else with false, the log says
 *   why, and nothing throws; a host drops the frame and goes on. Where an exception is wanted, Checked() makes one of
 *   either:
 *       qvg::Texture logo = qvg::Checked(qvg::Texture::FromFrame(frame), "uploading the logo");
 * - Library. At least one qvg::Library has to live while anything else of this header is used: see there.
 * - Handles are moved, not copied, and behave as std::unique_ptr does: get(), release(), reset(), and their functions
 *   are const, as they don't change which object is held. Functions must not be called on an empty one; Checked() or
 *   operator bool tell. A handle that outlives the last Library does nothing any more when it goes.
 * - Threads and contexts. A handle belongs to one thread at a time, as the object it holds. Its destructor may run on
 *   any thread, with or without a context. Functions marked [GL] want a context of the library current
 *   (CurrentContext), all others are [any].
 * - Whatever has no function here is called through Table(), with get().
 */
#ifndef QVGLRENDERER_QVGLRENDERER_HPP
#define QVGLRENDERER_QVGLRENDERER_HPP

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "qvGLRenderer.h"

namespace qvg {

// A namespace of its own in symbols: the library's internals have classes of the same names.
inline namespace host {

namespace detail {

/// What the Library objects share.
struct Started {
  std::atomic<const QVGGLRendererInterface*> table{nullptr};
  std::mutex mutex;
  int libraries = 0;
  decltype(&QVG_ReleaseGLRendererInterface) end = nullptr;
};
inline Started started;

inline const QVGGLRendererInterface* Table() noexcept { return started.table.load(std::memory_order_relaxed); }

}  // namespace detail

/// The table, while a Library lives.
inline const QVGGLRendererInterface& Table() noexcept { return *detail::Table(); }

// ---- Failures ------------------------------------------------------------------------------------------------------

/// What Checked() throws. The reason is in the library's log.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

#if defined(__cpp_exceptions) || defined(_CPPUNWIND)
/// The result of a call (a handle, a read-back, a bool) when it is one; throws Error for an empty handle and false.
/// @param what what was tried: "uploading the frame" gives the text "uploading the frame failed".
template <class Result>
Result Checked(Result result, const char* what) {
  if (!result) throw Error(std::string(what) + " failed");
  return result;
}
#endif

// ---- The library ---------------------------------------------------------------------------------------------------

/**
 * Keeps the library running. Any number of objects may live at a time, in any thread: the first one starts the library,
 * and it is released with the last one. So each part of a program that uses the library has one, and none takes it from
 * another. Threads must have stopped rendering when the last one goes, and their handles should be gone.
 *
 * Objects are counted per module, that is, per program or shared library that this header is compiled into (on Linux,
 * modules whose symbols are visible to each other count as one). Releasing the library ends it for the whole process:
 * so where several modules use it, or C code beside this header, one of them starts and releases it, and the others are
 * given its table. A module that is to be unloaded is best compiled with hidden symbols (-fvisibility=hidden).
 */
class Library {
 public:
  /// Without callbacks of its own: those that are in force stay when another object lives, else there are none. [any]
  Library() noexcept { _Enter(&QVG_GetGLRendererInterface, &QVG_ReleaseGLRendererInterface, nullptr); }

  /// The configuration is in force from now on, also for what uses the library already. [any]
  explicit Library(const QVGConfig& config) noexcept {
    _Enter(&QVG_GetGLRendererInterface, &QVG_ReleaseGLRendererInterface, &config);
  }

  /// For a library that the host has loaded by hand, with its two entry points. It stays loaded while the object lives.
  Library(decltype(&QVG_GetGLRendererInterface) get, decltype(&QVG_ReleaseGLRendererInterface) release,
          const QVGConfig* config = nullptr) noexcept {
    _Enter(get, release, config);
  }

  /// Of a table that the host has got itself, and releases itself, after this object. [any]
  explicit Library(const QVGGLRendererInterface& table) noexcept {
    const std::lock_guard lock(detail::started.mutex);
    ++detail::started.libraries;
    detail::started.table = &table;
  }

  ~Library() {
    const std::lock_guard lock(detail::started.mutex);
    if (--detail::started.libraries > 0) return;
    const QVGGLRendererInterface* table = detail::started.table.exchange(nullptr);
    if (const auto end = std::exchange(detail::started.end, nullptr)) end(&table);
  }

  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// False when no GL context could be made; the reasons are in the log. Every later call tries again.
  explicit operator bool() const noexcept {
    int32_t major = 0;
    Table().GetGLVersion(&major, nullptr);
    return major > 0;
  }

 private:
  static void _Enter(decltype(&QVG_GetGLRendererInterface) get, decltype(&QVG_ReleaseGLRendererInterface) release,
                     const QVGConfig* config) noexcept {
    const std::lock_guard lock(detail::started.mutex);
    const bool first = detail::started.libraries++ == 0;
    // Not without need: it would put an empty configuration in the place of another's.
    if (first || config != nullptr) detail::started.table = get(config);
    if (first) detail::started.end = release;
  }
};

// ---- Handles -------------------------------------------------------------------------------------------------------

/// Owns one object of the library. GiveBack: the member of the table that takes it back.
template <class Object, auto GiveBack>
class Handle {
 public:
  Handle() = default;
  Handle(std::nullptr_t) noexcept {}
  /// Takes over what a slot has given; null makes an empty handle.
  explicit Handle(Object* object) noexcept : object_(object) {}
  Handle(Handle&& other) noexcept : object_(other.release()) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  ~Handle() { reset(); }

  Object* get() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  friend bool operator==(const Handle& handle, std::nullptr_t) noexcept { return !handle; }
  friend bool operator!=(const Handle& handle, std::nullptr_t) noexcept { return static_cast<bool>(handle); }
  /// Hands the object to the caller, who gives it back.
  [[nodiscard]] Object* release() noexcept { return std::exchange(object_, nullptr); }
  /// Gives the object back and takes over another one.
  void reset(Object* object = nullptr) noexcept {
    Object* old = std::exchange(object_, object);
    const QVGGLRendererInterface* const table = detail::Table();
    if (old != nullptr && table != nullptr) (table->*GiveBack)(&old);
  }

 private:
  Object* object_ = nullptr;
};

// ---- Contexts ------------------------------------------------------------------------------------------------------

/// A GL context of the library, for one thread.
class Context : public Handle<QVGGLContext, &QVGGLRendererInterface::ReleaseSharedContext> {
 public:
  using Handle::Handle;

  /// Slot 9: without a window, recycled when one is idle.
  static Context New() noexcept { return Context(Table().GetSharedContext()); }
  /// Slot 8: on a window of the host's (HWND, or an X11 window id), which must outlive it.
  static Context OnWindow(void* window) noexcept {
    return Context(Table().CreateSharedContext(nullptr, window, false));
  }

  /// Slot 13; may wait for the display.
  bool SwapBuffers() const noexcept { return Table().SwapBuffers(get()); }
};

/**
 * Has a context current on the calling thread while it lives; then that one which was current before, or none. Only
 * contexts of the library come back: one of the host's own the host makes current again itself. False when the context
 * is null or the driver refuses; then all is as it was.
 */
class CurrentContext {
 public:
  explicit CurrentContext(const Context& context) noexcept : CurrentContext(context.get()) {}
  /// One that is owned elsewhere, such as a WndDrawer's.
  explicit CurrentContext(QVGGLContext* context) noexcept
      : current_(context != nullptr && Table().MakeCurrentContext(context, &previous_)) {
    if (!current_ && previous_ != nullptr) Table().MakeCurrentContext(previous_, nullptr);
  }
  ~CurrentContext() {
    if (current_) Table().MakeCurrentContext(previous_, nullptr);
  }
  CurrentContext(const CurrentContext&) = delete;
  CurrentContext& operator=(const CurrentContext&) = delete;

  explicit operator bool() const noexcept { return current_; }

 private:
  QVGGLContext* previous_ = nullptr;
  bool current_;
};

/// Slot 47 [GL]: waits until all work submitted on the current context is done.
inline void Finish() noexcept { Table().Finish(); }

// ---- Frames in memory ----------------------------------------------------------------------------------------------

/// A view of the host's frame for uploads; the pixels stay the host's and are only read. Its fields may be changed.
struct PixelBuffer : QVGPixelBuffer {
  PixelBuffer() noexcept : QVGPixelBuffer() {}

  /// A frame in one piece, as QVG_PixelBufferFromPointer() describes it; a bad one gives a view without a format, which
  /// uploads refuse. stride: bytes of a row of the first plane, 0 for no padding.
  PixelBuffer(QVGPixelFormat pixelFormat, int32_t frameWidth, int32_t frameHeight, const void* pixels,
              int32_t rowStride = 0) noexcept
      : QVGPixelBuffer() {
    QVG_PixelBufferFromPointer(this, pixelFormat, frameWidth, frameHeight, pixels, rowStride);
  }

  /// Two or three planes, each where it is and with its own stride.
  PixelBuffer(QVGPixelFormat pixelFormat, int32_t frameWidth, int32_t frameHeight, const uint8_t* plane0,
              int32_t stride0, const uint8_t* plane1, int32_t stride1, const uint8_t* plane2 = nullptr,
              int32_t stride2 = 0) noexcept
      : QVGPixelBuffer{{const_cast<uint8_t*>(plane0), const_cast<uint8_t*>(plane1), const_cast<uint8_t*>(plane2)},
                       {stride0, stride1, stride2},
                       frameWidth,
                       frameHeight,
                       0,
                       0,
                       pixelFormat} {}
};

/// A frame that was read back; its memory is readable until the object goes, on any thread.
class ReadBack {
 public:
  ReadBack() = default;
  ReadBack(ReadBack&& other) noexcept : buffer_(std::exchange(other.buffer_, QVGPixelBuffer{})) {}
  ReadBack& operator=(ReadBack&& other) noexcept {
    if (this != &other) {
      reset();
      buffer_ = std::exchange(other.buffer_, QVGPixelBuffer{});
    }
    return *this;
  }
  ~ReadBack() { reset(); }

  explicit operator bool() const noexcept { return buffer_.plane[0] != nullptr; }
  const QVGPixelBuffer& operator*() const noexcept { return buffer_; }
  const QVGPixelBuffer* operator->() const noexcept { return &buffer_; }
  const uint8_t* Row(int32_t row, int plane = 0) const noexcept {
    return buffer_.plane[plane] + static_cast<std::ptrdiff_t>(row) * buffer_.stride[plane];
  }

  /// Gives the memory back (slot 39).
  void reset() noexcept {
    QVGPixelBuffer* buffer = &buffer_;
    const QVGGLRendererInterface* const table = detail::Table();
    if (*this && table != nullptr) table->ReleasePixelBuffer(&buffer);
    buffer_ = {};
  }

 private:
  friend class Texture;
  QVGPixelBuffer buffer_ = {};
};

// ---- Textures ------------------------------------------------------------------------------------------------------

/// How a frame's rows lie in memory.
enum class Rows { kTopDown, kBottomUp };

/// A picture on the GPU.
class Texture : public Handle<QVGTexture, &QVGGLRendererInterface::ReleaseTexture> {
 public:
  using Handle::Handle;

  /// Slot 20 [GL]: RGBA, with undefined content.
  static Texture Acquire(uint32_t width, uint32_t height) noexcept {
    return Texture(Table().AcquireTexture(width, height));
  }
  /// Slot 21 [GL]. matte: a colour that becomes transparent, all others opaque; null for none.
  static Texture FromFrame(const QVGPixelBuffer& frame, Rows rows = Rows::kTopDown,
                           const QVGColor* matte = nullptr) noexcept {
    return Texture(Table().UploadPixelBufferToNewTexture(&frame, rows == Rows::kBottomUp, matte != nullptr,
                                                         matte != nullptr ? *matte : QVGColor{}));
  }
  /// Slot 22 [GL]: the next frame into the same texture.
  bool Update(const QVGPixelBuffer& frame, Rows rows = Rows::kTopDown, const QVGColor* matte = nullptr) const noexcept {
    return Table().UploadPixelBufferToTexture(get(), &frame, rows == Rows::kBottomUp, matte != nullptr,
                                              matte != nullptr ? *matte : QVGColor{});
  }
  /// Slot 18 [GL].
  Texture Clone() const noexcept { return Texture(Table().CloneTexture(get())); }
  /// Slot 23 [GL].
  bool Clear(const QVGColor& color) const noexcept {
    const double rgba[4] = {color.r, color.g, color.b, color.a};
    return Table().ClearTexture(get(), rgba);
  }
  /// Slot 19 [GL].
  bool SetChannelOrder(int32_t order) const noexcept { return Table().SetTextureChannelOrder(get(), order); }

  // Slots 24 to 34.
  uint32_t Width() const noexcept { return Table().GetTextureWidth(get()); }
  uint32_t Height() const noexcept { return Table().GetTextureHeight(get()); }
  uint32_t AllocatedWidth() const noexcept { return Table().GetTextureAllocatedWidth(get()); }
  uint32_t AllocatedHeight() const noexcept { return Table().GetTextureAllocatedHeight(get()); }
  uint32_t Rotation() const noexcept { return Table().GetTextureRotation(get()); }
  bool Flipped() const noexcept { return Table().GetTextureFlipped(get()); }
  uint32_t Id() const noexcept { return Table().GetTextureId(get()); }
  bool SetSize(uint32_t width, uint32_t height) const noexcept { return Table().SetTextureSize(get(), width, height); }
  bool SetOrigin(uint32_t x, uint32_t y) const noexcept { return Table().SetTextureOrigin(get(), x, y); }
  bool SetFlipped(bool flipped) const noexcept { return Table().SetTextureFlipped(get(), flipped); }
  bool SetRotation(uint32_t quarterTurns) const noexcept { return Table().SetTextureRotation(get(), quarterTurns); }

  // Slots 35 to 38 [GL]; each waits for the GPU. Empty on failure.
  ReadBack ReadYUV420(bool fullRange = false, bool mirror = false) const noexcept {
    ReadBack result;
    Table().TextureToYUV420PixelBuffer(get(), fullRange, mirror, &result.buffer_);
    return result;
  }
  ReadBack ReadNV12(bool mirror = false) const noexcept {
    ReadBack result;
    Table().TextureToNV12PixelBuffer(get(), &result.buffer_, mirror);
    return result;
  }
  ReadBack ReadRGBA(bool flip = false) const noexcept {
    ReadBack result;
    Table().TextureToRGBAPixelBuffer(get(), &result.buffer_, flip);
    return result;
  }
  ReadBack ReadBGRA(bool flip = false) const noexcept {
    ReadBack result;
    Table().TextureToBGRAPixelBuffer(get(), &result.buffer_, flip);
    return result;
  }
};

// ---- Drawing -------------------------------------------------------------------------------------------------------

/// How FrameBuffer::Draw draws. Fields that are not set have their defaults, and the functions set fields:
/// target.Draw(logo, qvg::DrawParams().Blend(QVG_BLEND_NORMAL).Rotation(8).Opacity(0.75)).
struct DrawParams : QVGDrawTextureParams {
  DrawParams() noexcept : QVGDrawTextureParams(QVG_DRAW_TEXTURE_PARAMS_INIT) {}

  DrawParams& Blend(QVGBlendType type) noexcept {
    blendType = type;
    return *this;
  }
  /// The texture stays the caller's and must live until it is drawn with.
  DrawParams& Matte(const Texture& texture, QVGMatteType type) noexcept {
    matteTexture = texture.get();
    matteType = type;
    return *this;
  }
  DrawParams& Opacity(double value) noexcept {
    opacity = value;
    return *this;
  }
  DrawParams& Anchor(double x, double y, double z = 0) noexcept { return _Set(anchor, x, y, z); }
  DrawParams& Translation(double x, double y, double z = 0) noexcept { return _Set(translation, x, y, z); }
  DrawParams& Scale(double x, double y, double z = 1) noexcept { return _Set(scale, x, y, z); }
  /// Degrees about z.
  DrawParams& Rotation(double degrees) noexcept { return _Set(rotation, 0, 0, degrees); }
  DrawParams& Rotation(double x, double y, double z) noexcept { return _Set(rotation, x, y, z); }

 private:
  DrawParams& _Set(double (&field)[3], double x, double y, double z) noexcept {
    field[0] = x;
    field[1] = y;
    field[2] = z;
    return *this;
  }
};

/// What is drawn into. It works on the context on which it was made; its destructor may run anywhere.
class FrameBuffer : public Handle<QVGFrameBuffer, &QVGGLRendererInterface::DestroyFrameBuffer> {
 public:
  using Handle::Handle;

  /// Slot 41 [GL].
  static FrameBuffer New(uint32_t width, uint32_t height, bool ownColor = false) noexcept {
    return FrameBuffer(Table().CreateFrameBuffer(width, height, ownColor, false));
  }
  /// Slot 42 [GL].
  static FrameBuffer New(const QVGFrameBufferDesc& description) noexcept {
    return FrameBuffer(Table().CreateFrameBufferFromDesc(&description));
  }
  /// Slots 41 and 43 [GL]: draws into the texture, in its size.
  static FrameBuffer On(const Texture& target) noexcept {
    FrameBuffer made = New(target.Width(), target.Height());
    if (made && !made.Bind(target)) made.reset();
    return made;
  }

  /// Slot 43 [GL]. The texture must live while it is drawn to.
  bool Bind(const Texture& target) const noexcept { return Table().BindTextureToFrameBuffer(get(), target.get()); }
  /// Slot 44 [GL].
  bool Clear(const QVGColor& color) const noexcept {
    const double rgba[4] = {color.r, color.g, color.b, color.a};
    return Table().ClearFrameBuffer(get(), rgba);
  }
  /// Slot 45 [GL]; without parameters as it is, in the middle.
  bool Draw(const Texture& source) const noexcept { return Table().DrawTexture(source.get(), get(), nullptr); }
  bool Draw(const Texture& source, const QVGDrawTextureParams& params) const noexcept {
    return Table().DrawTexture(source.get(), get(), &params);
  }
};

// ---- Windows -------------------------------------------------------------------------------------------------------

/// Shows textures in one window of the host, on the thread that has its context current.
class WndDrawer : public Handle<QVGWndDrawer, &QVGGLRendererInterface::DestroyWndDrawer> {
 public:
  using Handle::Handle;

  /// Slot 48: HWND, or an X11 window id as a pointer. The window should outlive the drawer.
  static WndDrawer On(void* window) noexcept { return WndDrawer(Table().CreateWndDrawer(window)); }
  /// The same for an X11 window id.
  static WndDrawer On(std::uintptr_t window) noexcept { return On(reinterpret_cast<void*>(window)); }

  /// Slot 49: for CurrentContext; the drawer's.
  QVGGLContext* ContextHandle() const noexcept { return Table().GetWndDrawerHandle(get()); }
  /// Slot 51: before the first picture, and whenever the window's size has changed.
  bool SetSize(uint32_t width, uint32_t height) const noexcept {
    return Table().SetWndDrawerSize(get(), width, height);
  }
  /// Slot 50 [GL, the drawer's context]; may wait for the display.
  bool Clear(double r, double g, double b) const noexcept {
    const double rgb[3] = {r, g, b};
    return Table().ClearWnd(get(), rgb, nullptr, nullptr);
  }
  /// Slot 52 [GL, the drawer's context]; may wait for the display.
  bool Draw(const Texture& texture) const noexcept { return Table().DrawTextureToWnd(get(), texture.get()); }
};

// ---- Effects -------------------------------------------------------------------------------------------------------

/// The rows of an effect's parameter table, for a range-based for; they outlive the library's release.
struct EffectParameters {
  const QVGParamDescriptor* rows = nullptr;
  uint32_t count = 0;
  const QVGParamDescriptor* begin() const noexcept { return rows; }
  const QVGParamDescriptor* end() const noexcept { return rows + count; }
};

/// An instance of a named effect.
class Effect : public Handle<QVGEffect, &QVGGLRendererInterface::DestroyEffect> {
 public:
  using Handle::Handle;

  static constexpr char kGeneral[] = "general_eff";

  /// Slot 59 [GL]: with all stages off.
  static Effect New(const char* name = kGeneral) noexcept { return Effect(Table().CreateEffect(name)); }
  /// Slot 58; without rows when the effect is unknown.
  static EffectParameters Parameters(const char* name = kGeneral) noexcept {
    EffectParameters parameters;
    if (!Table().GetEffectParameterTable(name, &parameters.rows, &parameters.count)) return {};
    return parameters;
  }

  // Slot 60 [GL]; a new combination of stages compiles a program. False for an unknown key, or a value of a type that
  // the key does not take.

  bool Set(const char* key, const QVGParamValue& value) const noexcept {
    return Table().SetEffectParameter(get(), key, &value);
  }
  /// A switch is a bool, a number any other integer.
  template <class Integer, std::enable_if_t<std::is_integral_v<Integer>, int> = 0>
  bool Set(const char* key, Integer value) const noexcept {
    QVGParamValue typed = {};
    if constexpr (std::is_same_v<Integer, bool>) {
      typed.type = QVG_PARAM_BOOLEAN;
      typed.value.boolean = value;
    } else {
      typed.type = QVG_PARAM_INTEGER;
      typed.value.integer = static_cast<int64_t>(value);
    }
    return Set(key, typed);
  }
  /// A path, NUL-terminated; null for none. It is copied.
  bool Set(const char* key, const char* text) const noexcept {
    QVGParamValue typed = {};
    typed.type = QVG_PARAM_TEXT;
    typed.value.text = text;
    return Set(key, typed);
  }
  /// A colour, 0..1.
  bool Set(const char* key, double r, double g, double b) const noexcept {
    QVGParamValue typed = {};
    typed.type = QVG_PARAM_COLOR;
    typed.value.color[0] = r;
    typed.value.color[1] = g;
    typed.value.color[2] = b;
    return Set(key, typed);
  }

  /// Slot 61 [GL]: a new texture; empty when no stage is switched on.
  Texture Apply(const Texture& input) const noexcept {
    return Texture(get() != nullptr ? Table().ApplyEffect(get(), input.get()) : nullptr);
  }
};

// That no call costs more than the table's own.
static_assert(sizeof(Texture) == sizeof(QVGTexture*) && sizeof(ReadBack) == sizeof(QVGPixelBuffer));

}  // namespace host

}  // namespace qvg

#endif
