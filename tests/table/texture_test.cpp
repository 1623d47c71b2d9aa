// The slots of single textures, and the pools behind them.
#include <chrono>
#include <thread>

#include "support/table_test.h"

namespace qvg::test {
namespace {

using TextureTest = TableTest;
using PoolTest = TableTest;

TEST_F(TextureTest, StorageHasEvenSizesAndNoneThatCannotBe) {
  ExpectErrorLines();
  const Texture texture(gl_.AcquireTexture(101, 99));
  EXPECT_EQ(gl_.GetTextureAllocatedWidth(texture.get()), 102u);
  EXPECT_EQ(gl_.GetTextureAllocatedHeight(texture.get()), 100u);
  const std::vector<size_t> names = NameCounts();
  constexpr unsigned kSizes[][2] = {{0, 64}, {64, 0}, {70000, 16}, {~0u, ~0u}};
  for (const auto& [width, height] : kSizes) {
    EXPECT_EQ(gl_.AcquireTexture(width, height), nullptr) << width << " x " << height;
    gl_.PreallocateTextures(width, height, 3);
    gl_.PreallocateRenderBuffers(width, height, 2);
  }
  EXPECT_EQ(gl_.CreateFrameBuffer(~0u, 16, true, false), nullptr);
  gl_.PreallocatePixelBuffers(64, -2, true);
  ClearPools();
  EXPECT_EQ(NameCounts(), names);
}

TEST_F(TextureTest, CloneLooksAndReadsAsItsSource) {
  for (int order = 0; order < 4; ++order) {
    SCOPED_TRACE(order);
    const Texture source = UploadAnew(Picture(64, 48, 4), order > 1);
    // Content of odd size off the centre of its storage.
    gl_.SetTextureOrigin(source.get(), 21, 7);
    gl_.SetTextureSize(source.get(), 37, 23);
    gl_.SetTextureChannelOrder(source.get(), order);
    gl_.SetTextureFlipped(source.get(), order % 2 == 0);
    gl_.SetTextureRotation(source.get(), order);
    const Texture clone(gl_.CloneTexture(source.get()));
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(gl_.GetTextureFlipped(clone.get()), order % 2 == 0);
    EXPECT_EQ(gl_.GetTextureRotation(clone.get()), static_cast<unsigned>(order));
    const Image content = Content(source.get()), before = Storage(source.get());
    EXPECT_TRUE(gl_.ClearTexture(source.get(), Color{}.data()));  // the copy must not depend on it
    EXPECT_EQ(Difference(content, Content(clone.get()), 0), "");
    EXPECT_EQ(Difference(Over(before, Image(37, 23), 21, 7), Storage(source.get()), 0), "") << "cleared outside";
  }
}

// ---- Pools ----

TEST_F(PoolTest, SmallestFittingTextureOfTheFormatIsReusedAndStartsAnew) {
  const Image picture = Picture(100, 100, 1);
  QVGTexture* textures[3] = {gl_.AcquireTexture(200, 200), Upload(picture).release(), gl_.AcquireTexture(150, 150)};
  unsigned ids[3];
  for (int i = 0; i < 3; ++i) {
    ids[i] = gl_.GetTextureId(textures[i]);
    gl_.SetTextureChannelOrder(textures[i], 2);
    gl_.SetTextureRotation(textures[i], 3);
    gl_.SetTextureFlipped(textures[i], true);
    for (int times = 0; times < 2; ++times) gl_.ReleaseTexture(&textures[i]);
    EXPECT_EQ(textures[i], nullptr);
  }
  const Texture rgb = Upload(MakeFrame(QVG_FORMAT_RGB, 60, 60, 1));
  for (const unsigned id : ids) EXPECT_NE(gl_.GetTextureId(rgb.get()), id);
  const Texture wide(gl_.AcquireTexture(101, 20)), same(gl_.AcquireTexture(100, 100)), next(gl_.AcquireTexture(99, 99));
  EXPECT_EQ(gl_.GetTextureId(wide.get()), ids[2]);
  EXPECT_EQ(gl_.GetTextureId(same.get()), ids[1]);
  EXPECT_EQ(gl_.GetTextureId(next.get()), ids[0]);
  EXPECT_EQ(gl_.GetTextureRotation(same.get()), 0u);
  EXPECT_FALSE(gl_.GetTextureFlipped(same.get()));
  EXPECT_EQ(Difference(picture, Content(same.get())), "");
}

TEST_F(PoolTest, PreallocatedObjectsAreUsedAndClearedObjectsGo) {
  const auto counts = [] {
    const std::vector<size_t> names = NameCounts();
    return std::vector<size_t>{names[kTextures], names[kBuffers], names[kRenderBuffers]};
  };
  const std::vector<size_t> empty = counts();
  gl_.PreallocateTextures(80, 60, 2);
  gl_.PreallocateRenderBuffers(80, 90, 1);
  for (const bool uploads : {true, false}) gl_.PreallocatePixelBuffers(80 * 60 * 4, 2, uploads);
  const std::vector<size_t> filled = counts();
  EXPECT_EQ(filled, (std::vector<size_t>{empty[0] + 2, empty[1] + 4, empty[2] + 1}));
  {
    const Texture first(gl_.AcquireTexture(80, 60)), second(gl_.AcquireTexture(10, 10));
    const FrameBuffer frameBuffer(gl_.CreateFrameBuffer(80, 60, true, false));
    ReadBack read;
    ASSERT_TRUE(gl_.TextureToRGBAPixelBuffer(first.get(), &read.buffer, false));
    EXPECT_EQ(counts(), filled);
    ClearPools();  // leaves those in use alone
    for (const Texture* texture : {&first, &second}) EXPECT_NE(glIsTexture(gl_.GetTextureId(texture->get())), 0);
    std::thread([&] { read.Release(); }).join();  // a thread without a context
  }
  ClearPools();
  EXPECT_EQ(counts(), empty);
}

TEST_F(PoolTest, TexturesThatCameBackFirstGoWhenTheBudgetIsExceeded) {
  gl_.SetTexturePoolCapacity(160);  // 100 MiB
  gl_.SetTexturePoolCapacity(-5);   // refused
  std::vector<Texture> textures;
  std::vector<unsigned> ids;
  for (int i = 0; i < 16; ++i) {
    textures.emplace_back(gl_.AcquireTexture(2048, 1024));  // 8 MiB each
    ids.push_back(gl_.GetTextureId(textures.back().get()));
  }
  const auto alive = [&] {
    std::string state;
    for (const unsigned id : ids) state += glIsTexture(id) != 0 ? '1' : '0';
    return state;
  };
  const auto pause = [](int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); };
  pause(60);
  EXPECT_EQ(alive(), "1111111111111111") << "a texture in use was destroyed";
  while (!textures.empty()) textures.pop_back();  // the first one is given back last
  for (int i = 0; i < 200 && alive() != "1111111111110000"; ++i) pause(10);
  pause(60);
  EXPECT_EQ(alive(), "1111111111110000");
  gl_.SetTexturePoolCapacity(1060);
}

}  // namespace
}  // namespace qvg::test
