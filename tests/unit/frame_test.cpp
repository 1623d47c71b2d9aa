// What frames cost in the steady state, and frames on drivers that can't do all that Mesa can.
#include <functional>
#include <string_view>

#include "context/runtime.h"
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

class FrameTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(runtime_->Start());
    ASSERT_TRUE(runtime_->contexts.MakeCurrentContext(runtime_->contexts.GetSharedContext(), nullptr));
  }
  void TearDown() override {
    EXPECT_EQ(log_.Take(), "");
    runtime_->contexts.LeaveCurrent();
    service_.Run([this] { runtime_.reset(); });
  }

  Texture* Upload(const QVGPixelBuffer& frame) {
    return UploadPixelBufferToNewTexture(runtime_->frames, &frame, false, false, {});
  }
  void Release(Texture*& texture) { runtime_->textures.Release(texture); }

  ResourceCache::Callbacks callbacks_;
  ServiceThread service_;
  std::optional<Runtime> runtime_{std::in_place, service_, callbacks_, [] {}};
  LogCapture log_;
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
  // Without it a blend copies first; Mesa allocates for copies.
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
      if (round < 3) continue;  // Pools and caches fill.
      EXPECT_LE(counts.calls, operation.calls);
      EXPECT_LE(counts.errorChecks, operation.errorChecks);
      EXPECT_EQ(counts.objects, 0);
      EXPECT_EQ(counts.syncs, 0);
      // One where a blend reads what it draws to: no picture of Mesa's shows that it is missing.
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

/// Lets no frame buffer with a texture of that format be complete, during its life.
class Unrenderable {
 public:
  explicit Unrenderable(GLenum format) {
    format_ = static_cast<GLint>(format);
    original_ = std::exchange(glad_glCheckFramebufferStatus, [](GLenum target) {
      GLint name = 0, internal = 0;
      glGetFramebufferAttachmentParameteriv(target, GL_COLOR_ATTACHMENT0, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME, &name);
      glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(name));
      glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &internal);
      glBindTexture(GL_TEXTURE_2D, 0);
      return internal == format_ ? GLenum{GL_FRAMEBUFFER_UNSUPPORTED} : original_(target);
    });
  }
  ~Unrenderable() { glad_glCheckFramebufferStatus = original_; }

 private:
  static inline GLint format_;
  static inline PFNGLCHECKFRAMEBUFFERSTATUSPROC original_;
};

TEST_F(FrameTest, FormatsThatCannotBeRenderedToAreDrawnInAnother) {
  const Unrenderable rgb(GL_RGB8);
  const FrameServices& frames = runtime_->frames;
  const Frame frame = MakeFrame(QVG_FORMAT_BGR, 21, 13, 1);
  const Frame other = MakeFrame(QVG_FORMAT_BGR, 21, 13, 2);
  const auto read = [&](Texture* texture, bool flip) {
    QVGPixelBuffer out = {};
    EXPECT_TRUE(TextureToRGBAPixelBuffer(frames, texture, &out, flip));
    Image image = out.plane[0] != nullptr ? FromBytes(out.plane[0], 21, 13) : Image();
    ReleasePixelBuffer(frames, out);
    return image;
  };
  Texture* texture = Upload(frame.buffer);
  ASSERT_NE(texture, nullptr);
  const Image picture = read(texture, false);
  EXPECT_EQ(Difference(FlippedRows(picture), read(texture, true)), "");
  Texture* clone = CloneTexture(frames, texture);
  EXPECT_EQ(Difference(picture, read(clone, false)), "");

  // As a target it keeps what is there, and goes on taking frames of its format.
  std::unique_ptr<FrameBuffer> target(CreateFrameBuffer(frames, {21, 13}, Camera::ForCanvas(21, 13)));
  ASSERT_TRUE(BindTextureToFrameBuffer(frames, target.get(), texture));
  EXPECT_EQ(Difference(picture, read(texture, false)), "");
  const double color[4] = {1, 0.2, 0.6, 1};
  EXPECT_TRUE(ClearTexture(frames, texture, color));
  EXPECT_EQ(Difference(Image(21, 13, {1, 0.2, 0.6, 1}), read(texture, false)), "");
  EXPECT_TRUE(DrawTexture(frames, clone, target.get(), nullptr));
  EXPECT_EQ(Difference(picture, read(texture, false)), "");
  EXPECT_TRUE(UploadPixelBufferToTexture(frames, texture, &other.buffer, false, false, {}));
  Texture* fresh = Upload(other.buffer);
  EXPECT_EQ(Difference(read(fresh, false), read(texture, false)), "");
  target.reset();
  for (Texture** each : {&texture, &clone, &fresh}) Release(*each);
}

TEST_F(FrameTest, FrameBuffersThatContextsKeepAreBoundedAndGoWithTheirTextures) {
  std::vector<Texture*> textures;
  for (size_t i = 0; i < 3 * TargetCache::kCapacity; ++i) {
    Texture* texture = textures.emplace_back(runtime_->textures.Acquire(4, 4, GL_RGBA8));
    const double color[4] = {0, 0, 0, 1};
    ASSERT_TRUE(ClearTexture(runtime_->frames, texture, color));
    EXPECT_LE(Live(glIsFramebuffer), static_cast<int>(TargetCache::kCapacity) + 1);
  }
  for (Texture*& texture : textures) Release(texture);
  // Deleted elsewhere, as the pool's own thread does; the next work here drops what belonged to them.
  std::thread([&] {
    void* context = runtime_->contexts.GetSharedContext();
    EXPECT_TRUE(runtime_->contexts.MakeCurrentContext(context, nullptr));
    runtime_->textures.Clear();
    runtime_->contexts.ReleaseSharedContext(context);
  }).join();
  FlushContextObjects();
  EXPECT_EQ(Live(glIsFramebuffer), 0);

  // A context that is left keeps none, so that a texture deleted elsewhere is gone at once.
  Texture* texture = runtime_->textures.Acquire(4, 4, GL_RGBA8);
  const double color[4] = {0, 0, 0, 1};
  ASSERT_TRUE(ClearTexture(runtime_->frames, texture, color));
  EXPECT_EQ(Live(glIsFramebuffer), 1);
  void* const own = runtime_->contexts.GetCurrentContext();
  for (void* context : {static_cast<void*>(nullptr), own}) runtime_->contexts.MakeCurrentContext(context, nullptr);
  EXPECT_EQ(Live(glIsFramebuffer), 0);
  Release(texture);
}

}  // namespace
}  // namespace qvg
