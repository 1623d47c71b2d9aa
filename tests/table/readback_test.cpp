// Read-backs of textures in every format, compared with the same formulas on the CPU.
#include "support/table_test.h"

namespace qvg::test {
namespace {

class ReadBackTest : public TableTest {
 protected:
  /// A texture whose content is the picture: all of its storage, or a part off the centre of larger storage, with
  /// larger storage for everything that a read-back takes from the pools, too.
  Texture Make(const Image& picture, bool larger) {
    ClearPools();
    if (!larger) return Upload(picture);
    gl_.PreallocateRenderBuffers(picture.width + 33, picture.height * 3 / 2 + 18, 2);
    gl_.PreallocatePixelBuffers(65536, 1, false);
    LeaveGarbage(QVG_FORMAT_RGBA, picture.width, picture.height * 2);
    const Image whole = Over(Picture(picture.width + 9, picture.height + 7, 99), picture, 2, 6);
    Texture texture = Upload(whole);
    const unsigned left = (gl_.GetTextureAllocatedWidth(texture.get()) - whole.width) / 2;
    const unsigned bottom = (gl_.GetTextureAllocatedHeight(texture.get()) - whole.height) / 2;
    EXPECT_TRUE(gl_.SetTextureOrigin(texture.get(), left + 2, bottom + 6));
    EXPECT_TRUE(gl_.SetTextureSize(texture.get(), picture.width, picture.height));
    return texture;
  }
};

constexpr int kSizes[][2] = {{1, 1}, {1, 6}, {7, 1}, {37, 23}, {64, 48}};

/// A descriptor with other values in all fields.
QVGPixelBuffer Filled() {
  static uint8_t byte = 0;
  return {{&byte, &byte, &byte}, {-7, -7, -7}, -7, -7, -7, -7, -7};
}

/// Its fields after a read-back: format, width, height, strides, and the offsets of the other planes from the first.
using Numbers = std::vector<ptrdiff_t>;
Numbers Fields(const QVGPixelBuffer& b) {
  EXPECT_EQ(b.kind, 2);
  EXPECT_EQ(b.reserved, -7);
  const auto distance = [&](int plane) { return b.plane[plane] != nullptr ? b.plane[plane] - b.plane[0] : -1; };
  return {b.format, b.width, b.height, b.stride[0], b.stride[1], b.stride[2], distance(1), distance(2)};
}

TEST_F(ReadBackTest, EverySizePlaceOrderAndFlag) {
  for (const auto& [width, height] : kSizes) {
    const Image picture = Picture(width, height, 1);
    const int area = width * height, half = width / 2;
    for (const bool larger : {false, true}) {
      const Texture texture = Make(picture, larger);
      ASSERT_NE(texture, nullptr);
      for (int flags = 0; flags < 32; ++flags) {
        const int order = flags / 8;
        const bool flipped = flags & 1, turned = flags & 2, other = flags & 4;
        SCOPED_TRACE(Size(width, height) + (larger ? ", in larger storage" : "") + (flipped ? ", flipped" : "") +
                     (turned ? ", flip or mirror" : "") + (other ? ", full range or BGRA" : "") + ", order " +
                     std::to_string(order));
        gl_.SetTextureFlipped(texture.get(), flipped);
        gl_.SetTextureChannelOrder(texture.get(), order);
        gl_.SetTextureRotation(texture.get(), flags);  // read-backs ignore it
        const Image content = Reordered(picture, order);

        ReadBack packed, planar, nv12;
        packed.buffer = planar.buffer = nv12.buffer = Filled();
        ASSERT_TRUE(other ? gl_.TextureToBGRAPixelBuffer(texture.get(), &packed.buffer, turned)
                          : gl_.TextureToRGBAPixelBuffer(texture.get(), &packed.buffer, turned));
        EXPECT_EQ(Fields(packed.buffer),
                  (Numbers{other ? QVG_FORMAT_BGRA : QVG_FORMAT_RGBA, width, height, 4 * width, 0, 0, -1, -1}));
        EXPECT_EQ(Mismatch(turned ? FlippedRows(content) : content, PixelsOf(packed.buffer), 0.01), "");

        ASSERT_TRUE(gl_.TextureToYUV420PixelBuffer(texture.get(), other, turned, &planar.buffer));
        EXPECT_EQ(Fields(planar.buffer), (Numbers{other ? QVG_FORMAT_J420 : QVG_FORMAT_I420, width, height, width, half,
                                                  half, area, area * 5 / 4}));
        EXPECT_EQ(Mismatch(ExpectedI420(content, !flipped, turned, other), planar.buffer, kYuvReadBackLimit), "");

        if (other) continue;
        ASSERT_TRUE(gl_.TextureToNV12PixelBuffer(texture.get(), &nv12.buffer, turned));
        EXPECT_EQ(Fields(nv12.buffer), (Numbers{QVG_FORMAT_NV12, width, height, width, width, 0, area, -1}));
        EXPECT_EQ(Mismatch(ExpectedNV12(content, !flipped, turned), nv12.buffer, kYuvReadBackLimit), "");
      }
      EXPECT_TRUE(gl_.GetTextureFlipped(texture.get()));
    }
  }
}

TEST_F(ReadBackTest, TexturesOfOtherFormsAsTheyAreStored) {
  const auto check = [&](const char* form, const Texture& texture, const Image& stored) {
    SCOPED_TRACE(form);
    gl_.SetTextureFlipped(texture.get(), true);
    ReadBack nv12, bgra;
    ASSERT_TRUE(gl_.TextureToNV12PixelBuffer(texture.get(), &nv12.buffer, false));
    ASSERT_TRUE(gl_.TextureToBGRAPixelBuffer(texture.get(), &bgra.buffer, true));
    EXPECT_EQ(Mismatch(ExpectedNV12(stored, false, false), nv12.buffer, kYuvReadBackLimit), "");
    EXPECT_EQ(Difference(FlippedRows(stored), PixelsOf(bgra.buffer)), "");
    EXPECT_EQ(Difference(stored, Content(texture.get())), "");
    EXPECT_EQ(Difference(stored, Content(Texture(gl_.CloneTexture(texture.get())).get())), "");
  };
  check("premultiplied", Premultiplied(Cutout(64, 48, 1)), Cutout(64, 48, 1));
  for (const int code : {QVG_FORMAT_RGB, QVG_FORMAT_BGR, QVG_FORMAT_RGBX332}) {
    const Frame frame = MakeFrame(code, 37, 24, 3);
    check(FormatOf(code).name, Upload(frame), ExpectedUpload(frame, 37, 24));
  }
}

// Sampled by work that is still pending, and drawn to since.
// Sizes that make no blocks go through a texture half as high again.
TEST_F(ReadBackTest, TallPicturesNeedWholeBlocks) {
  GLint limit = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
  const unsigned height = static_cast<unsigned>(limit / 4 * 3);
  for (const bool mirror : {false, true}) {
    EXPECT_EQ(static_cast<bool>(Texture::Acquire(4, height).ReadNV12(mirror)), !mirror);
    EXPECT_FALSE(Texture::Acquire(2, height).ReadYUV420(false, mirror));
    EXPECT_TRUE(Texture::Acquire(4, height).ReadYUV420(false, mirror));
  }
}

TEST_F(ReadBackTest, WhatWasDrawnLastIsRead) {
  constexpr int kWidth = 480, kHeight = 270;
  const Texture canvas(gl_.AcquireTexture(kWidth, kHeight));
  const FrameBuffer target = Target(canvas.get());
  const Image pictures[] = {Picture(kWidth, kHeight, 1), Picture(kWidth, kHeight, 2)};
  const Texture sources[] = {Upload(pictures[0]), Upload(pictures[1])};
  const Texture texture = Upload(pictures[1]);
  const FrameBuffer onTexture = Target(texture.get());
  for (int i = 0; i < 20; ++i) {
    SCOPED_TRACE(i);
    ASSERT_TRUE(gl_.DrawTexture(texture.get(), target.get(), nullptr));
    ASSERT_TRUE(gl_.DrawTexture(sources[i % 2].get(), onTexture.get(), nullptr));
    ASSERT_EQ(Difference(pictures[i % 2], Content(texture.get())), "");
  }
}

}  // namespace
}  // namespace qvg::test
