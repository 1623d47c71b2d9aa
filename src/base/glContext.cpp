#include "base/glContext.h"

#include <algorithm>

#include "base/swapPacer.h"
#include "utils/format.h"
#include "utils/log.h"

namespace qvg {

namespace {

constexpr char kNotInMap[] = "context not fond in map.";

void LogCount(size_t count) noexcept {
  try {
    LogShort(kLogInfo, Format("Context count={}", count));
  } catch (...) {  // Lines are not worth a failure.
  }
}

}  // namespace

QVGLContextManager::~QVGLContextManager() { Uninit(); }

bool QVGLContextManager::Init() {
  Uninit();
  // Loading needs the context to be current, and the calling thread may have another one current that can't be unbound.
  service_.Run([this] { mainContext_ = _CreateDummyGLContext(nullptr, true, nullptr); });
  return mainContext_ != nullptr;
}

void QVGLContextManager::Uninit() {
  if (mainContext_ == nullptr) return;
  LeaveCurrent();
  service_.Run([this] { _DestroyAll(); });
}

void QVGLContextManager::_DestroyAll() {
  DestroyOthers();
  if (serviceContext_ != nullptr) {
    // It has drawn, too.
    if (IsContextCurrent(*serviceContext_)) DropContextObjects();
    DestroyContextData(serviceContext_);
  }
  serviceContext_ = nullptr;
  std::lock_guard lock(contextsMutex_);
  if (mainContext_ != nullptr) DestroyContextData(mainContext_);
  mainContext_ = nullptr;
}

void QVGLContextManager::DestroyOthers() {
  std::lock_guard lock(contextsMutex_);
  for (const Entry& entry : contexts_) DestroyContextData(entry.context);
  contexts_.clear();
}

bool QVGLContextManager::EnterService() {
  if (serviceContext_ == nullptr) {
    std::lock_guard lock(contextsMutex_);
    if (mainContext_ == nullptr) return false;
    serviceContext_ = _CreateDummyGLContext(nullptr, false, mainContext_);
    if (serviceContext_ != nullptr && !ShareContexts(*mainContext_, *serviceContext_)) {
      DestroyContextData(serviceContext_);
      serviceContext_ = nullptr;
    }
  }
  if (serviceContext_ == nullptr) return false;
  if (!IsContextCurrent(*serviceContext_) && !MakeContextCurrent(*serviceContext_)) return false;
  FlushContextObjects();
  return true;
}

void* QVGLContextManager::CreateSharedContext(void* /*reserved*/, void* window, bool useDummyWindow) {
  std::lock_guard lock(contextsMutex_);
  QVGContextData* context = nullptr;
  if (mainContext_ != nullptr && HasGLContext(*mainContext_)) {
    contexts_.reserve(contexts_.size() + 1);
    context = _CreateDummyGLContext(useDummyWindow ? nullptr : window, false, mainContext_);
    if (context != nullptr && !ShareContexts(*mainContext_, *context)) {
      DestroyContextData(context);
      context = nullptr;
    }
  }
  if (context != nullptr) contexts_.push_back({context, 0});
  LogCount(contexts_.size());
  return context;
}

std::vector<QVGLContextManager::Entry>::iterator QVGLContextManager::_Find(void* handle) {
  return std::find_if(contexts_.begin(), contexts_.end(), [&](const Entry& entry) { return entry.context == handle; });
}

bool QVGLContextManager::_TakeOut(void* handle, size_t* left) {
  std::lock_guard lock(contextsMutex_);
  const auto found = _Find(handle);
  if (found == contexts_.end()) return false;
  contexts_.erase(found);
  *left = contexts_.size();
  return true;
}

void QVGLContextManager::_Destroy(QVGContextData* context) noexcept {
  const auto destroy = [context](bool drop) {
    const DriverTurn turn;
    if (drop) DropContextObjects();
    DestroyContextData(context);
  };
  if (IsContextCurrent(*context)) return destroy(true);
  // Making a context current on a window that is gone may block forever.
  if (!IsWindowValid(*context)) return destroy(false);
  try {
    service_.Run([&] {
      const ContextBinding previous = CurrentBinding();
      // Fails for one that is current on another thread.
      destroy(MakeContextCurrent(*context));
      RestoreBinding(previous);
    });
  } catch (...) {  // There is no thread to be had.
    destroy(false);
  }
}

bool QVGLContextManager::DestroySharedContext(void*& handle) {
  size_t left = 0;
  if (!_TakeOut(handle, &left)) {
    LogLocated(kLogError, kNotInMap);
    return false;
  }
  _Destroy(static_cast<QVGContextData*>(std::exchange(handle, nullptr)));
  LogCount(left);
  return true;
}

QVGContextData* QVGLContextManager::_TakeIdle() {
  std::lock_guard lock(contextsMutex_);
  const auto oldest = std::min_element(contexts_.begin(), contexts_.end(), [](const Entry& a, const Entry& b) {
    // Minus one, the contexts that are handed out sort last.
    return a.released - 1 < b.released - 1;
  });
  if (oldest == contexts_.end() || oldest->released == 0) return nullptr;
  oldest->released = 0;
  return oldest->context;
}

void* QVGLContextManager::GetSharedContext() {
  while (QVGContextData* const idle = _TakeIdle()) {
    if (IsWindowValid(*idle)) return idle;
    void* handle = idle;
    DestroySharedContext(handle);
  }
  return CreateSharedContext(nullptr, nullptr, true);
}

bool QVGLContextManager::ReleaseSharedContext(void*& handle) {
  if (handle == nullptr) return true;
  auto* const context = static_cast<QVGContextData*>(handle);
  if (!IsLive(handle)) {
    LogLocated(kLogError, kNotInMap);
    return false;
  }
  if (!IsHidden(*context) || !IsWindowValid(*context)) return DestroySharedContext(handle);
  // If it stayed current here, the next thread to take it could not use it.
  if (IsContextCurrent(*context)) {
    const DriverTurn turn;
    DepartContext();
    ReleaseCurrentContext();
  }
  std::lock_guard lock(contextsMutex_);
  if (const auto found = _Find(handle); found != contexts_.end() && found->released == 0) {
    found->released = ++releases_;
  }
  handle = nullptr;
  return true;
}

QVGContextData* QVGLContextManager::_FindCurrent() const {
  const auto found = std::find_if(contexts_.begin(), contexts_.end(),
                                  [](const Entry& entry) { return IsContextCurrent(*entry.context); });
  return found == contexts_.end() ? nullptr : found->context;
}

bool QVGLContextManager::IsLive(void* handle) {
  std::lock_guard lock(contextsMutex_);
  return _Find(handle) != contexts_.end();
}

ContextId QVGLContextManager::IdOf(void* handle) {
  std::lock_guard lock(contextsMutex_);
  const auto found = _Find(handle);
  return found != contexts_.end() ? ContextIdOf(NativeContext(*found->context)) : 0;
}

void* QVGLContextManager::GetCurrentContext() {
  std::lock_guard lock(contextsMutex_);
  return _FindCurrent();
}

bool QVGLContextManager::MakeCurrentContext(void* handle, void** previous) {
  auto* const wanted = static_cast<QVGContextData*>(handle);
  const DriverTurn turn;
  QVGContextData* current = nullptr;
  {
    std::lock_guard lock(contextsMutex_);
    current = _FindCurrent();
  }
  if (previous != nullptr) *previous = current;
  if (wanted == nullptr || !IsContextCurrent(*wanted)) DepartContext();
  if (!_MakeCurrentContext(wanted)) return false;
  FlushContextObjects();
  return true;
}

bool QVGLContextManager::_MakeCurrentContext(QVGContextData* context) {
  if (context == nullptr) {
    if (ReleaseCurrentContext()) return true;
    LogShort(kLogWarning,
             Format("QVGLContextManager::_MakeCurrentContext to null, failed: Getlasterror = {}", LastContextError()));
    return false;
  }
  if (!HasGLContext(*context)) return false;
  if (IsContextCurrent(*context) || MakeContextCurrent(*context)) return true;
  LogShort(kLogError, Format("QVGLContextManager::_MakeCurrentContext failed: Getlasterror = {}", LastContextError()));
  return false;
}

void QVGLContextManager::LeaveCurrent() {
  if (GetCurrentContext() == nullptr) return;
  const DriverTurn turn;
  DepartContext();
  ReleaseCurrentContext();
}

bool QVGLContextManager::SwapBuffers(void* handle) {
  if (!IsLive(handle)) {
    LogLocated(kLogError, kNotInMap);
    return false;
  }
  auto& context = *static_cast<QVGContextData*>(handle);
  const int interval = IsHidden(context) ? 0 : SwapPacer::OfThread().IntervalFor(handle);
  const DriverTurn turn;
  // Outside the lock: waiting for the display stalls no other thread.
  return SwapContextBuffers(context, interval);
}

}  // namespace qvg
