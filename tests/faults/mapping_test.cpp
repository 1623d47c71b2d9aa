// The memory that read-backs lend to the host, byte by byte: a block of the test's replaces the driver's.
#include <gtest/gtest.h>

#include <algorithm>

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
  const int sizes[][2] = {{24, 12}, {21, 13}, {1, 1}, {3, 5}, {6, 4}, {30, 7}};
  for (const int code : {QVG_FORMAT_NV12, QVG_FORMAT_I420, QVG_FORMAT_RGBA}) {
    for (const auto& [width, height] : sizes) {
      SCOPED_TRACE(testing::Message() << FormatOf(code).name << ' ' << width << " x " << height);
      // Alpha and all colours differ from the bytes of fresh memory.
      QVGTexture* texture = Upload(width, height);
      const double grey[4] = {0.3, 0.3, 0.3, 0.3};
      ASSERT_TRUE(gl_.ClearTexture(texture, grey));
      gl_.ClearPixelBufferPool();
      QVGPixelBuffer out = {};
      ASSERT_TRUE(code == QVG_FORMAT_NV12   ? gl_.TextureToNV12PixelBuffer(texture, &out, true)
                  : code == QVG_FORMAT_I420 ? gl_.TextureToYUV420PixelBuffer(texture, false, false, &out)
                                            : gl_.TextureToRGBAPixelBuffer(texture, &out, false));
      const std::span<const uint8_t> block = MappedBlock(out.plane[0]);
      ASSERT_FALSE(block.empty());
      const ptrdiff_t luma = ptrdiff_t{width} * height * (code == QVG_FORMAT_RGBA ? 4 : 1);
      const ptrdiff_t chroma = code == QVG_FORMAT_RGBA ? 0 : ptrdiff_t{2} * (width / 2) * (height / 2);
      const auto filled = static_cast<ptrdiff_t>(
          std::count_if(block.begin(), block.end(), [](uint8_t byte) { return byte != kFresh; }));
      EXPECT_EQ(std::count(block.begin(), block.begin() + luma, kFresh), 0);
      // NV12 of an odd width has an extra byte in each row of chroma, which belongs to no pair.
      EXPECT_GE(filled, luma + chroma);
      EXPECT_LE(filled, luma + chroma + (code == QVG_FORMAT_NV12 ? width % 2 * (height / 2) : 0));
      Release(out);
      gl_.ReleaseTexture(&texture);
    }
  }
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
  // The release takes it back, and its block is freed.
  EXPECT_EQ(Living()[kMappings] - before_[kMappings], 1);
}

}  // namespace
}  // namespace qvg::test
