#include "base/glContext.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/contextState.h"
#include "utils/log.h"

namespace qvg {

namespace {

constexpr char kNotInMap[] = "context not fond in map.";

void LogCount(size_t count) { LogShort(kLogInfo, fmt::format("Context count={}", count)); }

}  // namespace

QVGLContextManager::~QVGLContextManager() { Uninit(); }

bool QVGLContextManager::Init() {
  std::lock_guard poolLock(poolMutex_);
  std::lock_guard lock(contextsMutex_);
  _DestroyAll();
  mainContext_ = _CreateDummyGLContext(nullptr, true, nullptr);
  return mainContext_ != nullptr;
}

void QVGLContextManager::Uninit() {
  std::lock_guard poolLock(poolMutex_);
  std::lock_guard lock(contextsMutex_);
  _DestroyAll();
}

void QVGLContextManager::DestroyOthers(void* kept) {
  std::lock_guard poolLock(poolMutex_);
  std::lock_guard lock(contextsMutex_);
  pool_.clear();
  for (auto entry = contexts_.begin(); entry != contexts_.end();) {
    if (entry->second == kept) {
      ++entry;
      continue;
    }
    DestroyContextData(entry->second);
    entry = contexts_.erase(entry);
  }
}

void QVGLContextManager::_DestroyAll() {
  pool_.clear();
  for (const auto& [key, context] : contexts_) DestroyContextData(context);
  contexts_.clear();
  if (mainContext_ != nullptr) DestroyContextData(mainContext_);
  mainContext_ = nullptr;
}

void* QVGLContextManager::CreateSharedContext(void* /*reserved*/, void* window, bool useDummyWindow) {
  std::lock_guard lock(contextsMutex_);
  QVGContextData* context = nullptr;
  if (mainContext_ != nullptr && HasGLContext(*mainContext_)) {
    context = _CreateDummyGLContext(useDummyWindow ? nullptr : window, false, mainContext_);
    if (context != nullptr && !ShareContexts(*mainContext_, *context)) {
      DestroyContextData(context);
      context = nullptr;
    }
  }
  if (context != nullptr) contexts_.emplace(context, context);
  LogCount(contexts_.size());
  return context;
}

void QVGLContextManager::_Destroy(ContextMap::iterator found) {
  QVGContextData& context = *found->second;
  // A window may be gone; a context that is current elsewhere can't be had.
  if (IsContextCurrent(context)) {
    DropContextObjects();
  } else if (IsHidden(context)) {
    const ContextBinding previous = CurrentBinding();
    if (MakeContextCurrent(context)) DropContextObjects();
    RestoreBinding(previous);
  }
  pool_.remove(found->second);
  DestroyContextData(found->second);
  contexts_.erase(found);
  LogCount(contexts_.size());
}

bool QVGLContextManager::DestroySharedContext(void*& handle) {
  std::lock_guard poolLock(poolMutex_);
  std::lock_guard lock(contextsMutex_);
  const auto found = contexts_.find(static_cast<QVGContextData*>(handle));
  if (found == contexts_.end()) {
    LogLocated(kLogError, kNotInMap);
    return false;
  }
  _Destroy(found);
  handle = nullptr;
  return true;
}

void* QVGLContextManager::GetSharedContext() {
  std::lock_guard poolLock(poolMutex_);
  while (!pool_.empty()) {
    QVGContextData* const context = pool_.front();
    pool_.pop_front();
    if (IsWindowValid(*context)) return context;
    std::lock_guard lock(contextsMutex_);
    _Destroy(contexts_.find(context));
  }
  return CreateSharedContext(nullptr, nullptr, true);
}

bool QVGLContextManager::ReleaseSharedContext(void*& handle) {
  if (handle == nullptr) return true;
  // Outside the locks: it may wait for a program that is being compiled.
  if (handle == GetCurrentContext()) DepartContext();
  std::lock_guard poolLock(poolMutex_);
  std::lock_guard lock(contextsMutex_);
  const auto found = contexts_.find(static_cast<QVGContextData*>(handle));
  if (found == contexts_.end()) {
    LogLocated(kLogError, kNotInMap);
    return false;
  }
  QVGContextData* const context = found->second;
  if (!IsWindowValid(*context)) {
    _Destroy(found);
  } else {
    // Left current here it could not be used by the next thread that takes it.
    if (IsContextCurrent(*context)) ReleaseCurrentContext();
    if (std::find(pool_.begin(), pool_.end(), context) == pool_.end()) pool_.push_back(context);
  }
  handle = nullptr;
  return true;
}

QVGContextData* QVGLContextManager::_FindCurrent() const {
  const auto found =
      std::find_if(contexts_.begin(), contexts_.end(), [](const auto& item) { return IsContextCurrent(*item.second); });
  return found == contexts_.end() ? nullptr : found->second;
}

bool QVGLContextManager::IsLive(void* handle) {
  std::lock_guard lock(contextsMutex_);
  return contexts_.contains(static_cast<QVGContextData*>(handle));
}

void* QVGLContextManager::GetCurrentContext() {
  std::lock_guard lock(contextsMutex_);
  return _FindCurrent();
}

bool QVGLContextManager::MakeCurrentContext(void* handle, void** previous) {
  const auto* const wanted = static_cast<const QVGContextData*>(handle);
  if (wanted == nullptr || !IsContextCurrent(*wanted)) DepartContext();
  {
    std::lock_guard lock(contextsMutex_);
    if (!_MakeCurrentContext(static_cast<QVGContextData*>(handle), previous)) return false;
  }
  FlushContextObjects();
  return true;
}

bool QVGLContextManager::_MakeCurrentContext(QVGContextData* context, void** previous) {
  QVGContextData* const current = _FindCurrent();
  if (previous != nullptr) *previous = current;
  if (context == nullptr) {
    if (ReleaseCurrentContext()) return true;
    LogShort(kLogWarning, fmt::format("QVGLContextManager::_MakeCurrentContext to null, failed: Getlasterror = {}",
                                      LastContextError()));
    return false;
  }
  if (!HasGLContext(*context)) return false;
  if (IsContextCurrent(*context) || MakeContextCurrent(*context)) return true;
  LogShort(kLogError,
           fmt::format("QVGLContextManager::_MakeCurrentContext failed: Getlasterror = {}", LastContextError()));
  return false;
}

bool QVGLContextManager::SwapBuffers(void* handle) {
  QVGContextData* context = nullptr;
  {
    std::lock_guard lock(contextsMutex_);
    const auto found = contexts_.find(static_cast<QVGContextData*>(handle));
    if (found == contexts_.end()) {
      LogLocated(kLogError, kNotInMap);
      return false;
    }
    context = found->second;
  }
  // Outside the lock: waiting for the display stalls no other thread.
  return SwapContextBuffers(*context);
}

TemporaryContext::TemporaryContext(QVGLContextManager& manager)
    : manager_(manager),
      previous_(CurrentBinding()),
      previousIsOwn_(CurrentContext() != nullptr),
      context_(manager.CreateSharedContext(nullptr, nullptr, true)) {
  void* previous = nullptr;
  valid_ = context_ != nullptr && manager_.MakeCurrentContext(context_, &previous);
}

void TemporaryContext::OthersGo() {
  if (previousIsOwn_) previous_ = {};
}

TemporaryContext::~TemporaryContext() {
  if (valid_) {
    DepartContext();
    RestoreBinding(previous_);
    FlushContextObjects();
  }
  if (context_ != nullptr) manager_.DestroySharedContext(context_);
}

}  // namespace qvg
