// Uploads of every format, read back and compared with the same formulas on the CPU.
#include <algorithm>
#include <cstring>
#include <functional>

#include "support/table_test.h"

namespace qvg::test {
namespace {

using UploadTest = TableTest;

constexpr int kSizes[][2] = {{1, 1}, {5, 3}, {37, 23}, {64, 48}};

/// Runs the test with every size, in fresh and in recycled storage, every layout of the format and both row orders.
void ForEachUpload(int code, const std::function<void(const Layout& layout, bool recycled, bool flipped)>& test) {
  for (const auto& [width, height] : kSizes) {
    for (const bool recycled : {false, true}) {
      for (const Layout& layout : Layouts(code, width, height)) {
        for (const bool flipped : {false, true}) {
          ClearPools();
          if (recycled) LeaveGarbage(code, width, height);
          SCOPED_TRACE(layout.name + ", " + Size(width, height) + (recycled ? ", recycled" : "") +
                       (flipped ? ", flipped" : ""));
          test(layout, recycled, flipped);
        }
      }
    }
  }
}

TEST_F(UploadTest, EveryFormatSizeAndStrideIntoNewTextures) {
  for (const Format& format : Formats()) {
    ForEachUpload(format.code, [&](const Layout& layout, bool recycled, bool flipped) {
      const unsigned width = layout.width, height = layout.height;
      Frame frame = MakeFrame(layout, flipped ? 1 : 2);
      const Texture texture = Upload(frame, flipped);
      ASSERT_NE(texture, nullptr);
      // The library must not access it any more.
      for (const Block& block : frame.memory) std::memset(block.bytes.get(), 0, block.size);
      EXPECT_EQ(gl_.GetTextureWidth(texture.get()), width);
      EXPECT_EQ(gl_.GetTextureHeight(texture.get()), height);
      EXPECT_EQ(gl_.GetTextureFlipped(texture.get()), !flipped);
      EXPECT_EQ(gl_.GetTextureAllocatedWidth(texture.get()) > width + 1, recycled);
      EXPECT_EQ(
          Mismatch(ExpectedUpload(frame, layout.width, layout.height), Content(texture.get()), UploadLimit(format)),
          "");
    });
  }
}

// Frames in one piece, as the header's helper describes them.
TEST_F(UploadTest, EveryFormatFromOnePointer) {
  constexpr int kPadding = 6;
  for (const Format& format : Formats()) {
    for (const auto& [width, height] : kSizes) {
      for (const bool padded : {false, true}) {
        Layout layout = Layouts(format.code, width, height).front();
        SCOPED_TRACE(layout.name + ", " + Size(width, height) + (padded ? ", padded" : ""));
        const int stride = padded ? layout.stride[0] + kPadding : 0;
        const auto memory = GuardedMemory(QVG_PixelBufferSize(format.code, width, height, stride));
        QVGPixelBuffer buffer;
        ASSERT_GT(QVG_PixelBufferFromPointer(&buffer, format.code, width, height, memory.get(), stride), 0u);
        std::copy_n(buffer.stride, 3, layout.stride.begin());
        const Frame frame = MakeFrame(layout, 3);
        for (int p = 0; p < format.planes; ++p)
          std::memcpy(buffer.plane[p], frame.memory[p].bytes.get(), frame.memory[p].size);
        const Texture texture(gl_.UploadPixelBufferToNewTexture(&buffer, false, false, {}));
        EXPECT_EQ(Mismatch(ExpectedUpload(frame, width, height), Content(texture.get()), UploadLimit(format)), "");
      }
    }
  }
  EXPECT_EQ(QVG_PixelBufferSize(QVG_FORMAT_NV12, 5, 3, 0), 5u * 3 + 6 * 2);
  EXPECT_EQ(QVG_PixelBufferSize(QVG_FORMAT_I420, 6, 4, 9), 9u * 4 + 2 * 5 * 2);
  const int refused[][4] = {{1, 4, 4, 0},
                            {QVG_FORMAT_RGBA, 0, 4, 0},
                            {QVG_FORMAT_RGBA, 4, -1, 0},
                            {QVG_FORMAT_RGBA, 4, 4, 15},
                            {QVG_FORMAT_RGBA, INT32_MAX / 2, 1, 0}};
  for (const auto& [code, width, height, stride] : refused)
    EXPECT_EQ(QVG_PixelBufferSize(code, width, height, stride), 0u) << code << ", " << width;
}

// Inside cells of one colour filtering changes nothing: the formulas must be exact.
TEST_F(UploadTest, YuvFormulasOfFlatColours) {
  for (const Format& format : Formats()) {
    if (!format.yuv()) continue;
    for (const Layout& layout : Layouts(format.code, kFlatWidth, kFlatHeight)) {
      SCOPED_TRACE(layout.name);
      const Frame frame = MakeFlatFrame(GuardedMemory, layout);
      const Image expected = ExpectedUpload(frame, kFlatWidth, kFlatHeight);
      EXPECT_EQ(Mismatch(expected, Content(Upload(frame).get()), kFlatLimit, NotFlat()), "");
    }
  }
}

TEST_F(UploadTest, IntoATextureThatHoldsAnotherFrameAndIsTurned) {
  for (const Format& format : Formats()) {
    for (const auto& [width, height] : kSizes) {
      for (const Layout& layout : Layouts(format.code, width, height)) {
        SCOPED_TRACE(layout.name + ", " + Size(width, height));
        const Texture texture = Upload(MakeFrame(format.code, 71, 52, 5));
        ASSERT_NE(texture, nullptr);
        // A YUV frame is scaled to the content, a packed one becomes the content.
        const int contentWidth = format.yuv() ? 71 : width, contentHeight = format.yuv() ? 52 : height;
        const Image before = Storage(texture.get());
        gl_.SetTextureChannelOrder(texture.get(), 0);
        gl_.SetTextureRotation(texture.get(), 1);  // the upload ignores it
        const Frame frame = MakeFrame(layout, 3);
        ASSERT_TRUE(gl_.UploadPixelBufferToTexture(texture.get(), &frame.buffer, true, false, {}));
        EXPECT_FALSE(gl_.GetTextureFlipped(texture.get()));
        const Image expected = ExpectedUpload(frame, contentWidth, contentHeight);
        EXPECT_EQ(Mismatch(expected, Content(texture.get()), UploadLimit(format)), "");
        const Image after = Storage(texture.get());
        const int left = (after.width - contentWidth) / 2, bottom = (after.height - contentHeight) / 2;
        const Image content = Crop(after, left, bottom, contentWidth, contentHeight);
        EXPECT_EQ(Difference(Over(before, content, left, bottom), after, 0), "") << "written outside the content";
      }
    }
  }
}

TEST_F(UploadTest, MatteKeysOneColourOut) {
  const Color key = {20 / 255.0, 200 / 255.0, 90 / 255.0, 130 / 255.0};
  for (const int code : {QVG_FORMAT_RGBA, QVG_FORMAT_ARGB, QVG_FORMAT_BGRA, QVG_FORMAT_ABGR}) {
    ForEachUpload(code, [&](const Layout& layout, bool, bool flipped) {
      // The matte colour itself, and colours a step off in each channel and direction.
      Image picture = Picture(layout.width, layout.height, 6);
      for (size_t i = 0; i < picture.texels.size(); i += 2) {
        const int which = static_cast<int>(i / 2 % 9);
        picture.texels[i] = key;
        if (which > 0) picture.texels[i][(which - 1) / 2] += (which % 2 == 0 ? 1 : -1) / 255.0;
      }
      const Frame frame = MakeFrame(layout, picture);
      const QVGColor matte = {key[0] + 0.002, key[1] + 0.002, key[2] + 0.002, key[3] + 0.002};
      const Texture made(gl_.UploadPixelBufferToNewTexture(&frame.buffer, flipped, true, matte));
      const Texture filled = Upload(Picture(64, 48, 9));  // gets the frame's size
      EXPECT_TRUE(gl_.UploadPixelBufferToTexture(filled.get(), &frame.buffer, flipped, true, matte));
      const Image matted = Matted(picture, matte);
      for (const Texture* texture : {&made, &filled}) {
        EXPECT_TRUE(gl_.GetTextureFlipped(texture->get()));
        EXPECT_EQ(Mismatch(flipped ? FlippedRows(matted) : matted, Content(texture->get()), 0.01), "");
      }
    });
  }
  // The matte is for formats with four bytes per pixel only.
  const Frame frame = MakeFrame(QVG_FORMAT_NV12, 20, 30, 8);
  const Image plain = ExpectedUpload(frame, 20, 30);
  const auto& [r, g, b, a] = plain.at(7, 9);
  const Texture texture(gl_.UploadPixelBufferToNewTexture(&frame.buffer, true, true, {r, g, b, a}));
  EXPECT_EQ(Difference(plain, Content(texture.get()), kYuvUploadLimit), "");
}

// ---- Frames that can't be ----

TEST_F(UploadTest, BadFramesAreRefusedBeforeAnythingIsMade) {
  const struct {
    const char* what;
    int code;
    void (*spoil)(QVGPixelBuffer&);
  } faults[] = {
      {"no plane 2", QVG_FORMAT_I444, [](auto& b) { b.plane[2] = nullptr; }},
      {"width 0", QVG_FORMAT_RGBA, [](auto& b) { b.width = 0; }},
      {"negative height", QVG_FORMAT_BGR, [](auto& b) { b.height = -1; }},
      {"width of 2^31 - 1", QVG_FORMAT_RGBA, [](auto& b) { b.width = b.stride[0] = INT32_MAX; }},
      {"height above the driver's limit", QVG_FORMAT_I420, [](auto& b) { b.height = 70000; }},
      {"stride below the row", QVG_FORMAT_RGBX332, [](auto& b) { b.stride[0] = 3 * b.width; }},
      {"chroma stride below the row", QVG_FORMAT_NV12, [](auto& b) { b.stride[1] -= 1; }},
      {"format 18", QVG_FORMAT_I420, [](auto& b) { b.format = 18; }},
  };
  const Image picture = Picture(40, 30, 1);
  const Texture texture = Upload(picture);
  const std::vector<size_t> names = NameCounts();
  for (const auto& [what, code, spoil] : faults) {
    for (const bool matte : {false, true}) {
      SCOPED_TRACE(std::string(FormatOf(code).name) + ": " + what);
      Frame frame = MakeFrame(code, 37, 23, 1);
      spoil(frame.buffer);
      EXPECT_EQ(gl_.UploadPixelBufferToNewTexture(&frame.buffer, false, matte, {}), nullptr);
      EXPECT_FALSE(gl_.UploadPixelBufferToTexture(texture.get(), &frame.buffer, true, matte, {}));
    }
  }
  // Valid frames that don't fit the texture.
  for (const Frame& frame : {MakeFrame(QVG_FORMAT_RGBA, 41, 10, 1), MakeFrame(QVG_FORMAT_BGRA, 10, 31, 1),
                             MakeFrame(QVG_FORMAT_RGB, 10, 10, 1)}) {
    SCOPED_TRACE(frame.layout.name);
    EXPECT_FALSE(gl_.UploadPixelBufferToTexture(texture.get(), &frame.buffer, true, false, {}));
  }
  EXPECT_EQ(NameCounts(), names);
  EXPECT_TRUE(gl_.GetTextureFlipped(texture.get()));
  EXPECT_EQ(Difference(picture, Content(texture.get()), 0), "") << "a refused frame changed the texture";
}

}  // namespace
}  // namespace qvg::test
