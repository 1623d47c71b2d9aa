// What uploads, clones and windows don't cover: pixel buffers, and copies of parts.
#include "base/texture.h"

#include <array>

#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

using TextureTest = GLTest;

std::array<int, 4> ContentOf(const Texture& texture) {
  const ContentRect& content = texture.Content();
  return {content.x, content.y, content.width, content.height};
}

TEST_F(TextureTest, LoadsThroughAPixelBufferCentreTheImage) {
  const Image before = Picture(40, 30, 1), image = Picture(5, 29, 2);
  {
    Texture texture;
    Fill(texture, before);
    GLuint pbo = 0;
    glGenBuffers(1, &pbo);
    texture.SetUnpackBuffer(pbo);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, pbo);
    glBufferData(GL_PIXEL_UNPACK_BUFFER, texture.ByteSize(), nullptr, GL_STREAM_DRAW);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    const std::vector<uint8_t> pixels = Bytes(image);
    ASSERT_TRUE(texture.Load({5, 29, pixels.data()}));
    EXPECT_EQ(ContentOf(texture), (std::array<int, 4>{17, 0, 5, 29}));
    const Image centred = Over(before, image, 17, 0);
    EXPECT_EQ(Difference(centred, StorageOf(texture)), "");
    // It takes no rows with padding.
    texture.SubmitLoad({3, 29, pixels.data(), GL_RGBA, GL_UNSIGNED_BYTE, 5}, Texture::Place::kOrigin);
    EXPECT_EQ(Difference(Over(centred, Crop(image, 0, 0, 3, 29), 0, 0), StorageOf(texture)), "");
  }
  EXPECT_EQ(Live(glIsBuffer), 0) << "a texture's pbo outlived it";
  EXPECT_EQ(Live(glIsTexture), 0);
}

TEST_F(TextureTest, CopiesLieInTheCentre) {
  const Image from = Picture(40, 30, 1), before = Picture(50, 36, 2);
  Texture source;
  Fill(source, from);
  SetContent(source, 3, 4, 31, 21);
  const struct {
    int x, y, width, height, copiedWidth, copiedHeight;
  } cases[] = {{3, 4, -1, 5, 31, 5}, {30, 20, 10, 10, 10, 10}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.x << ' ' << c.y << ' ' << c.width << ' ' << c.height);
    Texture texture;
    Fill(texture, before);
    ASSERT_TRUE(texture.CopyFrom(&source, c.x, c.y, c.width, c.height));
    const int x = (50 - c.copiedWidth) / 2, y = (36 - c.copiedHeight) / 2;
    EXPECT_EQ(ContentOf(texture), (std::array<int, 4>{x, y, c.copiedWidth, c.copiedHeight}));
    const Image part = Crop(from, c.x, c.y, c.copiedWidth, c.copiedHeight);
    EXPECT_EQ(Difference(Over(before, part, x, y), StorageOf(texture)), "");
  }
}

}  // namespace
}  // namespace qvg
