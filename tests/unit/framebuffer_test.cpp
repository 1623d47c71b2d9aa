#include "base/framebuffer.h"

#include <algorithm>

#include "base/bo.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

using FrameBufferTest = GLTest;

TEST_F(FrameBufferTest, BlitsCopiesAndReadsTakeTheContent) {
  const Image from = Picture(40, 36, 1);
  const Image before = Picture(40, 36, 2);
  Texture source, blitted, copied;
  Fill(source, from);
  SetContent(source, 5, 3, 24, 20);
  FrameBuffer frameBuffer(runtime_->surfaces);
  ASSERT_TRUE(frameBuffer.Allocate({}));
  ASSERT_TRUE(frameBuffer.BindColorTexture(&source));
  // Both rectangles of a blit end at column 24 and row 20, whatever their origins.
  Fill(blitted, before);
  SetContent(blitted, 5, 3, 24, 20);
  EXPECT_TRUE(frameBuffer.BlitToTexture(&blitted));
  EXPECT_EQ(Difference(Over(before, Crop(from, 5, 3, 19, 17), 5, 3), StorageOf(blitted)), "");
  Fill(copied, before);
  SetContent(copied, 11, 14, 24, 20);
  EXPECT_TRUE(CopyContent(frameBuffer.AsScene().target, copied));
  EXPECT_EQ(Difference(Over(before, Crop(from, 5, 3, 24, 20), 11, 14), StorageOf(copied)), "");

  const struct {
    int x, y, width, height, readWidth, readHeight;
    int64_t offset;
    GLenum format;
  } cases[] = {{0, 0, 0, 0, 24, 20, 0, GL_RGBA}, {0, 0, -1, 5, 24, 5, 64, GL_RGBA}, {3, 2, 7, 5, 7, 5, 12, GL_BGRA}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.x << ' ' << c.y << ' ' << c.width << ' ' << c.height);
    const int64_t size = c.offset + int64_t{4} * c.readWidth * c.readHeight + 8;
    std::vector<uint8_t> expected(static_cast<size_t>(size), 0x5A);
    BO buffer;
    ASSERT_TRUE(buffer.Allocate(size, GL_STREAM_READ, expected.data()));
    EXPECT_TRUE(frameBuffer.BlitToPbo(&buffer, c.x, c.y, c.width, c.height, c.offset, c.format));
    const Image part = Crop(from, 5 + c.x, 3 + c.y, c.readWidth, c.readHeight);
    std::ranges::copy(Bytes(part, c.format == GL_BGRA), expected.begin() + c.offset);
    const auto* mapped = static_cast<const uint8_t*>(buffer.Map(GL_MAP_READ_BIT));
    ASSERT_NE(mapped, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(mapped, mapped + size), expected);
    EXPECT_TRUE(buffer.UnMap());
    EXPECT_TRUE(frameBuffer.BlitToPbo(&buffer, 0, 0, 0, 0, 0, 0xBAD));
    EXPECT_TRUE(TakeLog().starts_with("0 OpenGL Error: Invalid "));
  }
}

}  // namespace
}  // namespace qvg
