// Read-backs of textures in every form, compared with the same formulas on the CPU.
#include <cstdlib>
#include <thread>

#include "support/table_test.h"

namespace qvg::test {
namespace {

// How the picture lies in its storage.
enum class Place { Fresh, Recycled, OffCentre };

class ReadBackTest : public TableTest {
 protected:
  // A texture whose content is the picture.
  TexturePtr Make(const Image& picture, Place place) {
    ClearPools();
    if (place == Place::Fresh) return Upload(picture);
    // Larger storage for everything that a read-back takes from the pools.
    gl_.PreallocateRenderBuffers(picture.width + 33, picture.height * 3 / 2 + 18, 2);
    gl_.PreallocatePixelBuffers(65536, 1, false);
    gl_.PreallocatePixelBuffers(65536, 1, true);
    LeaveGarbage(QVG_FORMAT_RGBA, picture.width, picture.height * 2);
    if (place == Place::Recycled) return Upload(picture);
    Image larger = Picture(picture.width + 9, picture.height + 7, 99);
    for (int y = 0; y < picture.height; ++y)
      for (int x = 0; x < picture.width; ++x) larger.at(x + 2, y + 6) = picture.at(x, y);
    TexturePtr texture = Upload(larger);
    const unsigned left = (gl_.GetTextureAllocatedWidth(texture.get()) - larger.width) / 2;
    const unsigned bottom = (gl_.GetTextureAllocatedHeight(texture.get()) - larger.height) / 2;
    EXPECT_TRUE(gl_.SetTextureOrigin(texture.get(), left + 2, bottom + 6));
    EXPECT_TRUE(gl_.SetTextureSize(texture.get(), picture.width, picture.height));
    return texture;
  }

  static Image Reordered(const Image& picture, int order) {
    static constexpr int kSources[4][4] = {{2, 1, 0, 3}, {0, 1, 2, 3}, {3, 2, 1, 0}, {1, 2, 3, 0}};
    Image result = picture;
    for (size_t i = 0; i < result.texels.size(); ++i)
      for (int c = 0; c < 4; ++c) result.texels[i][c] = picture.texels[i][kSources[order][c]];
    return result;
  }
};

std::string Trace(Place place, int width, int height) {
  return Size(width, height) + (place == Place::Fresh      ? ""
                                : place == Place::Recycled ? ", recycled"
                                                           : ", off the centre");
}

constexpr int kSizes[][2] = {{1, 1}, {1, 6}, {7, 1}, {5, 3}, {37, 23}, {64, 48}};
constexpr Place kPlaces[] = {Place::Fresh, Place::Recycled, Place::OffCentre};
constexpr int kUntouched = 0x12345678;

// In steps from the exact value: half a one for the rounding of the result and, where rows or columns are averaged, one
// for a driver that filters with 8 bits.
constexpr double kYuvLimit = 1.51;

QVGPixelBuffer Filled() {
  QVGPixelBuffer buffer;
  buffer.plane[0] = buffer.plane[1] = buffer.plane[2] = nullptr;
  buffer.stride[0] = buffer.stride[1] = buffer.stride[2] = -7;
  buffer.width = buffer.height = buffer.kind = buffer.format = -7;
  buffer.reserved = kUntouched;
  return buffer;
}

TEST_F(ReadBackTest, YuvOfEverySizePlaceAndFlag) {
  Errors nv12Errors, planarErrors;
  for (const auto& [width, height] : kSizes) {
    const Image picture = Picture(width, height, 1);
    for (const Place place : kPlaces) {
      const TexturePtr texture = Make(picture, place);
      ASSERT_NE(texture, nullptr);
      for (int flags = 0; flags < 16; ++flags) {
        const bool flipped = flags & 1, mirror = flags & 2, fullRange = flags & 4;
        const int order = flags & 8 ? 3 : 1;
        SCOPED_TRACE(Trace(place, width, height) + (flipped ? ", flipped" : "") + (mirror ? ", mirrored" : "") +
                     (fullRange ? ", full range" : "") + (order == 1 ? "" : ", other channel order"));
        gl_.SetTextureFlipped(texture.get(), flipped);
        gl_.SetTextureChannelOrder(texture.get(), order);
        gl_.SetTextureRotation(texture.get(), flags);  // not for read-backs
        const Image content = Reordered(picture, order);

        ReadBack planar;
        planar.buffer = Filled();
        ASSERT_TRUE(gl_.TextureToYUV420PixelBuffer(texture.get(), fullRange, mirror, &planar.buffer));
        const QVGPixelBuffer& p = planar.buffer;
        EXPECT_EQ(p.format, fullRange ? QVG_FORMAT_J420 : QVG_FORMAT_I420);
        EXPECT_EQ(std::vector<int>({p.kind, p.width, p.height, p.stride[0], p.stride[1], p.stride[2], p.reserved}),
                  std::vector<int>({2, width, height, width, width / 2, width / 2, kUntouched}));
        EXPECT_EQ(p.plane[1] - p.plane[0], width * height);
        EXPECT_EQ(p.plane[2] - p.plane[0], width * height * 5 / 4);
        const Planes planes = PlanesOf(p), expected = ExpectedI420(content, !flipped, mirror, fullRange);
        EXPECT_EQ(Compare(expected.luma, planes.luma, kYuvLimit, planarErrors), "");
        EXPECT_EQ(Compare(expected.chroma[0], planes.chroma[0], kYuvLimit, planarErrors), "") << "U";
        EXPECT_EQ(Compare(expected.chroma[1], planes.chroma[1], kYuvLimit, planarErrors), "") << "V";

        if (fullRange) continue;
        ReadBack nv12;
        nv12.buffer = Filled();
        ASSERT_TRUE(gl_.TextureToNV12PixelBuffer(texture.get(), &nv12.buffer, mirror));
        const QVGPixelBuffer& n = nv12.buffer;
        EXPECT_EQ(n.format, QVG_FORMAT_NV12);
        EXPECT_EQ(std::vector<int>({n.kind, n.width, n.height, n.stride[0], n.stride[1], n.stride[2], n.reserved}),
                  std::vector<int>({2, width, height, width, width, 0, kUntouched}));
        EXPECT_EQ(n.plane[1] - n.plane[0], width * height);
        EXPECT_EQ(n.plane[2], nullptr);
        const Planes pairs = PlanesOf(n), expectedPairs = ExpectedNV12(content, !flipped, mirror);
        EXPECT_EQ(Compare(expectedPairs.luma, pairs.luma, kYuvLimit, nv12Errors), "");
        EXPECT_EQ(Compare(expectedPairs.chroma[0], pairs.chroma[0], kYuvLimit, nv12Errors), "") << "U, V";
      }
    }
  }
  Report("read-back of NV12", nv12Errors);
  Report("read-back of planar 4:2:0", planarErrors);
}

// Inside flat cells no filtering blurs the figures: the formulas must be exact.
TEST_F(ReadBackTest, YuvFormulasOfFlatColours) {
  Errors errors;
  constexpr int kCell = 8, kLevels = 6;  // 0, 51, ... 255 of each of R, G and B
  const Image picture = MakeImage(kLevels * kLevels * kCell, kLevels * kCell, [](int x, int y) -> Color {
    return {y / kCell / 5.0, x / kCell / kLevels / 5.0, x / kCell % kLevels / 5.0, 0.5};
  });
  const TexturePtr texture = Upload(picture);
  // Skips what lies within two texels of a cell's border.
  const auto compare = [&](const Image& expected, const Image& actual, int cellWidth, int cellHeight) {
    std::vector<bool> skip;
    for (int y = 0; y < expected.height; ++y)
      for (int x = 0; x < expected.width; ++x)
        skip.push_back(std::abs(2 * (x % cellWidth) + 1 - cellWidth) > 3 ||
                       std::abs(2 * (y % cellHeight) + 1 - cellHeight) > 3);
    return Compare(expected, actual, 0.51, errors, skip);
  };
  for (const bool fullRange : {false, true}) {
    SCOPED_TRACE(fullRange);
    ReadBack read;
    ASSERT_TRUE(gl_.TextureToYUV420PixelBuffer(texture.get(), fullRange, false, &read.buffer));
    const Planes planes = PlanesOf(read.buffer), expected = ExpectedI420(picture, false, false, fullRange);
    EXPECT_EQ(compare(expected.luma, planes.luma, kCell, kCell), "");
    EXPECT_EQ(compare(expected.chroma[0], planes.chroma[0], kCell / 2, kCell / 2), "") << "U";
    EXPECT_EQ(compare(expected.chroma[1], planes.chroma[1], kCell / 2, kCell / 2), "") << "V";
  }
  ReadBack read;
  ASSERT_TRUE(gl_.TextureToNV12PixelBuffer(texture.get(), &read.buffer, false));
  const Planes planes = PlanesOf(read.buffer), expected = ExpectedNV12(picture, false, false);
  EXPECT_EQ(compare(expected.luma, planes.luma, kCell, kCell), "");
  EXPECT_EQ(compare(expected.chroma[0], planes.chroma[0], kCell, kCell / 2), "") << "U, V";
  Report("read-back of flat colours as YUV", errors);
}

TEST_F(ReadBackTest, PackedOfEverySizePlaceOrderAndFlag) {
  Errors errors;
  for (const auto& [width, height] : kSizes) {
    const Image picture = Picture(width, height, 2);
    for (const Place place : kPlaces) {
      const TexturePtr texture = Make(picture, place);
      ASSERT_NE(texture, nullptr);
      for (int order = 0; order < 4; ++order) {
        ASSERT_TRUE(gl_.SetTextureChannelOrder(texture.get(), order));
        for (int flags = 0; flags < 8; ++flags) {
          const bool flipped = flags & 1, flip = flags & 2, bgra = flags & 4;
          SCOPED_TRACE(Trace(place, width, height) + (flipped ? ", flipped" : "") + (flip ? ", flip" : "") +
                       (bgra ? ", BGRA" : ", RGBA") + ", order " + std::to_string(order));
          gl_.SetTextureFlipped(texture.get(), flipped);
          gl_.SetTextureRotation(texture.get(), order + flags);
          ReadBack read;
          read.buffer = Filled();
          QVGPixelBuffer& b = read.buffer;
          ASSERT_TRUE(bgra ? gl_.TextureToBGRAPixelBuffer(texture.get(), &b, flip)
                           : gl_.TextureToRGBAPixelBuffer(texture.get(), &b, flip));
          EXPECT_EQ(std::vector<int>({b.format, b.kind, b.width, b.height, b.stride[0], b.stride[1], b.stride[2]}),
                    std::vector<int>({bgra ? QVG_FORMAT_BGRA : QVG_FORMAT_RGBA, 2, width, height, 4 * width, 0, 0}));
          EXPECT_EQ(b.reserved, kUntouched);
          EXPECT_EQ(b.plane[1], nullptr);
          EXPECT_EQ(b.plane[2], nullptr);
          const Image content = Reordered(picture, order);
          EXPECT_EQ(Compare(flip ? FlippedRows(content) : content, PixelsOf(b), 0.01, errors), "");
          EXPECT_EQ(gl_.GetTextureFlipped(texture.get()), flipped);
        }
      }
    }
  }
  Report("read-back of RGBA and BGRA", errors);
}

TEST_F(ReadBackTest, TexturesOfThreeByteFormats) {
  for (const int code : {QVG_FORMAT_RGB, QVG_FORMAT_BGR, QVG_FORMAT_RGBX332}) {
    const Frame frame = MakeFrame(code, 37, 24, 3);
    const TexturePtr texture = Upload(frame);
    const Image content = Content(texture.get());  // uploads are another test's
    ReadBack bgra, nv12;
    ASSERT_TRUE(gl_.TextureToBGRAPixelBuffer(texture.get(), &bgra.buffer, true));
    EXPECT_EQ(Difference(FlippedRows(content), PixelsOf(bgra.buffer)), "");
    ASSERT_TRUE(gl_.TextureToNV12PixelBuffer(texture.get(), &nv12.buffer, false));
    EXPECT_EQ(Difference(ExpectedNV12(content, false, false).luma, PlanesOf(nv12.buffer).luma, kYuvLimit), "");
  }
}

TEST_F(ReadBackTest, SeveralAtOnceAreReleasedInAnyOrderOnAnyThread) {
  std::vector<Image> pictures;
  std::vector<TexturePtr> textures;
  for (int i = 0; i < 4; ++i) {
    pictures.push_back(Picture(30, 20, i));
    textures.push_back(Upload(pictures.back()));
  }
  {
    ReadBack reads[4];
    for (int i = 0; i < 4; ++i) {
      const bool done = i % 2 == 0 ? gl_.TextureToRGBAPixelBuffer(textures[i].get(), &reads[i].buffer, false)
                                   : gl_.TextureToNV12PixelBuffer(textures[i].get(), &reads[i].buffer, false);
      ASSERT_TRUE(done);
    }
    textures.clear();
    EXPECT_EQ(Difference(pictures[2], PixelsOf(reads[2].buffer)), "");
    std::thread([&] { reads[0].Release(); }).join();  // a thread without a context
    EXPECT_EQ(Difference(pictures[2], PixelsOf(reads[2].buffer)), "");
    EXPECT_EQ(Difference(ExpectedNV12(pictures[3], false, false).luma, PlanesOf(reads[3].buffer).luma, kYuvLimit), "");
    reads[3].Release();
    EXPECT_EQ(Difference(ExpectedNV12(pictures[1], false, false).luma, PlanesOf(reads[1].buffer).luma, kYuvLimit), "");
  }
  QVGPixelBuffer never = {};
  uint8_t byte = 0;
  never.plane[0] = &byte;
  QVGPixelBuffer* pointer = &never;
  gl_.ReleasePixelBuffer(&pointer);
  EXPECT_EQ(pointer, nullptr);
  gl_.ReleasePixelBuffer(&pointer);
  gl_.ReleasePixelBuffer(nullptr);
}

}  // namespace
}  // namespace qvg::test
