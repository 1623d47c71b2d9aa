#pragma once

// The seam between the context manager and the platforms. One of glContext_win and glContext_egl implements it.

#include <cstdint>

namespace qvg {

#ifdef _WIN32
struct QVGWinContextData;
using QVGContextData = QVGWinContextData;
#else
struct QVGEglContextData;
using QVGContextData = QVGEglContextData;
#endif

/// What is current on a thread according to the platform, even if it is not the library's.
struct ContextBinding {
  void* display = nullptr;      ///< EGLDisplay; unused on Windows.
  void* drawSurface = nullptr;  ///< EGLSurface; on Windows the HDC.
  void* readSurface = nullptr;  ///< EGLSurface; unused on Windows.
  void* context = nullptr;      ///< EGLContext or HGLRC; null when nothing is current.
};

/// Makes one GL context on the window, or on a hidden surface of its own when window is null.
/// @param loadEntryPoints also resolve the process-wide GL entry points on it; afterwards the calling thread's own
/// context is current again.
/// @param shareRoot a context whose objects it shares from its creation, where the platform shares that way.
/// @return owned by the caller (DestroyContextData); null on failure, which is logged.
QVGContextData* _CreateDummyGLContext(void* window, bool loadEntryPoints, const QVGContextData* shareRoot);

/// Lets shared use the objects of main; where contexts share from their creation, tells whether they do.
bool ShareContexts(const QVGContextData& main, const QVGContextData& shared);

/// Unbinds the context if it is current on the calling thread, destroys it, its surface and its own hidden window,
/// and frees the record. A caller's window stays.
void DestroyContextData(QVGContextData* data);

bool HasGLContext(const QVGContextData& data);
/// The platform's handle of the context.
const void* NativeContext(const QVGContextData& data);
/// Whether the context is the one current on the calling thread.
bool IsContextCurrent(const QVGContextData& data);
bool MakeContextCurrent(const QVGContextData& data);
/// Unbinds whatever is current on the calling thread, even if it is not the library's.
bool ReleaseCurrentContext();
/// Whether the context has a hidden surface of its own.
bool IsHidden(const QVGContextData& data);
/// Whether the context's window still exists; true for a hidden surface.
bool IsWindowValid(const QVGContextData& data);
/// Waits for as many refreshes of the display as the interval says, where the driver supports it.
bool SwapContextBuffers(QVGContextData& data, int interval);
/// The error number of the last failed call of this thread: GetLastError() or eglGetError().
uint32_t LastContextError();

ContextBinding CurrentBinding();
/// The context of CurrentBinding(), cheap enough to be queried several times a frame.
void* CurrentNativeContext();
/// Makes a binding current again; an empty one unbinds.
void RestoreBinding(const ContextBinding& binding);

/// The GL version that was found when the entry points were loaded; 0.0 before.
void LoadedGLVersion(int32_t* major, int32_t* minor);

/// Keeps the library loaded, also when the host unloads it, until UnpinLibrary. Null where that is not possible.
void* PinLibrary();
/// Takes what PinLibrary returned, including null. Never the last reference to the library when called by its host.
void UnpinLibrary(void* pin);

/// Calls the handler, once for each call of this, when the process begins to exit while its threads still run: before
/// the handlers of what was loaded or started before this call. Never, where other threads end first.
void AtProcessExit(void (*handler)());
/// Whether the process is so far into its exit that the library's threads may be gone.
bool ProcessIsEnding();

/// Ends what the platform keeps for the process between contexts (threads, window classes, display connections). Does
/// nothing while a context is left. Starting again is possible. Not to be called while a library is being unloaded.
void ShutdownContextPlatform();

}  // namespace qvg
