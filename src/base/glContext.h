#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "base/contextState.h"
#include "base/driverTurn.h"
#include "base/glContextPlatform.h"
#include "base/serviceThread.h"

namespace qvg {

/// Owns every GL context of the library: one hidden main context from which all others share their objects, the
/// contexts that are handed out, a pool of released ones, and the one of the service thread. Handles are borrowed by
/// callers until they are destroyed or released. Every operation may be called on any thread, whatever is current
/// there; they act on the calling thread's current context.
class QVGLContextManager {
 public:
  /// @param service outlives it.
  explicit QVGLContextManager(ServiceThread& service) : service_(service) {}
  ~QVGLContextManager();
  QVGLContextManager(const QVGLContextManager&) = delete;
  QVGLContextManager& operator=(const QVGLContextManager&) = delete;

  /// Makes the main context and loads the GL entry points, on the service thread.
  bool Init();
  /// Destroys every context, the main one last.
  void Uninit();
  /// Destroys every shared context except the service thread's. Drivers keep parts of an object for each context that
  /// used it, and give them back only when those contexts go before the object.
  void DestroyOthers();

  /// @param reserved ignored.
  /// @param window the caller's window, which must outlive the context; ignored with useDummyWindow. Null: hidden.
  void* CreateSharedContext(void* reserved, void* window, bool useDummyWindow);
  /// Writes null into the handle. False, with the handle untouched, for one that is not in the map.
  bool DestroySharedContext(void*& handle);
  /// The longest-idle released context, or a new one; hidden either way.
  void* GetSharedContext();
  /// Gives a context back for GetSharedContext and writes null into the handle. One that was made on a caller's window
  /// is destroyed.
  bool ReleaseSharedContext(void*& handle);
  /// Whether the handle is of a context that is handed out or idle.
  bool IsLive(void* handle);
  /// The number of a live context; 0 for others.
  ContextId IdOf(void* handle);
  /// The handed-out context that is current on the calling thread, or null; never the main context.
  void* GetCurrentContext();
  /// Null unbinds. previous receives what GetCurrentContext would have given, in every outcome.
  bool MakeCurrentContext(void* handle, void** previous);
  bool SwapBuffers(void* handle);
  /// Unbinds what is current on the calling thread if it is of this manager.
  void LeaveCurrent();

  /// Runs the work with a context of the library current: on the calling thread where one is, on the service thread
  /// otherwise. False, without having run it, when no context can be had.
  template <class Work>
  bool WithContext(Work&& work) {
    if (CurrentContext() != nullptr) {
      const DriverTurn turn;
      work();
      return true;
    }
    bool ran = false;
    service_.Run([&] {
      if (!EnterService()) return;
      const DriverTurn turn;
      work();
      ran = true;
    });
    return ran;
  }
  /// On the service thread: makes its own context current there. False when it can't be created.
  bool EnterService();

 private:
  /// One of the map.
  struct Entry {
    QVGContextData* context;
    uint64_t released;  // when, counted in releases; 0: handed out
  };

  bool _MakeCurrentContext(QVGContextData* context);
  QVGContextData* _FindCurrent() const;
  std::vector<Entry>::iterator _Find(void* handle);
  /// Takes the record out of the map; false when it is not there.
  bool _TakeOut(void* handle, size_t* left);
  QVGContextData* _TakeIdle();
  /// Destroys a record that has been taken out of the map. Takes no lock.
  void _Destroy(QVGContextData* context) noexcept;
  void _DestroyAll();

  ServiceThread& service_;
  QVGContextData* mainContext_ = nullptr;     // never in the map
  QVGContextData* serviceContext_ = nullptr;  // nor is this one; used on the service thread alone
  std::vector<Entry> contexts_;
  uint64_t releases_ = 0;
  std::mutex contextsMutex_;
};

}  // namespace qvg
