// The form of the lines on standard output.
#include <algorithm>
#include <ctime>
#include <regex>
#include <sstream>

#include "support/table_test.h"

namespace qvg::test {
namespace {

class LogTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    ExpectErrorLines();
    TakeLog();
    started_ = Minute();
  }

  static std::string Minute() {
    const std::time_t now = std::time(nullptr);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d.%H:%M", std::localtime(&now));
    return text;
  }

  // The only line of the log since the last call matches: timestamp of now, then the pattern.
  void ExpectLine(const std::string& level, const std::string& pattern) {
    std::string log = TakeLog();
    log.erase(std::remove(log.begin(), log.end(), '\r'), log.end());
    const std::regex form(R"(\[)" + level + R"(\] \[(\d{4}-\d\d-\d\d\.\d\d:\d\d):\d\d\.\d{3}\])" + pattern + '\n');
    std::smatch match;
    ASSERT_TRUE(std::regex_match(log, match, form)) << log;
    EXPECT_GE(match.str(1), started_);
    EXPECT_LE(match.str(1), Minute());
  }

 private:
  std::string started_;
};

TEST_F(LogTest, LocatedLineNamesLineFunctionAndFile) {
  QVGGLContext* unknown = reinterpret_cast<QVGGLContext*>(this);
  EXPECT_FALSE(gl_.SwapBuffers(unknown));
  ExpectLine(
      "ERROR",
      R"(context not fond in map\.,line=\d+,func=.*QVGLContextManager::SwapBuffers\(.*,file=src/base/glContext)");
  gl_.DestroySharedContext(&unknown);
  EXPECT_EQ(unknown, nullptr);
  ExpectLine("ERROR", R"(context not fond in map\.,line=\d+,func=.*QVGLContextManager::DestroySharedContext\(.*,)"
                      R"(file=src/base/glContext)");
}

TEST_F(LogTest, ShortLineCountsContexts) {
  QVGGLContext* context = gl_.CreateSharedContext(nullptr, nullptr, true);
  ASSERT_NE(context, nullptr);
  ExpectLine("INFO", R"(Context count=\d+)");
  gl_.DestroySharedContext(&context);
  ExpectLine("INFO", R"(Context count=\d+)");
}

TEST_F(LogTest, FrameBufferLinesNameTheirFile) {
  const TexturePtr texture(gl_.AcquireTexture(30, 20));
  const FrameBufferPtr frameBuffer(gl_.CreateFrameBuffer(31, 20, true, false));
  EXPECT_FALSE(gl_.BindTextureToFrameBuffer(frameBuffer.get(), texture.get()));
  ExpectLine("ERROR",
             R"(color texture size not equal frambuffer size,line=\d+,func=.*FrameBuffer::BindColorTexture\(.*,)"
             R"(file=src/base/framebuffer)");
}

TEST_F(LogTest, AQueuedErrorIsReportedByTheNextOperation) {
  const TexturePtr texture(gl_.AcquireTexture(30, 20));
  Gl().BindTexture(0xBAD, 0);  // an invalid target
  EXPECT_FALSE(gl_.SetTextureChannelOrder(texture.get(), 0));
  ExpectLine("ERROR", R"(OpenGL Error: Invalid enum,line=\d+,func=.*Texture::RemapRGBA\(.*,file=src/base/texture)");
  EXPECT_TRUE(gl_.SetTextureChannelOrder(texture.get(), 1));
}

}  // namespace
}  // namespace qvg::test
