#include "context/context.h"

#include <cstring>
#include <memory>

#include "base/gl.h"
#include "context/runtime.h"
#include "utils/neverDestroyed.h"

namespace qvg {

QVGContext& QVGContext::GetInstance() {
  static NeverDestroyed<QVGContext> instance;
  instance.Get().Init();
  return instance.Get();
}

void QVGContext::Init() {
  if (running_ != nullptr) return;
  std::lock_guard lock(mutex_);
  if (running_ != nullptr) return;
  auto runtime = std::make_unique<Runtime>(callbacks_);
  if (runtime->Start()) running_ = runtime.release();
}

void QVGContext::Uninit() {
  if (running_ == nullptr) return;
  std::lock_guard lock(mutex_);
  const std::unique_ptr<Runtime> ending(running_.exchange(nullptr));
  if (ending != nullptr) ending->BeginEnd();
}

Runtime* QVGContext::Rendering() const {
  // Shaders of version 4.10 and immutable textures, which came with 4.2, are what everything is made of.
  constexpr int32_t kLeastMajor = 4;
  constexpr int32_t kLeastMinor = 1;
  int32_t major = 0;
  int32_t minor = 0;
  GetGLVersion(&major, &minor);
  const bool able =
      (major > kLeastMajor || (major == kLeastMajor && minor >= kLeastMinor)) && glTexStorage2D != nullptr;
  return able ? running_.load() : nullptr;
}

void QVGContext::SetConfig(const QVGConfig& config) {
  std::lock_guard lock(mutex_);
  std::memcpy(configText_, config.text, sizeof configText_ - 1);
  configText_[sizeof configText_ - 1] = '\0';
  callbacks_.decodeImage = config.decodeImage;
  callbacks_.freeImage = config.freeImage;
}

bool QVGContext::IsGLVersionSupported() const {
  int32_t major = 0;
  int32_t minor = 0;
  GetGLVersion(&major, &minor);
  return running_ != nullptr && (major > kRequiredMajor || (major == kRequiredMajor && minor >= kRequiredMinor));
}

void QVGContext::GetGLVersion(int32_t* major, int32_t* minor) const {
  int32_t loadedMajor = 0;
  int32_t loadedMinor = 0;
  if (running_ != nullptr) LoadedGLVersion(&loadedMajor, &loadedMinor);
  if (major != nullptr) *major = loadedMajor;
  if (minor != nullptr) *minor = loadedMinor;
}

void QVGContext::GetRequiredGLVersion(int32_t* major, int32_t* minor) {
  if (major != nullptr) *major = kRequiredMajor;
  if (minor != nullptr) *minor = kRequiredMinor;
}

}  // namespace qvg
