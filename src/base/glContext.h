#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <mutex>

#include "base/glContextPlatform.h"

namespace qvg {

/// Owns every GL context of the library: one hidden main context from which all others share their objects, the
/// contexts that are handed out, and a pool of released ones. Handles are borrowed by callers until they are destroyed
/// or released. Every operation may be called on any thread; they act on the calling thread's current context.
class QVGLContextManager {
 public:
  QVGLContextManager() = default;
  ~QVGLContextManager();
  QVGLContextManager(const QVGLContextManager&) = delete;
  QVGLContextManager& operator=(const QVGLContextManager&) = delete;

  /// Makes the main context and loads the GL entry points.
  bool Init();
  /// Destroys every context, the main one last.
  void Uninit();
  /// Destroys every shared context but one. Drivers keep parts of an object for each context that used it, and give
  /// them back only when those contexts go before the object.
  void DestroyOthers(void* kept);

  /// @param reserved ignored.
  /// @param window the caller's window, which must outlive the context; ignored with useDummyWindow. Null: hidden.
  void* CreateSharedContext(void* reserved, void* window, bool useDummyWindow);
  /// Writes null into the handle. False, with the handle untouched, for one that is not in the map.
  bool DestroySharedContext(void*& handle);
  /// The longest-idle released context whose window is still valid, or a new one on a hidden window.
  void* GetSharedContext();
  /// Gives a context back for GetSharedContext and writes null into the handle.
  bool ReleaseSharedContext(void*& handle);
  /// Whether the handle is of a context that is handed out or idle.
  bool IsLive(void* handle);
  /// The handed-out context that is current on the calling thread, or null; never the main context.
  void* GetCurrentContext();
  /// Null unbinds. previous receives what GetCurrentContext would have given, in every outcome.
  bool MakeCurrentContext(void* handle, void** previous);
  bool SwapBuffers(void* handle);

 private:
  using ContextMap = std::map<QVGContextData*, QVGContextData*>;

  bool _MakeCurrentContext(QVGContextData* context, void** previous);
  QVGContextData* _FindCurrent() const;
  /// Destroys a record of the map and takes it out of map and pool. The caller holds both mutexes.
  void _Destroy(ContextMap::iterator found);
  void _DestroyAll();

  // Lock order: the pool's mutex before the map's.
  QVGContextData* mainContext_ = nullptr;  // never in the map
  ContextMap contexts_;
  std::mutex contextsMutex_;
  std::list<QVGContextData*> pool_;  // released contexts, longest idle first; they stay in the map
  std::mutex poolMutex_;
};

/// Makes a shared context of its own current on the calling thread for the length of a scope, and then what was
/// current before, also when that was the host's own.
class TemporaryContext {
 public:
  explicit TemporaryContext(QVGLContextManager& manager);
  ~TemporaryContext();
  TemporaryContext(const TemporaryContext&) = delete;
  TemporaryContext& operator=(const TemporaryContext&) = delete;

  /// Whether the context could be made and is current.
  bool Valid() const { return valid_; }
  void* Handle() const { return context_; }
  /// The library's other contexts are about to be destroyed: one that was current before is not made current again.
  void OthersGo();

 private:
  QVGLContextManager& manager_;
  ContextBinding previous_;
  bool previousIsOwn_;
  void* context_ = nullptr;
  bool valid_ = false;
};

}  // namespace qvg
