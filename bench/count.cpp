#include "bench/count.h"

#include <EGL/egl.h>
#include <dlfcn.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "bench/library.h"
#include "glCalls.h"
#include "heapCalls.h"

namespace {

bool counting = false;

}  // namespace

// Stands before the EGL library's: what the library under test loads goes through here.
extern "C" __attribute__((visibility("default"))) __eglMustCastToProperFunctionPointerType eglGetProcAddress(
    const char* name) {
  using Lookup = decltype(&eglGetProcAddress);
  static const auto next = reinterpret_cast<Lookup>(dlsym(RTLD_NEXT, "eglGetProcAddress"));
  const auto function = next(name);
  return counting ? qvg::test::CountedProc(name, function) : function;
}

namespace bench {

namespace {

constexpr Size kSize = {640, 360};
// Caches and pools are full after some frames; of the others the worst one counts.
constexpr int kWarmUp = 8;
constexpr int kFrames = 8;

struct Operation {
  const char* name;
  qvg::test::CallCounts counts;
  int allocations = 0;
  qvg::test::CallCounts most;  // to reach
  int mostAllocations = 0;
};

class SteadyFrame {
 public:
  explicit SteadyFrame(const QVGGLRendererInterface& table) : table_(table) {
    context_ = table_.GetSharedContext();
    Check(table_.MakeCurrentContext(context_, nullptr), "MakeCurrentContext");
    source_ = Describe(PicturesOf(kSize), kSize, QVG_FORMAT_NV12);
    canvas_ = table_.AcquireTexture(kSize.width, kSize.height);
    matte_ = table_.UploadPixelBufferToNewTexture(&source_, false, false, {});
    target_ = table_.CreateFrameBuffer(kSize.width, kSize.height, false, false);
    Check(matte_ != nullptr && table_.BindTextureToFrameBuffer(target_, canvas_), "BindTextureToFrameBuffer");
    effect_ = MakeEffect(table_, kKeyOnly, kSize);
    blended_.matteTexture = matte_;
    blended_.matteType = QVG_MATTE_LUMA;
    blended_.blendType = QVG_BLEND_MULTIPLY;
    blended_.opacity = 1;
    for (double& scale : blended_.scale) scale = 1;
  }

  ~SteadyFrame() {
    table_.DestroyEffect(&effect_);
    table_.DestroyFrameBuffer(&target_);
    for (QVGTexture** texture : {&canvas_, &matte_}) table_.ReleaseTexture(texture);
    table_.ReleaseSharedContext(&context_);
  }

  void Run() {
    operation_ = 0;
    QVGTexture* texture = nullptr;
    QVGTexture* shown = nullptr;
    QVGPixelBuffer out = {};
    QVGPixelBuffer* handle = &out;
    _Count([&] {
      QVGTexture* acquired = table_.AcquireTexture(kSize.width, kSize.height);
      return table_.ReleaseTexture(&acquired), true;
    });
    _Count([&] { return (texture = table_.UploadPixelBufferToNewTexture(&source_, false, false, {})) != nullptr; });
    _Count([&] { return table_.DrawTexture(texture, target_, nullptr); });
    _Count([&] { return table_.DrawTexture(texture, target_, &blended_); });
    _Count([&] { return (shown = table_.ApplyEffect(effect_, texture)) != nullptr; });
    _Count([&] {
      return table_.TextureToNV12PixelBuffer(shown, &out, false) && (table_.ReleasePixelBuffer(&handle), true);
    });
    handle = &out;
    _Count([&] {
      return table_.TextureToRGBAPixelBuffer(shown, &out, false) && (table_.ReleasePixelBuffer(&handle), true);
    });
    table_.ReleaseTexture(&texture);
    table_.ReleaseTexture(&shown);
    ++frame_;
  }

  const std::vector<Operation>& Operations() const { return operations_; }

 private:
  template <class Function>
  void _Count(Function function) {
    const qvg::test::CallCounts callsBefore = qvg::test::ThreadCalls();
    const int allocationsBefore = qvg::test::ThreadAllocations();
    const bool ok = function();
    const qvg::test::CallCounts calls = qvg::test::ThreadCalls() - callsBefore;
    const int allocations = qvg::test::ThreadAllocations() - allocationsBefore;
    Operation& operation = operations_[operation_++];
    Check(ok, operation.name);
    if (frame_ < kWarmUp) return;
    qvg::test::CallCounts& worst = operation.counts;
    worst.calls = std::max(worst.calls, calls.calls);
    worst.errorChecks = std::max(worst.errorChecks, calls.errorChecks);
    worst.objects = std::max(worst.objects, calls.objects);
    worst.syncs = std::max(worst.syncs, calls.syncs);
    operation.allocations = std::max(operation.allocations, allocations);
  }

  const QVGGLRendererInterface& table_;
  QVGGLContext* context_ = nullptr;
  QVGPixelBuffer source_ = {};
  QVGTexture* canvas_ = nullptr;
  QVGTexture* matte_ = nullptr;
  QVGFrameBuffer* target_ = nullptr;
  QVGEffect* effect_ = nullptr;
  QVGDrawTextureParams blended_ = {};
  int frame_ = 0;
  size_t operation_ = 0;
  std::vector<Operation> operations_ = {
      {"acquire and release a texture", {}, 0, {2, 0, 0, 0}, 0},
      {"upload NV12 to a new texture", {}, 0, {60, 2, 0, 0}, 2},
      {"draw, plain", {}, 0, {32, 1, 0, 0}, 2},
      {"draw with blend and matte", {}, 0, {45, 1, 0, 0}, 2},
      {"effect with key and background", {}, 0, {55, 1, 0, 0}, 2},
      {"NV12 read-back and release", {}, 0, {65, 2, 0, 0}, 2},
      {"RGBA read-back and release", {}, 0, {25, 1, 0, 0}, 2},
  };
};

std::string Text(const qvg::test::CallCounts& counts, int allocations) {
  std::string text;
  for (const int count : {counts.calls, counts.errorChecks, counts.objects, counts.syncs}) {
    text += std::to_string(count) + " / ";
  }
  return text + std::to_string(allocations);
}

}  // namespace

int CountOperations(std::FILE* table) {
  counting = true;
  const QVGGLRendererInterface* library = StartLibrary();
  std::vector<Operation> operations;
  {
    SteadyFrame frame(*library);
    for (int i = 0; i < kWarmUp + kFrames; ++i) frame.Run();
    operations = frame.Operations();
  }
  QVG_ReleaseGLRendererInterface(&library);
  Check(operations.back().counts.calls > 0, "Counting");
  std::printf("%-32s %-24s %s\n", "operation", "counted", "at most");
  std::printf("(GL calls / of them glGetError / making or deleting objects / fences and flushes / allocations)\n");
  for (const Operation& operation : operations) {
    const std::string counted = Text(operation.counts, operation.allocations);
    const std::string most = Text(operation.most, operation.mostAllocations);
    std::printf("%-32s %-24s %s\n", operation.name, counted.c_str(), most.c_str());
    if (table != nullptr) std::fprintf(table, "%s\t%s\t%s\n", operation.name, counted.c_str(), most.c_str());
  }
  return 0;
}

}  // namespace bench
