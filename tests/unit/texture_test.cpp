// What uploads, clones and windows leave out: pixel buffers, and copies of parts.
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
    EXPECT_EQ(Integer(GL_PIXEL_UNPACK_BUFFER_BINDING), 0);
    // Rows that are further apart are not for it.
    texture.SubmitLoad({3, 29, pixels.data(), GL_RGBA, GL_UNSIGNED_BYTE, 5}, Texture::Place::kOrigin);
    EXPECT_EQ(Difference(Over(centred, Crop(image, 0, 0, 3, 29), 0, 0), StorageOf(texture)), "");
  }
  EXPECT_EQ(Live(glIsBuffer), 0) << "a texture's pbo outlived it";
  EXPECT_EQ(Live(glIsTexture), 0);
}

TEST_F(TextureTest, CopiesLieInTheCentreOfStorageThatIsLargeEnough) {
  const Image from = Picture(40, 30, 1), before = Picture(50, 36, 2);
  Texture source;
  Fill(source, from);
  SetContent(source, 3, 4, 31, 21);
  const struct {
    bool fits;
    int x, y, width, height, copiedWidth, copiedHeight;
  } cases[] = {{true, 3, 4, -1, 5, 31, 5}, {true, 30, 20, 10, 10, 10, 10}, {false, 2, 1, 0, 0, 31, 21}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.x << ' ' << c.y << ' ' << c.width << ' ' << c.height);
    Texture texture;
    Fill(texture, c.fits ? before : Picture(199, 1, 2));
    ASSERT_TRUE(texture.CopyFrom(&source, c.x, c.y, c.width, c.height));
    const int width = c.fits ? 50 : 40, height = c.fits ? 36 : 30;
    ASSERT_EQ(texture.Setting().width, width);
    ASSERT_EQ(texture.Setting().height, height);
    const int x = (width - c.copiedWidth) / 2, y = (height - c.copiedHeight) / 2;
    EXPECT_EQ(ContentOf(texture), (std::array<int, 4>{x, y, c.copiedWidth, c.copiedHeight}));
    const Image copied = StorageOf(texture), part = Crop(from, c.x, c.y, c.copiedWidth, c.copiedHeight);
    EXPECT_EQ(Difference(Over(c.fits ? before : copied, part, x, y), copied), "");
    EXPECT_EQ(Live(glIsTexture), 2) << "the old storage's name lives on";
  }
}

}  // namespace
}  // namespace qvg
