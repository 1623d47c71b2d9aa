#include "base/framebuffer.h"

#include <algorithm>

#include "base/bo.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

class FrameBufferTest : public GLTest {
 protected:
  Surfaces surfaces_;
};

TEST_F(FrameBufferTest, IsAllocatedOnceAndUsedOnlyThen) {
  FrameBuffer frameBuffer(surfaces_);
  EXPECT_FALSE(frameBuffer.Bind());
  EXPECT_EQ(TakeLog(), "0 not allocated framebuffer\n");
  ASSERT_TRUE(frameBuffer.Allocate({30, 20, 7, false, false}));
  EXPECT_TRUE(frameBuffer.Allocate({50, 40, 8, true, true}));
  EXPECT_EQ(TakeLog(), "1 framebuffer already allocated\n");
  EXPECT_EQ(frameBuffer.Width(), 30);
  EXPECT_EQ(frameBuffer.Stored(), 7);
  EXPECT_EQ(surfaces_.lent, 0);
  EXPECT_FALSE(frameBuffer.BlitToTexture(nullptr));
  EXPECT_FALSE(frameBuffer.BlitToPbo(nullptr, 0, 0, 0, 0, 0, GL_RGBA));
  EXPECT_EQ(TakeLog(), "0 ERROR:: Fail to blit to texture\n0 ERROR:: Fail to resolve to pbo\n");
}

TEST_F(FrameBufferTest, FailuresKeepNothing) {
  for (const bool depth : {false, true}) {
    FrameBuffer frameBuffer(surfaces_);
    surfaces_.fail = true;
    EXPECT_FALSE(frameBuffer.Allocate({20, 10, 0, depth, !depth}));
    surfaces_.fail = false;
    EXPECT_FALSE(frameBuffer.Bind());
    EXPECT_EQ(TakeLog(), "0 not allocated framebuffer\n");
  }
  {
    Texture integers, exponents;  // those can be drawn to, these can't
    ASSERT_TRUE(integers.Allocate(SettingOf(20, 10, GL_RG16UI)));
    ASSERT_TRUE(exponents.Allocate(SettingOf(20, 10, GL_RGB9_E5)));
    FrameBuffer frameBuffer(surfaces_);
    ASSERT_TRUE(frameBuffer.Allocate({20, 10, 0, true, false}));
    EXPECT_FALSE(frameBuffer.BindColorTexture(&exponents));
    EXPECT_EQ(TakeLog(), "0 FrameBuffer is not complete\n");
    EXPECT_EQ(frameBuffer.ColorTexture(), nullptr);
    EXPECT_TRUE(frameBuffer.BindColorTexture(&integers));
    EXPECT_FALSE(frameBuffer.BindColorTexture(nullptr));
    EXPECT_EQ(frameBuffer.ColorTexture(), nullptr);
  }
  EXPECT_EQ(surfaces_.lent, 0);
  EXPECT_EQ(Live(glIsFramebuffer) + Live(glIsRenderbuffer), 0);
}

TEST_F(FrameBufferTest, BlitKeepsTheOddCornersAndCopyTakesTheContent) {
  const Image from = Picture(40, 36, 1);
  const Image before = Picture(40, 36, 2);
  Texture source;
  Fill(source, from);
  SetContent(source, 5, 3, 24, 20);
  FrameBuffer frameBuffer(surfaces_);
  ASSERT_TRUE(frameBuffer.Allocate({}));
  ASSERT_TRUE(frameBuffer.BindColorTexture(&source));
  // Both rectangles of a blit end at column 24 and row 20, whatever their origin.
  Texture blitted, copied;
  Fill(blitted, before);
  SetContent(blitted, 5, 3, 24, 20);
  EXPECT_TRUE(frameBuffer.BlitToTexture(&blitted));
  EXPECT_EQ(Difference(Over(before, Crop(from, 5, 3, 19, 17), 5, 3), StorageOf(blitted)), "");
  Fill(copied, before);
  SetContent(copied, 11, 14, 24, 20);
  EXPECT_TRUE(CopyContent(frameBuffer.AsScene().target, copied));
  EXPECT_EQ(Difference(Over(before, Crop(from, 5, 3, 24, 20), 11, 14), StorageOf(copied)), "");
}

TEST_F(FrameBufferTest, RectanglesOfTheContentReachTheirPlaceInABuffer) {
  const Image picture = Picture(40, 36, 1);
  Texture source;
  Fill(source, picture);
  SetContent(source, 7, 4, 21, 13);
  FrameBuffer frameBuffer(surfaces_);
  ASSERT_TRUE(frameBuffer.Allocate({}));
  ASSERT_TRUE(frameBuffer.BindColorTexture(&source));
  const struct {
    int x, y, width, height, readWidth, readHeight;
    int64_t offset;
    GLenum format;
  } cases[] = {{0, 0, 0, 0, 21, 13, 0, GL_RGBA}, {0, 0, -1, 5, 21, 5, 64, GL_RGBA}, {3, 2, 7, 5, 7, 5, 12, GL_BGRA}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.x << ' ' << c.y << ' ' << c.width << ' ' << c.height);
    const int64_t size = c.offset + int64_t{4} * c.readWidth * c.readHeight;
    std::vector<uint8_t> expected(static_cast<size_t>(size) + 8, 0x5A);
    BO buffer;
    ASSERT_TRUE(buffer.Allocate(size + 8, GL_STREAM_READ, expected.data()));
    EXPECT_TRUE(frameBuffer.BlitToPbo(&buffer, c.x, c.y, c.width, c.height, c.offset, c.format));
    const Image part = Crop(picture, 7 + c.x, 4 + c.y, c.readWidth, c.readHeight);
    const std::vector<uint8_t> pixels = Bytes(part, c.format == GL_BGRA);
    std::copy(pixels.begin(), pixels.end(), expected.begin() + c.offset);
    const auto* mapped = static_cast<const uint8_t*>(buffer.Map(GL_MAP_READ_BIT));
    ASSERT_NE(mapped, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(mapped, mapped + size + 8), expected);
    EXPECT_TRUE(buffer.UnMap());
    EXPECT_EQ(Integer(GL_PIXEL_PACK_BUFFER_BINDING), 0);
    EXPECT_TRUE(frameBuffer.BlitToPbo(&buffer, 0, 0, 0, 0, 0, 0xBAD));
    EXPECT_TRUE(TakeLog().starts_with("0 OpenGL Error: Invalid "));
  }
}

TEST_F(FrameBufferTest, MultisampledColourIsResolvedForReading) {
  surfaces_.samples = 4;
  FrameBuffer frameBuffer(surfaces_);
  ASSERT_TRUE(frameBuffer.Allocate({20, 12, 0, true, true}));
  ASSERT_TRUE(frameBuffer.Bind());
  Image picture(20, 12);
  glEnable(GL_SCISSOR_TEST);
  for (int i = 0; i < 4; ++i) {
    const Color color = {i % 2 ? 0.8 : 0.2, i / 2 ? 0.4 : 1, 0, i == 3 ? 0.6 : 1};
    glScissor(i % 2 * 10, i / 2 * 6, 10, 6);
    glClearColor(color[0], color[1], color[2], color[3]);
    glClear(GL_COLOR_BUFFER_BIT);
    picture = Over(picture, Image(10, 6, color), i % 2 * 10, i / 2 * 6);
  }
  glDisable(GL_SCISSOR_TEST);
  BO buffer;
  ASSERT_TRUE(buffer.Allocate(20 * 12 * 4, GL_STREAM_READ, nullptr));
  EXPECT_TRUE(frameBuffer.BlitToPbo(&buffer, 0, 0, 0, 0, 0, GL_RGBA));
  const auto* mapped = static_cast<const uint8_t*>(buffer.Map(GL_MAP_READ_BIT));
  ASSERT_NE(mapped, nullptr);
  EXPECT_EQ(Difference(picture, FromBytes(mapped, 20, 12)), "");
  EXPECT_TRUE(buffer.UnMap());
  EXPECT_EQ(surfaces_.lent, 2) << "the resolved texture was not given back";
  EXPECT_EQ(Live(glIsFramebuffer), 1) << "what it was resolved through outlives it";
}

}  // namespace
}  // namespace qvg
