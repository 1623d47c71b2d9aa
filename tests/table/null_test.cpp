// Every slot's answer to null handles and to values that it refuses; for effects see effect_test.cpp.
#include "support/table_test.h"

namespace qvg::test {
namespace {

using NullTest = TableTest;

TEST_F(NullTest, EverySlotAnswersItsFailure) {
  ExpectErrorLines();
  const Color color = {};
  const Frame frame = MakeFrame(QVG_FORMAT_RGBA, 4, 4, 1);
  const Texture texture = Upload(frame);
  EXPECT_EQ(gl_.CloneTexture(nullptr), nullptr);
  EXPECT_FALSE(gl_.SetTextureChannelOrder(nullptr, 1));
  for (const int order : {4, -1}) EXPECT_FALSE(gl_.SetTextureChannelOrder(texture.get(), order));
  EXPECT_EQ(gl_.UploadPixelBufferToNewTexture(nullptr, false, false, {}), nullptr);
  EXPECT_FALSE(gl_.UploadPixelBufferToTexture(nullptr, &frame.buffer, false, false, {}));
  EXPECT_FALSE(gl_.UploadPixelBufferToTexture(texture.get(), nullptr, false, false, {}));
  EXPECT_FALSE(gl_.ClearTexture(nullptr, color.data()));
  EXPECT_FALSE(gl_.ClearTexture(texture.get(), nullptr));
  for (const auto get : {gl_.GetTextureWidth, gl_.GetTextureHeight, gl_.GetTextureAllocatedWidth,
                         gl_.GetTextureAllocatedHeight, gl_.GetTextureRotation, gl_.GetTextureId})
    EXPECT_EQ(get(nullptr), 0u);
  EXPECT_FALSE(gl_.GetTextureFlipped(nullptr));
  EXPECT_FALSE(gl_.SetTextureSize(nullptr, 1, 1));
  EXPECT_FALSE(gl_.SetTextureOrigin(nullptr, 1, 1));
  EXPECT_FALSE(gl_.SetTextureFlipped(nullptr, true));
  EXPECT_FALSE(gl_.SetTextureRotation(nullptr, 1));
  gl_.ReleaseTexture(nullptr);

  QVGPixelBuffer out = {};
  EXPECT_FALSE(gl_.TextureToYUV420PixelBuffer(nullptr, false, false, &out));
  EXPECT_FALSE(gl_.TextureToYUV420PixelBuffer(texture.get(), false, false, nullptr));
  for (const auto readBack :
       {gl_.TextureToNV12PixelBuffer, gl_.TextureToRGBAPixelBuffer, gl_.TextureToBGRAPixelBuffer}) {
    EXPECT_FALSE(readBack(nullptr, &out, false));
    EXPECT_FALSE(readBack(texture.get(), nullptr, false));
  }
  EXPECT_EQ(out.plane[0], nullptr);
  // A buffer that no read-back filled, and null.
  uint8_t byte = 0;
  out.plane[0] = &byte;
  QVGPixelBuffer* pointer = &out;
  for (int i = 0; i < 2; ++i) gl_.ReleasePixelBuffer(&pointer);
  EXPECT_EQ(pointer, nullptr);
  gl_.ReleasePixelBuffer(nullptr);

  QVGFrameBuffer* frameBuffer = gl_.CreateFrameBuffer(4, 4, false, false);
  EXPECT_EQ(gl_.CreateFrameBufferFromDesc(nullptr), nullptr);
  EXPECT_FALSE(gl_.BindTextureToFrameBuffer(nullptr, texture.get()));
  EXPECT_FALSE(gl_.BindTextureToFrameBuffer(frameBuffer, nullptr));
  EXPECT_FALSE(gl_.ClearFrameBuffer(nullptr, color.data()));
  EXPECT_FALSE(gl_.ClearFrameBuffer(frameBuffer, nullptr));
  EXPECT_FALSE(gl_.DrawTexture(nullptr, frameBuffer, nullptr));
  EXPECT_FALSE(gl_.DrawTexture(texture.get(), nullptr, nullptr));
  EXPECT_TRUE(gl_.DestroyFrameBuffer(&frameBuffer));
  EXPECT_EQ(frameBuffer, nullptr);
  EXPECT_FALSE(gl_.DestroyFrameBuffer(&frameBuffer));
  EXPECT_FALSE(gl_.DestroyFrameBuffer(nullptr));

  gl_.ReleaseSharedContext(nullptr);
  gl_.DestroySharedContext(nullptr);
  gl_.Reserved();
  EXPECT_EQ(gl_.CreateSharedContext(nullptr, reinterpret_cast<void*>(uintptr_t{0x7FFFFFF1}), false), nullptr);
  EXPECT_EQ(gl_.CreateWndDrawer(nullptr), nullptr);
  EXPECT_EQ(gl_.GetWndDrawerHandle(nullptr), nullptr);
  EXPECT_FALSE(gl_.ClearWnd(nullptr, color.data(), nullptr, nullptr));
  EXPECT_FALSE(gl_.SetWndDrawerSize(nullptr, 10, 10));
  EXPECT_FALSE(gl_.DrawTextureToWnd(nullptr, texture.get()));
  QVGWndDrawer* none = nullptr;
  EXPECT_TRUE(gl_.DestroyWndDrawer(&none));
  EXPECT_TRUE(gl_.DestroyWndDrawer(nullptr));
}

}  // namespace
}  // namespace qvg::test
