// The memory that read-backs lend to the host, byte by byte: the test's own block stands in the place of the driver's.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "faults.h"
#include "host.h"
#include "support/frames.h"
#include "utils/log.h"

namespace qvg::test {
namespace {

class MappingTest : public testing::Test {
 protected:
  void SetUp() override {
    Logger::Instance().SetSink(nullptr, 0);
    context_ = gl_.GetSharedContext();
    ASSERT_TRUE(gl_.MakeCurrentContext(context_, nullptr));
    before_ = Living();
  }
  void TearDown() override {
    gl_.ReleaseSharedContext(&context_);
    ReleaseLibrary();
    EXPECT_EQ(Living()[kMappings], 0);
    EXPECT_EQ(TakeMappingFaults(), "");
    Logger::Instance().SetSink(&DefaultLogSink, 0);
  }

  QVGTexture* Upload(int width, int height) {
    const Frame frame = MakeFrame(QVG_FORMAT_RGBA, width, height, 1);
    return gl_.UploadPixelBufferToNewTexture(&frame.buffer, false, false, {});
  }
  void Release(QVGPixelBuffer& out) {
    QVGPixelBuffer* handle = &out;
    gl_.ReleasePixelBuffer(&handle);
  }

  const QVGGLRendererInterface& gl_ = StartLibrary();
  QVGGLContext* context_ = nullptr;
  Census before_ = {};
};

TEST_F(MappingTest, ReadBacksFillTheirPlanesAndNothingElse) {
  const struct {
    const char* name;
    bool (*read)(const QVGGLRendererInterface& gl, QVGTexture* texture, QVGPixelBuffer* out);
  } readBacks[] = {
      {"NV12",
       [](const auto& gl, auto* texture, auto* out) { return gl.TextureToNV12PixelBuffer(texture, out, false); }},
      {"mirrored NV12",
       [](const auto& gl, auto* texture, auto* out) { return gl.TextureToNV12PixelBuffer(texture, out, true); }},
      {"planar", [](const auto& gl, auto* texture,
                    auto* out) { return gl.TextureToYUV420PixelBuffer(texture, false, false, out); }},
      {"RGBA",
       [](const auto& gl, auto* texture, auto* out) { return gl.TextureToRGBAPixelBuffer(texture, out, false); }},
      {"flipped BGRA",
       [](const auto& gl, auto* texture, auto* out) { return gl.TextureToBGRAPixelBuffer(texture, out, true); }},
  };
  const int sizes[][2] = {{24, 12}, {21, 13}, {2, 2}, {1, 1}, {3, 5}, {6, 4}, {4, 2}, {30, 7}};
  for (const auto& readBack : readBacks) {
    for (const auto& [width, height] : sizes) {
      SCOPED_TRACE(testing::Message() << readBack.name << ' ' << width << " x " << height);
      // Alpha and all colours are other than what fresh memory is full of.
      QVGTexture* texture = Upload(width, height);
      const double grey[4] = {0.3, 0.3, 0.3, 0.3};
      ASSERT_TRUE(gl_.ClearTexture(texture, grey));
      gl_.ClearPixelBufferPool();
      QVGPixelBuffer out = {};
      ASSERT_TRUE(readBack.read(gl_, texture, &out));
      const std::span<const uint8_t> block = MappedBlock(out.plane[0]);
      ASSERT_FALSE(block.empty());
      std::vector<bool> filled(block.size());
      const bool packed = out.format == QVG_FORMAT_RGBA || out.format == QVG_FORMAT_BGRA;
      for (int i = 0; i < 3; ++i) {
        if (out.plane[i] == nullptr) continue;
        const int chromaRowBytes = out.format == QVG_FORMAT_NV12 ? width / 2 * 2 : width / 2;
        const int rows = i == 0 ? height : height / 2;
        const int rowBytes = i == 0 ? (packed ? 4 * width : width) : chromaRowBytes;
        for (int y = 0; y < rows; ++y) {
          const size_t begin = static_cast<size_t>(out.plane[i] - block.data() + ptrdiff_t{y} * out.stride[i]);
          ASSERT_LE(begin + static_cast<size_t>(rowBytes), block.size());
          std::fill_n(filled.begin() + static_cast<ptrdiff_t>(begin), rowBytes, true);
        }
      }
      // NV12 of an odd width has a byte more in each row of chroma, which belongs to no pair.
      size_t untouched = 0, beyond = 0;
      const size_t end = static_cast<size_t>(std::find(filled.rbegin(), filled.rend(), true).base() - filled.begin());
      for (size_t i = 0; i < block.size(); ++i) {
        if (filled[i] && block[i] == kFresh) ++untouched;
        if (i >= end + 1 && block[i] != kFresh) ++beyond;
      }
      EXPECT_EQ(untouched, 0u);
      EXPECT_EQ(beyond, 0u);
      Release(out);
      gl_.ReleaseTexture(&texture);
    }
  }
}

TEST_F(MappingTest, HostsMayReadAndWriteInsideUntilTheyGiveBack) {
  QVGTexture* texture = Upload(24, 12);
  for (int round = 0; round < 3; ++round) {
    QVGPixelBuffer out = {};
    ASSERT_TRUE(gl_.TextureToNV12PixelBuffer(texture, &out, false));
    const std::span<const uint8_t> block = MappedBlock(out.plane[0]);
    std::memset(out.plane[0], round, block.size());
    Release(out);
    EXPECT_EQ(Living()[kMappings], before_[kMappings]);
  }
  EXPECT_EQ(TakeMappingFaults(), "");
  gl_.ReleaseTexture(&texture);
}

TEST_F(MappingTest, AHostThatWritesBeyondOrNeverGivesBackIsFound) {
  QVGTexture* texture = Upload(24, 12);
  QVGPixelBuffer behind = {}, before = {}, never = {};
  for (QVGPixelBuffer* out : {&behind, &before, &never}) ASSERT_TRUE(gl_.TextureToRGBAPixelBuffer(texture, out, false));
  EXPECT_EQ(Living()[kMappings] - before_[kMappings], 3);
  behind.plane[0][MappedBlock(behind.plane[0]).size()] = 1;
  Release(behind);
  EXPECT_EQ(TakeMappingFaults(), "bytes behind mapped memory were written; ");
  before.plane[0][-1] = 1;
  Release(before);
  EXPECT_EQ(TakeMappingFaults(), "bytes before mapped memory were written; ");
  gl_.ReleaseTexture(&texture);
  // The release takes it back; its block is gone then.
  EXPECT_EQ(Living()[kMappings] - before_[kMappings], 1);
}

}  // namespace
}  // namespace qvg::test
