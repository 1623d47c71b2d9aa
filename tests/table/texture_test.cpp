// The slots of single textures, and the pools behind them.
#include <chrono>
#include <thread>

#include "support/table_test.h"

namespace qvg::test {
namespace {

using TextureTest = TableTest;
using PoolTest = TableTest;

TEST_F(TextureTest, StorageHasEvenSizesAndNoneThatCannotBe) {
  const TexturePtr texture(gl_.AcquireTexture(101, 99));
  EXPECT_EQ(gl_.GetTextureAllocatedWidth(texture.get()), 102u);
  EXPECT_EQ(gl_.GetTextureAllocatedHeight(texture.get()), 100u);
  const std::vector<size_t> names = NameCounts();
  constexpr unsigned kSizes[][2] = {{0, 0}, {0, 64}, {64, 0}, {70000, 16}, {16, 0x80000000u}, {~0u, ~0u}};
  for (const auto& [width, height] : kSizes) {
    EXPECT_EQ(gl_.AcquireTexture(width, height), nullptr) << width << " x " << height;
    gl_.PreallocateTextures(width, height, 3);
    gl_.PreallocateRenderBuffers(width, height, 2);
  }
  EXPECT_EQ(gl_.CreateFrameBuffer(~0u, 16, true, false), nullptr);
  gl_.PreallocateTextures(64, 64, -3);
  gl_.PreallocatePixelBuffers(0, 2, true);
  gl_.PreallocatePixelBuffers(64, -2, true);
  ClearPools();
  EXPECT_EQ(NameCounts(), names);
  ExpectErrorLines();
}

// Content of odd size off the centre of its storage.
TexturePtr Window(int seed, int x, int y, int width, int height) {
  TexturePtr texture = Upload(Picture(64, 48, seed));
  const unsigned left = (Table().GetTextureAllocatedWidth(texture.get()) - 64) / 2;
  const unsigned bottom = (Table().GetTextureAllocatedHeight(texture.get()) - 48) / 2;
  Table().SetTextureOrigin(texture.get(), left + x, bottom + y);
  Table().SetTextureSize(texture.get(), width, height);
  return texture;
}

TEST_F(TextureTest, CloneLooksAndReadsAsItsSource) {
  for (const bool recycled : {false, true}) {
    for (int order = 0; order < 4; ++order) {
      SCOPED_TRACE((recycled ? "recycled, order " : "order ") + std::to_string(order));
      ClearPools();
      if (recycled) LeaveGarbage(QVG_FORMAT_RGBA, 64, 48);
      const TexturePtr source = Window(4, 11, 2, 37, 23);
      gl_.SetTextureChannelOrder(source.get(), order);
      gl_.SetTextureFlipped(source.get(), order % 2 == 0);
      gl_.SetTextureRotation(source.get(), order);
      const TexturePtr clone(gl_.CloneTexture(source.get()));
      ASSERT_NE(clone, nullptr);
      EXPECT_EQ(gl_.GetTextureFlipped(clone.get()), order % 2 == 0);
      EXPECT_EQ(gl_.GetTextureRotation(clone.get()), static_cast<unsigned>(order));
      const Image content = Content(source.get());
      EXPECT_EQ(content.width, 37);
      EXPECT_TRUE(gl_.ClearTexture(source.get(), Color{}.data()));  // the copy is its own
      EXPECT_EQ(Difference(content, Content(clone.get()), 0), "");
    }
  }
}

TEST_F(TextureTest, OperationsFillTheContentAndNoMore) {
  const Color color = {0.2, 0.6, 1, 0.4};
  const Image filled(21, 31, color), picture = Picture(81, 81, 9);
  const TexturePtr source = Upload(picture);
  const auto check = [](const char* slot, const Image& content, auto fill) {
    const TexturePtr texture = Window(1, 7, 3, 21, 31);
    const Image before = Storage(texture.get());
    EXPECT_TRUE(fill(texture.get())) << slot;
    EXPECT_EQ(Difference(Over(before, content, 7, 3), Storage(texture.get())), "") << slot;
  };
  check("ClearTexture", filled, [&](auto* texture) { return gl_.ClearTexture(texture, color.data()); });
  check("ClearFrameBuffer", filled,
        [&](auto* texture) { return gl_.ClearFrameBuffer(Target(texture).get(), color.data()); });
  check("DrawTexture", Crop(picture, 30, 25, 21, 31),
        [&](auto* texture) { return gl_.DrawTexture(source.get(), Target(texture).get(), nullptr); });
}

// ---- Pools ----

TEST_F(PoolTest, SmallestFittingTextureOfTheFormatIsReused) {
  QVGTexture* textures[3] = {gl_.AcquireTexture(200, 200), gl_.AcquireTexture(100, 100), gl_.AcquireTexture(150, 150)};
  unsigned ids[3];
  for (int i = 0; i < 3; ++i) {
    ids[i] = gl_.GetTextureId(textures[i]);
    gl_.ReleaseTexture(&textures[i]);
    EXPECT_EQ(textures[i], nullptr);
    gl_.ReleaseTexture(&textures[i]);
  }
  const TexturePtr rgb = Upload(MakeFrame(QVG_FORMAT_RGB, 60, 60, 1));
  for (const unsigned id : ids) EXPECT_NE(gl_.GetTextureId(rgb.get()), id);
  const TexturePtr wide(gl_.AcquireTexture(101, 20)), small(gl_.AcquireTexture(99, 99)),
      next(gl_.AcquireTexture(99, 99));
  EXPECT_EQ(gl_.GetTextureId(wide.get()), ids[2]);
  EXPECT_EQ(gl_.GetTextureId(small.get()), ids[1]);
  EXPECT_EQ(gl_.GetTextureId(next.get()), ids[0]);
}

TEST_F(PoolTest, ReusedTexturesStartAnew) {
  const Image picture = Picture(20, 10, 1);
  TexturePtr texture = Upload(picture);
  gl_.SetTextureChannelOrder(texture.get(), 2);
  gl_.SetTextureRotation(texture.get(), 3);
  gl_.SetTextureFlipped(texture.get(), true);
  const unsigned id = gl_.GetTextureId(texture.get());
  texture.reset();
  texture.reset(gl_.AcquireTexture(20, 10));
  ASSERT_EQ(gl_.GetTextureId(texture.get()), id);
  EXPECT_EQ(gl_.GetTextureRotation(texture.get()), 0u);
  EXPECT_FALSE(gl_.GetTextureFlipped(texture.get()));
  EXPECT_EQ(Difference(picture, Content(texture.get())), "");
}

TEST_F(PoolTest, PreallocatedObjectsAreUsedAndClearedObjectsGo) {
  const auto counts = [] {
    std::vector<size_t> names = NameCounts();
    names.resize(kRenderBuffers + 1);
    return names;
  };
  const std::vector<size_t> empty = counts();
  gl_.PreallocateTextures(80, 60, 3);
  gl_.PreallocateRenderBuffers(80, 90, 2);
  for (const bool uploads : {true, false}) gl_.PreallocatePixelBuffers(80 * 60 * 4, 2, uploads);
  const std::vector<size_t> filled = counts();
  EXPECT_EQ(filled, (std::vector<size_t>{empty[0] + 3, empty[1] + 4, empty[2] + 2}));
  {
    const TexturePtr textures[] = {TexturePtr(gl_.AcquireTexture(80, 60)), TexturePtr(gl_.AcquireTexture(79, 59)),
                                   TexturePtr(gl_.AcquireTexture(10, 10))};
    const FrameBufferPtr first(gl_.CreateFrameBuffer(80, 60, true, false)),
        second(gl_.CreateFrameBuffer(9, 9, true, false));
    gl_.SetTextureFlipped(textures[0].get(), true);
    ReadBack rgba, bgra;
    ASSERT_TRUE(gl_.TextureToRGBAPixelBuffer(textures[0].get(), &rgba.buffer, false));
    ASSERT_TRUE(gl_.TextureToBGRAPixelBuffer(textures[0].get(), &bgra.buffer, false));
    EXPECT_EQ(counts(), filled);
    ClearPools();  // spares what is out
    for (const TexturePtr& texture : textures) EXPECT_NE(glIsTexture(gl_.GetTextureId(texture.get())), 0);
    EXPECT_EQ(PixelsOf(rgba.buffer).texels.size(), 80u * 60);
    std::thread([&] { rgba.Release(); }).join();  // a thread without a context
  }
  ClearPools();
  EXPECT_EQ(counts(), empty);
}

TEST_F(PoolTest, TexturesThatCameBackFirstGoWhenTheBudgetIsExceeded) {
  gl_.SetTexturePoolCapacity(160);  // 100 MiB
  std::vector<TexturePtr> textures;
  std::vector<unsigned> ids;
  for (int i = 0; i < 16; ++i) {
    textures.emplace_back(gl_.AcquireTexture(2048, 1024));  // 8 MiB each
    ASSERT_NE(textures.back(), nullptr);
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
  while (!textures.empty()) textures.pop_back();  // the first one comes back last
  for (const int refused : {0, -5}) gl_.SetTexturePoolCapacity(refused);
  for (int i = 0; i < 200 && alive() != "1111111111110000"; ++i) pause(10);
  pause(60);
  EXPECT_EQ(alive(), "1111111111110000");
  gl_.SetTexturePoolCapacity(1060);
}

// Every kind of operation, over and over: whatever it takes it gives back.
TEST_F(PoolTest, NoNameIsLeftOver) {
  const auto work = [&] {
    for (const Format& format : Formats()) {
      const Frame frame = MakeFrame(Layouts(format.code, 38, 22)[1], 1);
      const TexturePtr texture(gl_.UploadPixelBufferToNewTexture(&frame.buffer, false, true, {}));
      const TexturePtr clone(gl_.CloneTexture(texture.get())), target(gl_.AcquireTexture(40, 30));
      const FrameBufferPtr frameBuffer = Target(target.get(), nullptr, true);
      const FrameBufferPtr own(gl_.CreateFrameBuffer(40, 30, true, false));
      QVGDrawTextureParams params = DefaultParams();
      params.matteTexture = clone.get();
      params.matteType = 1;
      params.blendType = QVG_BLEND_SCREEN;
      gl_.DrawTexture(texture.get(), frameBuffer.get(), &params);
      gl_.DrawTexture(texture.get(), own.get(), &params);
      gl_.DrawTexture(target.get(), frameBuffer.get(), nullptr);
      ReadBack reads[4];
      EXPECT_TRUE(gl_.TextureToNV12PixelBuffer(target.get(), &reads[0].buffer, true));
      EXPECT_TRUE(gl_.TextureToYUV420PixelBuffer(target.get(), true, false, &reads[1].buffer));
      EXPECT_TRUE(gl_.TextureToRGBAPixelBuffer(target.get(), &reads[2].buffer, true));
      EXPECT_TRUE(gl_.TextureToBGRAPixelBuffer(clone.get(), &reads[3].buffer, false));
    }
    ClearPools();
  };
  work();
  const std::vector<size_t> names = NameCounts();
  for (int i = 0; i < 3; ++i) work();
  EXPECT_EQ(NameCounts(), names);
}

}  // namespace
}  // namespace qvg::test
