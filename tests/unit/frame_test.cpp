// What frames cost in the steady state, and what contexts keep for later frames.
#include <functional>
#include <string_view>

#include "frame/draw.h"
#include "frame/readBack.h"
#include "frame/upload.h"
#include "glCalls.h"
#include "heapCalls.h"
#include "support/frames.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

class FrameTest : public GLTest {
 protected:
  Texture* Upload(const QVGPixelBuffer& frame) {
    return UploadPixelBufferToNewTexture(runtime_->frames, &frame, false, false, {});
  }
  void Release(Texture*& texture) { runtime_->textures.Release(texture); }
};

TEST_F(FrameTest, SteadyFramesMakeFewCallsAndNothingAnew) {
  const FrameServices& frames = runtime_->frames;
  const Frame frame = MakeFrame(QVG_FORMAT_NV12, 64, 36, 1);
  Texture *texture = nullptr, *shown = nullptr, *canvas = runtime_->textures.Acquire(64, 36, GL_RGBA8);
  Texture* matte = Upload(frame.buffer);
  std::unique_ptr<FrameBuffer> target(CreateFrameBuffer(frames, {64, 36}, Camera::ForCanvas(64, 36)));
  ASSERT_TRUE(BindTextureToFrameBuffer(frames, target.get(), canvas));
  QVGDrawTextureParams params = {};
  params.matteTexture = reinterpret_cast<QVGTexture*>(matte);
  params.blendType = QVG_BLEND_MULTIPLY;
  params.matteType = QVG_MATTE_LUMA;
  params.opacity = params.scale[0] = params.scale[1] = params.scale[2] = 1;
  Effect* effect = runtime_->effects.CreateEffect("general_eff");
  const QVGParamValue on = {QVG_PARAM_INTEGER, {.integer = 1}};
  ASSERT_TRUE(runtime_->effects.SetEffectParameter(effect, "enable_key", &on));
  QVGPixelBuffer out = {};
  const auto release = [&](bool read) {
    ReleasePixelBuffer(frames, out);
    return read;
  };
  // Without it a blend copies first, for which Mesa allocates.
  const bool barrier = glTextureBarrier != nullptr;
  const struct {
    const char* name;
    std::function<bool()> run;
    int calls, errorChecks;
  } operations[] = {
      {"acquire and release",
       [&] {
         Texture* acquired = runtime_->textures.Acquire(64, 36, GL_RGBA8);
         Release(acquired);
         return true;
       },
       2, 0},
      {"upload", [&] { return (texture = Upload(frame.buffer)) != nullptr; }, 60, 2},
      {"draw", [&] { return DrawTexture(frames, texture, target.get(), nullptr); }, 32, 1},
      {"draw with blend and matte", [&] { return DrawTexture(frames, texture, target.get(), &params); },
       barrier ? 45 : 55, barrier ? 1 : 2},
      {"effect", [&] { return (shown = runtime_->effects.ApplyEffect(effect, texture)) != nullptr; }, 55, 1},
      {"read as NV12", [&] { return release(TextureToNV12PixelBuffer(frames, shown, &out, false)); }, 65, 2},
      {"read as RGBA", [&] { return release(TextureToRGBAPixelBuffer(frames, shown, &out, false)); }, 25, 1},
  };
  for (int round = 0; round < 6; ++round) {
    for (const auto& operation : operations) {
      SCOPED_TRACE(operation.name);
      bool ok = false;
      const int allocations = ThreadAllocations();
      CallCounts counts;
      {
        const CountedCalls counted;
        ok = operation.run();
        counts = counted.Counts();
      }
      ASSERT_TRUE(ok);
      if (round < 3) continue;  // Pools and caches are still filling.
      EXPECT_LE(counts.calls, operation.calls);
      EXPECT_LE(counts.errorChecks, operation.errorChecks);
      EXPECT_EQ(counts.objects, 0);
      EXPECT_EQ(counts.syncs, 0);
      // One when a blend reads its target. With Mesa no picture would show that it is missing.
      EXPECT_EQ(counts.barriers, barrier && std::string_view(operation.name).find("blend") != std::string_view::npos);
      if (barrier) {
        EXPECT_LE(ThreadAllocations() - allocations, 2);
      }
    }
    Release(texture);
    Release(shown);
  }
  runtime_->effects.DestroyEffect(effect);
  target.reset();
  Release(canvas);
  Release(matte);
}

TEST_F(FrameTest, FrameBuffersThatContextsKeepAreBoundedAndGoWithTheirTextures) {
  std::vector<Texture*> textures;
  const auto draw = [&] {
    const double color[4] = {0, 0, 0, 1};
    textures.push_back(runtime_->textures.Acquire(4, 4, GL_RGBA8));
    return ClearTexture(runtime_->frames, textures.back(), color);
  };
  for (size_t i = 0; i < 3 * TargetCache::kCapacity; ++i) {
    ASSERT_TRUE(draw());
    EXPECT_LE(Live(glIsFramebuffer), static_cast<int>(TargetCache::kCapacity) + 1);
  }
  for (Texture*& texture : textures) Release(texture);
  // Deleted on another thread, as by the pool; the next work here drops what belonged to them.
  service_.Run([&] {
    EXPECT_TRUE(contexts_.EnterService());
    runtime_->textures.Clear();
  });
  FlushContextObjects();
  EXPECT_EQ(Live(glIsFramebuffer), 0);

  // A context that is left keeps no frame buffers, so that a texture deleted elsewhere is freed at once.
  ASSERT_TRUE(draw());
  EXPECT_EQ(Live(glIsFramebuffer), 1);
  void* const own = contexts_.GetCurrentContext();
  for (void* context : {static_cast<void*>(nullptr), own}) MakeCurrent(context);
  EXPECT_EQ(Live(glIsFramebuffer), 0);
  Release(textures.back());
}

}  // namespace
}  // namespace qvg
