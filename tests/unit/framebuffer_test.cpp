#include "base/framebuffer.h"

#include <algorithm>
#include <memory>

#include "base/bo.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

class FrameBufferTest : public GLTest {
 protected:
  /// Fills each quarter of the content with a colour of its own.
  static Image ClearQuarters(FrameBuffer& frameBuffer) {
    const ContentRect content = frameBuffer.Content();
    const int columns = content.width / 2, rows = content.height / 2;
    EXPECT_TRUE(frameBuffer.Bind());
    glEnable(GL_SCISSOR_TEST);
    for (int i = 0; i < 4; ++i) {
      glScissor(content.x + i % 2 * columns, content.y + i / 2 * rows, columns, rows);
      glClearColor(i % 2 ? 0.8f : 0.2f, i / 2 ? 0.4f : 1, 0, i == 3 ? 0.6f : 1);
      glClear(GL_COLOR_BUFFER_BIT);
    }
    glDisable(GL_SCISSOR_TEST);
    return MakeImage(2 * columns, 2 * rows, [&](int x, int y) -> Color {
      return {x < columns ? 0.2 : 0.8, y < rows ? 1 : 0.4, 0, x >= columns && y >= rows ? 0.6 : 1};
    });
  }

  Surfaces surfaces_;
};

TEST_F(FrameBufferTest, StatesAndTheirMessages) {
  const float color[4] = {};
  FrameBuffer frameBuffer(surfaces_);
  EXPECT_FALSE(frameBuffer.Bind());
  EXPECT_EQ(TakeLog(), "0 not allocated framebuffer\n");
  EXPECT_FALSE(frameBuffer.Clear(color));
  EXPECT_EQ(TakeLog(), "0 not allocated framebuffer\n");
  EXPECT_TRUE(frameBuffer.UnBind());
  EXPECT_TRUE(frameBuffer.UnbindColorTexture());
  ASSERT_TRUE(frameBuffer.Allocate({30, 20, 7, false, false}));
  EXPECT_EQ(frameBuffer.Stored(), 7);
  EXPECT_TRUE(frameBuffer.Allocate({50, 40, 8, true, true}));
  EXPECT_EQ(TakeLog(), "1 framebuffer already allocated\n");
  EXPECT_EQ(frameBuffer.Width(), 30);
  EXPECT_EQ(frameBuffer.Stored(), 7);
  EXPECT_EQ(surfaces_.lent, 0);
  EXPECT_FALSE(frameBuffer.BlitToTexture(nullptr));
  EXPECT_EQ(TakeLog(), "0 ERROR:: Fail to blit to texture\n");
  EXPECT_FALSE(frameBuffer.BlitToPbo(nullptr, 0, 0, 0, 0, 0, GL_RGBA));
  EXPECT_EQ(TakeLog(), "0 ERROR:: Fail to resolve to pbo\n");
}

TEST_F(FrameBufferTest, TakesTheSizeOfItsTextureUnlessItHasBuffers) {
  Texture small, large;
  Fill(small, Picture(20, 10, 1));
  Fill(large, Picture(40, 30, 1));
  SetContent(large, 7, 4, 31, 21);
  const struct { bool depth, color; } cases[] = {{false, false}, {true, false}, {false, true}, {true, true}};
  for (const auto& [depth, color] : cases) {
    SCOPED_TRACE(testing::Message() << (depth ? "depth " : "") << (color ? "colour" : ""));
    FrameBuffer frameBuffer(surfaces_);
    ASSERT_TRUE(frameBuffer.Allocate({20, 10, 0, depth, color}));
    EXPECT_TRUE(frameBuffer.BindColorTexture(&small));
    EXPECT_EQ(frameBuffer.BindColorTexture(&large), !depth && !color);
    if (depth || color) {
      EXPECT_EQ(TakeLog(), "0 color texture size not equal frambuffer size\n");
      EXPECT_EQ(frameBuffer.ColorTexture(), &small);
    } else {
      EXPECT_EQ(frameBuffer.Width(), 31);
      EXPECT_EQ(frameBuffer.Height(), 21);
      EXPECT_TRUE(frameBuffer.Bind());
      GLint viewport[4];
      glGetIntegerv(GL_VIEWPORT, viewport);
      EXPECT_EQ(std::vector<int>(viewport, viewport + 4), (std::vector<int>{7, 4, 31, 21}));
      EXPECT_TRUE(frameBuffer.UnBind());
      EXPECT_EQ(Integer(GL_FRAMEBUFFER_BINDING), 0);
    }
    EXPECT_FALSE(frameBuffer.BindColorTexture(nullptr));
    EXPECT_EQ(frameBuffer.ColorTexture(), nullptr);
    EXPECT_EQ(frameBuffer.Width(), depth || color ? 20 : 0);
    EXPECT_EQ(frameBuffer.Height(), depth || color ? 10 : 0);
    EXPECT_TRUE(frameBuffer.UnbindColorTexture());
    EXPECT_EQ(Difference(Picture(20, 10, 1), StorageOf(small)), "");
  }
  EXPECT_EQ(surfaces_.lent, 0);
  EXPECT_EQ(Live(glIsFramebuffer), 0);
  EXPECT_EQ(Live(glIsRenderbuffer), 0);
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
    Texture integers;  // can be drawn to, unlike one with shared exponents
    Texture exponents;
    ASSERT_TRUE(integers.Allocate(SettingOf(20, 10, GL_RG16UI)));
    ASSERT_TRUE(exponents.Allocate(SettingOf(20, 10, GL_RGB9_E5)));
    FrameBuffer frameBuffer(surfaces_);
    ASSERT_TRUE(frameBuffer.Allocate({20, 10, 0, true, false}));
    EXPECT_FALSE(frameBuffer.BindColorTexture(&exponents));
    EXPECT_EQ(TakeLog(), "0 FrameBuffer is not complete\n");
    EXPECT_EQ(frameBuffer.ColorTexture(), nullptr);
    EXPECT_TRUE(frameBuffer.BindColorTexture(&integers));
  }
  EXPECT_EQ(surfaces_.lent, 0);
  EXPECT_EQ(Live(glIsFramebuffer), 0);
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
  {
    // Both rectangles end at column 24 and row 20, whatever their origin.
    Texture destination;
    Fill(destination, before);
    SetContent(destination, 5, 3, 24, 20);
    EXPECT_TRUE(frameBuffer.BlitToTexture(&destination));
    EXPECT_EQ(Difference(Over(before, Crop(from, 5, 3, 19, 17), 5, 3), StorageOf(destination)), "");
  }
  {
    Texture destination;
    Fill(destination, before);
    SetContent(destination, 11, 14, 24, 20);
    EXPECT_TRUE(frameBuffer.CopyContentTo(destination));
    EXPECT_EQ(Difference(Over(before, Crop(from, 5, 3, 24, 20), 11, 14), StorageOf(destination)), "");
  }
  EXPECT_EQ(Live(glIsFramebuffer), 1);
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
    std::vector<uint8_t> pixels = Bytes(Crop(picture, 7 + c.x, 4 + c.y, c.readWidth, c.readHeight));
    for (size_t i = 0; c.format == GL_BGRA && i < pixels.size(); i += 4) std::swap(pixels[i], pixels[i + 2]);
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
  const Image picture = ClearQuarters(frameBuffer);
  BO buffer;
  ASSERT_TRUE(buffer.Allocate(20 * 12 * 4, GL_STREAM_READ, nullptr));
  EXPECT_TRUE(frameBuffer.BlitToPbo(&buffer, 0, 0, 0, 0, 0, GL_RGBA));
  const auto* mapped = static_cast<const uint8_t*>(buffer.Map(GL_MAP_READ_BIT));
  ASSERT_NE(mapped, nullptr);
  EXPECT_EQ(Difference(picture, FromBytes(mapped, 20, 12)), "");
  EXPECT_TRUE(buffer.UnMap());
  EXPECT_EQ(surfaces_.lent, 2) << "the resolved texture was not given back";
  EXPECT_EQ(Live(glIsFramebuffer), 1);
}

TEST_F(FrameBufferTest, RecycledLargerStorageIsCoveredAndKeepsTheContentInItsCentre) {
  const float color[4] = {0.2f, 0.4f, 0.6f, 0.8f};
  const Image expected(20, 12, {0.2, 0.4, 0.6, 0.8});
  Texture target;
  Fill(target, Picture(33, 19, 1));
  SetContent(target, 11, 2, 20, 12);
  for (const bool ownBuffer : {false, true}) {
    SCOPED_TRACE(ownBuffer ? "own buffer" : "texture");
    surfaces_.extraWidth = ownBuffer ? 13 : 0;
    surfaces_.extraHeight = ownBuffer ? 7 : 0;
    FrameBuffer frameBuffer(surfaces_);
    ASSERT_TRUE(frameBuffer.Allocate({20, 12, 0, true, ownBuffer}));
    if (!ownBuffer) {
      ASSERT_TRUE(frameBuffer.BindColorTexture(&target));
    }
    const ContentRect content = frameBuffer.Content();
    EXPECT_EQ((std::vector<int>{content.storageWidth, content.storageHeight, content.x, content.y}),
              ownBuffer ? (std::vector<int>{33, 19, 6, 3}) : (std::vector<int>{33, 19, 11, 2}));
    ASSERT_TRUE(frameBuffer.Bind());
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    EXPECT_TRUE(frameBuffer.Clear(color));
    std::vector<uint8_t> bytes(33 * 19 * 4);
    std::vector<float> depth(20 * 12);
    glReadPixels(0, 0, 33, 19, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
    glReadPixels(content.x, content.y, 20, 12, GL_DEPTH_COMPONENT, GL_FLOAT, depth.data());
    EXPECT_EQ(Difference(Over(Image(33, 19), expected, content.x, content.y), FromBytes(bytes.data(), 33, 19)), "");
    EXPECT_EQ(depth, std::vector<float>(20 * 12, 1));
    EXPECT_EQ(surfaces_.lent, ownBuffer ? 2 : 1);
  }
}

TEST_F(FrameBufferTest, AnotherContextIsLeftAlone) {
  const float color[4] = {1, 0, 0, 1};
  Texture target;
  Fill(target, Picture(20, 12, 1));
  BO buffer;
  ASSERT_TRUE(buffer.Allocate(20 * 12 * 4, GL_STREAM_READ, nullptr));
  for (const int samples : {0, 4}) {
    SCOPED_TRACE(samples);
    surfaces_.samples = samples;
    auto mine = std::make_unique<FrameBuffer>(surfaces_);
    ASSERT_TRUE(mine->Allocate({20, 12, 0, false, true}));
    ASSERT_TRUE(mine->Bind());
    glFinish();
    OnOtherThread(true, [&] {
      Texture texture;
      Fill(texture, Picture(20, 12, 2));
      GLuint its[8];  // one of them likely has the other's number
      glGenFramebuffers(8, its);
      for (const GLuint name : its) {
        glBindFramebuffer(GL_FRAMEBUFFER, name);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture.id, 0);
      }
      const bool results[] = {mine->Bind(), mine->Clear(color), mine->BindColorTexture(&target),
                              mine->BlitToTexture(&target), mine->CopyContentTo(target)};
      EXPECT_EQ(std::count(std::begin(results), std::end(results), true), 0);
      EXPECT_TRUE(mine->BlitToPbo(&buffer, 0, 0, 0, 0, 0, GL_RGBA));
      EXPECT_EQ(TakeLog(), Repeated("0 framebuffer belongs to another context\n", 6));
      mine->UnBind();
      TakeLog();
      EXPECT_EQ(Integer(GL_FRAMEBUFFER_BINDING), static_cast<GLint>(its[7]));
      const int names = Live(glIsFramebuffer);
      mine.reset();
      EXPECT_EQ(Live(glIsFramebuffer), names) << "a frame buffer of this context was deleted";
      EXPECT_EQ(Integer(GL_FRAMEBUFFER_BINDING), static_cast<GLint>(its[7]));
      EXPECT_EQ(Difference(Picture(20, 12, 2), StorageOf(texture)), "");
      glDeleteFramebuffers(8, its);
    });
    EXPECT_EQ(surfaces_.lent, 0);
  }
}

}  // namespace
}  // namespace qvg
