#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "base/serviceThread.h"
#include "context/callGate.h"
#include "pool/resourceCache.h"
#include "qvGLRenderer/qvGLRenderer.h"
#include "utils/neverDestroyed.h"

namespace qvg {

struct Runtime;

/// The one process-wide object behind the function table: starts the runtime at the first use, tears it down, and
/// starts it again, any number of times.
class QVGContext {
 public:
  static constexpr int32_t kRequiredMajor = 4;
  static constexpr int32_t kRequiredMinor = 2;

  static QVGContext& GetInstance();

  QVGContext(const QVGContext&) = delete;
  QVGContext& operator=(const QVGContext&) = delete;

  /// False when nothing is running afterwards, or the process is ending.
  bool Init();
  /// Waits for calls of other threads that are in progress. Inside a call of the table it does nothing but log a line,
  /// and nothing at all while the process ends, which frees everything.
  void Uninit();

  void SetConfig(const QVGConfig& config);

  bool IsGLVersionSupported();
  void GetGLVersion(int32_t* major, int32_t* minor);
  static void GetRequiredGLVersion(int32_t* major, int32_t* minor);

  /// A call of the table in progress; the runtime stays for as long.
  class Use {
   public:
    /// @param start start the runtime when it isn't running.
    Use(QVGContext& context, bool start);
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    /// Null when nothing runs.
    Runtime* Get() const { return runtime_; }

   private:
    QVGContext& context_;
    Runtime* runtime_ = nullptr;
  };

 private:
  template <class T>
  friend class NeverDestroyed;
  QVGContext() = default;
  // Never destroyed: the host may end the process without a release, and no GL may run then.
  ~QVGContext() = default;

  static void _OnExit();
  bool _Start();
  bool _Trim();

  std::atomic<Runtime*> running_ = nullptr;
  CallGate gate_;
  std::mutex mutex_;
  ServiceThread service_;
  char configText_[2048] = {};
  ResourceCache::Callbacks callbacks_;
};

}  // namespace qvg
