#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "pool/resourceCache.h"
#include "qvGLRenderer/qvGLRenderer.h"
#include "utils/neverDestroyed.h"

namespace qvg {

struct Runtime;

/// The one process-wide object behind the function table: starts what runs behind it at the first use, tears it down,
/// and starts it again, any number of times.
class QVGContext {
 public:
  static constexpr int32_t kRequiredMajor = 4;
  static constexpr int32_t kRequiredMinor = 2;

  /// The instance, started when it is not running. When starting fails the next call tries again.
  static QVGContext& GetInstance();

  QVGContext(const QVGContext&) = delete;
  QVGContext& operator=(const QVGContext&) = delete;

  void Init();
  void Uninit();

  void SetConfig(const QVGConfig& config);

  bool IsGLVersionSupported() const;
  void GetGLVersion(int32_t* major, int32_t* minor) const;
  static void GetRequiredGLVersion(int32_t* major, int32_t* minor);

  /// What runs; null while nothing does.
  Runtime* Running() const { return running_; }
  /// The same, when the driver has the entry points that rendering needs; else null.
  Runtime* Rendering() const;

 private:
  template <class T>
  friend class NeverDestroyed;
  QVGContext() = default;
  // Never destroyed: the host may end the process without releasing, and nothing of GL may run then.
  ~QVGContext() = default;

  std::atomic<Runtime*> running_ = nullptr;
  std::mutex mutex_;
  char configText_[2048] = {};
  ResourceCache::Callbacks callbacks_;
};

}  // namespace qvg
