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

TEST_F(TextureTest, LoadCentresTheImageInTheStorage) {
  const struct {
    int storageWidth, storageHeight, width, height, x, y;
  } cases[] = {{1920, 20, 1918, 20, 1, 0}, {8, 8, 5, 3, 1, 2}, {8, 8, 8, 8, 0, 0}, {40, 30, 1, 29, 19, 0}};
  for (const auto& c : cases) {
    for (const bool throughPbo : {false, true}) {
      SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << (throughPbo ? " through a pbo" : ""));
      const Image before = Picture(c.storageWidth, c.storageHeight, 1);
      const Image image = Picture(c.width, c.height, 2);
      Texture texture;
      Fill(texture, before);
      if (throughPbo) {
        GLuint pbo = 0;
        glGenBuffers(1, &pbo);
        texture.SetUnpackBuffer(pbo);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, pbo);
        glBufferData(GL_PIXEL_UNPACK_BUFFER, texture.ByteSize(), nullptr, GL_STREAM_DRAW);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
      }
      const std::vector<uint8_t> pixels = Bytes(image);
      ASSERT_TRUE(texture.Load({c.width, c.height, pixels.data()}));
      EXPECT_EQ(ContentOf(texture), (std::array<int, 4>{c.x, c.y, c.width, c.height}));
      const Image centred = Over(before, image, c.x, c.y);
      EXPECT_EQ(Difference(centred, StorageOf(texture)), "");
      EXPECT_EQ(Integer(GL_PIXEL_UNPACK_BUFFER_BINDING), 0);
      // Rows that are further apart, which a pbo's path does not know, at the origin.
      const int part = c.width - c.width / 3;
      texture.SubmitLoad({part, c.height, pixels.data(), GL_RGBA, GL_UNSIGNED_BYTE, c.width}, Texture::Place::kOrigin);
      EXPECT_EQ(Difference(Over(centred, Crop(image, 0, 0, part, c.height), 0, 0), StorageOf(texture)), "");
    }
  }
  EXPECT_EQ(Live(glIsBuffer), 0) << "a texture's pbo outlived it";
  EXPECT_EQ(Live(glIsTexture), 0);
}

TEST_F(TextureTest, CopyFromPlacesWholeOrPartInTheCentre) {
  const Image from = Picture(40, 30, 1);
  const Image before = Picture(50, 36, 2);
  Texture source;
  Fill(source, from);
  SetContent(source, 3, 4, 31, 21);
  const struct {
    int x, y, width, height, copiedWidth, copiedHeight;
  } cases[] = {{0, 0, 0, 0, 31, 21}, {3, 4, -1, 5, 31, 5}, {7, 2, 11, 0, 11, 21}, {30, 20, 10, 10, 10, 10}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.x << ' ' << c.y << ' ' << c.width << ' ' << c.height);
    Texture texture;
    Fill(texture, before);
    const GLuint name = texture.Id();
    ASSERT_TRUE(texture.CopyFrom(&source, c.x, c.y, c.width, c.height));
    EXPECT_EQ(texture.Id(), name);
    EXPECT_EQ(ContentOf(texture),
              (std::array<int, 4>{(50 - c.copiedWidth) / 2, (36 - c.copiedHeight) / 2, c.copiedWidth, c.copiedHeight}));
    const Image part = Crop(from, c.x, c.y, c.copiedWidth, c.copiedHeight);
    EXPECT_EQ(Difference(Over(before, part, texture.Content().x, texture.Content().y), StorageOf(texture)), "");
  }
}

TEST_F(TextureTest, CopyFromMakesStorageThatIsTooSmallAnew) {
  const Image part = Crop(Picture(40, 30, 1), 0, 0, 20, 10);
  Texture source, fresh, small;
  Fill(source, Picture(40, 30, 1));
  SetContent(source, 0, 0, 20, 10);
  ASSERT_TRUE(small.Allocate(SettingOf(199, 1)));
  for (Texture* texture : {&fresh, &small}) {
    ASSERT_TRUE(texture->CopyFrom(&source, 0, 0, 0, 0));
    ASSERT_EQ(texture->Setting().width, 40);
    ASSERT_EQ(texture->Setting().height, 30);
    EXPECT_EQ(Difference(part, Crop(StorageOf(*texture), 10, 10, 20, 10)), "");
  }
  EXPECT_EQ(Live(glIsTexture), 3) << "the old storage's name lives on";
  EXPECT_EQ(Integer(GL_READ_FRAMEBUFFER_BINDING), 0);
}

}  // namespace
}  // namespace qvg
