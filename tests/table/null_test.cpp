// What every slot answers to null handles, unknown names and values that it refuses.
#include "support/table_test.h"

namespace qvg::test {
namespace {

using NullTest = TableTest;

TEST_F(NullTest, ContextSlots) {
  gl_.ReleaseSharedContext(nullptr);
  gl_.DestroySharedContext(nullptr);
  gl_.GetGLVersion(nullptr, nullptr);
  gl_.GetRequiredGLVersion(nullptr, nullptr);
  gl_.Reserved();
}

TEST_F(NullTest, TextureSlots) {
  const double color[4] = {};
  const Frame frame = MakeFrame(QVG_FORMAT_RGBA, 4, 4, 1);
  const TexturePtr texture = Upload(frame);
  EXPECT_EQ(gl_.CloneTexture(nullptr), nullptr);
  EXPECT_FALSE(gl_.SetTextureChannelOrder(nullptr, 1));
  EXPECT_EQ(gl_.UploadPixelBufferToNewTexture(nullptr, false, false, {}), nullptr);
  EXPECT_FALSE(gl_.UploadPixelBufferToTexture(nullptr, &frame.buffer, false, false, {}));
  EXPECT_FALSE(gl_.UploadPixelBufferToTexture(texture.get(), nullptr, false, false, {}));
  EXPECT_FALSE(gl_.ClearTexture(nullptr, color));
  EXPECT_FALSE(gl_.ClearTexture(texture.get(), nullptr));
  for (const auto get : {gl_.GetTextureWidth, gl_.GetTextureHeight, gl_.GetTextureAllocatedWidth,
                         gl_.GetTextureAllocatedHeight, gl_.GetTextureRotation, gl_.GetTextureId})
    EXPECT_EQ(get(nullptr), 0u);
  EXPECT_FALSE(gl_.GetTextureFlipped(nullptr));
  EXPECT_EQ(gl_.GetTextureId(nullptr), 0u);
  EXPECT_FALSE(gl_.SetTextureSize(nullptr, 1, 1));
  EXPECT_FALSE(gl_.SetTextureOrigin(nullptr, 1, 1));
  EXPECT_FALSE(gl_.SetTextureFlipped(nullptr, true));
  EXPECT_FALSE(gl_.SetTextureRotation(nullptr, 1));
  gl_.ReleaseTexture(nullptr);
}

TEST_F(NullTest, ReadBackSlots) {
  const TexturePtr texture = Upload(Picture(4, 4, 1));
  QVGPixelBuffer out = {};
  EXPECT_FALSE(gl_.TextureToYUV420PixelBuffer(nullptr, false, false, &out));
  EXPECT_FALSE(gl_.TextureToYUV420PixelBuffer(texture.get(), false, false, nullptr));
  for (const auto readBack :
       {gl_.TextureToNV12PixelBuffer, gl_.TextureToRGBAPixelBuffer, gl_.TextureToBGRAPixelBuffer}) {
    EXPECT_FALSE(readBack(nullptr, &out, false));
    EXPECT_FALSE(readBack(texture.get(), nullptr, false));
  }
  EXPECT_EQ(out.plane[0], nullptr);
}

TEST_F(NullTest, FrameBufferSlots) {
  const double color[4] = {};
  const TexturePtr texture = Upload(Picture(4, 4, 1));
  FrameBufferPtr frameBuffer(gl_.CreateFrameBuffer(4, 4, false, false));
  EXPECT_EQ(gl_.CreateFrameBufferFromDesc(nullptr), nullptr);
  EXPECT_FALSE(gl_.BindTextureToFrameBuffer(nullptr, texture.get()));
  EXPECT_FALSE(gl_.BindTextureToFrameBuffer(frameBuffer.get(), nullptr));
  EXPECT_FALSE(gl_.ClearFrameBuffer(nullptr, color));
  EXPECT_FALSE(gl_.ClearFrameBuffer(frameBuffer.get(), nullptr));
  EXPECT_FALSE(gl_.DrawTexture(nullptr, frameBuffer.get(), nullptr));
  EXPECT_FALSE(gl_.DrawTexture(texture.get(), nullptr, nullptr));
  QVGFrameBuffer* handle = frameBuffer.release();
  EXPECT_TRUE(gl_.DestroyFrameBuffer(&handle));
  EXPECT_EQ(handle, nullptr);
  EXPECT_FALSE(gl_.DestroyFrameBuffer(&handle));
  EXPECT_FALSE(gl_.DestroyFrameBuffer(nullptr));
}

TEST_F(NullTest, WindowSlots) {
  ExpectErrorLines();
  const double color[3] = {};
  EXPECT_EQ(gl_.CreateWndDrawer(nullptr), nullptr);
  EXPECT_EQ(gl_.CreateWndDrawer(reinterpret_cast<void*>(uintptr_t{0x7FFFFFF1})), nullptr);
  EXPECT_EQ(gl_.GetWndDrawerHandle(nullptr), nullptr);
  EXPECT_FALSE(gl_.ClearWnd(nullptr, color, nullptr, nullptr));
  EXPECT_FALSE(gl_.SetWndDrawerSize(nullptr, 10, 10));
  EXPECT_FALSE(gl_.DrawTextureToWnd(nullptr, Upload(Picture(4, 4, 1)).get()));
  QVGWndDrawer* none = nullptr;
  EXPECT_TRUE(gl_.DestroyWndDrawer(&none));
  EXPECT_TRUE(gl_.DestroyWndDrawer(nullptr));
}

TEST_F(NullTest, EffectsNeedAContext) {
  gl_.MakeCurrentContext(nullptr, nullptr);
  EXPECT_EQ(gl_.CreateEffect("general_eff"), nullptr);
  gl_.MakeCurrentContext(context_->handle, nullptr);
  // Nothing unusable is left for later ones.
  QVGEffect* effect = gl_.CreateEffect("general_eff");
  QVGParamValue on = {};
  on.value.integer = 1;
  const Image picture = Picture(8, 6, 1, true);
  ASSERT_TRUE(gl_.SetEffectParameter(effect, "enable_color", &on));
  const TexturePtr input = Upload(picture), output(gl_.ApplyEffect(effect, input.get()));
  Errors errors;
  EXPECT_EQ(Compare(FlippedRows(picture), Content(output.get()), 1.01, errors), "");
  gl_.DestroyEffect(&effect);
}

TEST_F(NullTest, EffectSlots) {
  const TexturePtr first = Upload(Picture(4, 4, 1)), second = Upload(Picture(4, 4, 2));
  const QVGParamDescriptor* parameters = nullptr;
  const QVGParamValue value = {};
  uint32_t rows = 0;
  int32_t count = -1;
  const char* names[16];
  EXPECT_FALSE(gl_.GetEffectNames(1, names, 16, nullptr));
  EXPECT_FALSE(gl_.GetEffectNames(1, nullptr, 16, &count));
  EXPECT_EQ(count, 1);
  for (const char* name : {static_cast<const char*>(nullptr), "", "no such effect"}) {
    SCOPED_TRACE(name == nullptr ? "null" : name);
    EXPECT_FALSE(gl_.HasEffect(name));
    EXPECT_EQ(gl_.GetEffectType(name), 0u);
    EXPECT_EQ(gl_.QueryEffect(name, nullptr), nullptr);
    EXPECT_FALSE(gl_.GetEffectParameterTable(name, &parameters, &rows));
    EXPECT_FALSE(gl_.GetEffectParameterTable(name, &parameters, nullptr));
    EXPECT_EQ(gl_.CreateEffect(name), nullptr);
  }
  QVGEffect* none = nullptr;
  EXPECT_FALSE(gl_.SetEffectParameter(none, "key", &value));
  EXPECT_EQ(gl_.ApplyEffect(none, first.get()), first.get());
  EXPECT_EQ(gl_.ApplyEffect(none, nullptr), nullptr);
  EXPECT_EQ(gl_.ApplyEffectWith(none, first.get(), second.get(), 0.5f), first.get());
  EXPECT_TRUE(gl_.DestroyEffect(&none));
  EXPECT_TRUE(gl_.DestroyEffect(nullptr));
}

}  // namespace
}  // namespace qvg::test
