#include "context/context.h"

#include <chrono>
#include <cstring>
#include <memory>

#include "base/glContextPlatform.h"
#include "context/runtime.h"
#include "utils/log.h"
#include "utils/neverDestroyed.h"
#include "utils/slotCall.h"

namespace qvg {

namespace {

// Pauses between the textures that are destroyed in the background.
constexpr std::chrono::milliseconds kTrimPause(10);
// How long calls of other threads get to leave the driver when the process ends.
constexpr std::chrono::milliseconds kExitPatience(500);

}  // namespace

QVGContext& QVGContext::GetInstance() {
  static NeverDestroyed<QVGContext> instance;
  return instance.Get();
}

bool QVGContext::Init() {
  if (running_ != nullptr) return true;
  std::lock_guard lock(mutex_);
  if (running_ != nullptr) return true;
  const GatePass pass(gate_);
  return pass.Inside() && !ProcessIsEnding() && _Start();
}

bool QVGContext::_Start() {
  std::unique_ptr<Runtime> runtime;
  bool started = false;
  const auto end = [&]() noexcept { runtime.reset(); };
  try {
    service_.Run([&] {
      runtime = std::make_unique<Runtime>(service_, callbacks_, [this] { service_.WakeUp(); });
      started = runtime->Start();
      started ? runtime->DrawOnce() : end();
    });
    if (!started) {
      service_.Stop();
      return false;
    }
    service_.SetChore([this] { return _Trim(); }, kTrimPause);
  } catch (...) {
    if (runtime != nullptr) service_.Run(end);
    service_.Stop();
    throw;
  }
  ForgetRefusals();
  running_ = runtime.release();
  // At each start: the driver may have been loaded again, and handlers that were registered later run before its own.
  AtProcessExit(&_OnExit);
  return true;
}

void QVGContext::_OnExit() {
  QVGContext& self = GetInstance();
  self.gate_.Close(kExitPatience);
}

bool QVGContext::_Trim() {
  const Use use(*this, false);
  return use.Get() != nullptr && use.Get()->Trim();
}

void QVGContext::Uninit() {
  if (running_ == nullptr || ProcessIsEnding()) return;
  if (CallGate::IsInside()) {
    LogShort(kLogError, "the library can't be released from within one of its calls.");
    return;
  }
  std::lock_guard lock(mutex_);
  std::unique_ptr<Runtime> ending(running_.exchange(nullptr));
  if (ending == nullptr) return;
  gate_.WaitUntilEmpty();
  service_.SetChore({}, {});
  ending->contexts.LeaveCurrent();
  service_.Run([&] { ending.reset(); });
  service_.Stop();
}

QVGContext::Use::Use(QVGContext& context, bool start) : context_(context) {
  do {
    if (!context.gate_.Enter()) return;
    runtime_ = context.running_;
    if (runtime_ != nullptr) return;
    context.gate_.Leave();
  } while (start && context.Init());
}

QVGContext::Use::~Use() {
  if (runtime_ != nullptr) context_.gate_.Leave();
}

void QVGContext::SetConfig(const QVGConfig& config) {
  std::lock_guard lock(mutex_);
  std::memcpy(configText_, config.text, sizeof configText_ - 1);
  configText_[sizeof configText_ - 1] = '\0';
  callbacks_.decodeImage = config.decodeImage;
  callbacks_.freeImage = config.freeImage;
}

bool QVGContext::IsGLVersionSupported() {
  int32_t major = 0;
  int32_t minor = 0;
  GetGLVersion(&major, &minor);
  return major > kRequiredMajor || (major == kRequiredMajor && minor >= kRequiredMinor);
}

void QVGContext::GetGLVersion(int32_t* major, int32_t* minor) {
  int32_t loadedMajor = 0;
  int32_t loadedMinor = 0;
  const Use use(*this, true);
  if (use.Get() != nullptr) LoadedGLVersion(&loadedMajor, &loadedMinor);
  if (major != nullptr) *major = loadedMajor;
  if (minor != nullptr) *minor = loadedMinor;
}

void QVGContext::GetRequiredGLVersion(int32_t* major, int32_t* minor) {
  if (major != nullptr) *major = kRequiredMajor;
  if (minor != nullptr) *minor = kRequiredMinor;
}

}  // namespace qvg
