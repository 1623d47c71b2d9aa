// The form of the lines on standard output.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <ctime>

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

  // The only line since the last call, without its level and its timestamp, which must be of now.
  std::string Line(const std::string& level) {
    std::string log = TakeLog();
    log.erase(std::remove(log.begin(), log.end(), '\r'), log.end());
    const std::string prefix = '[' + level + "] [", form = "0000-00-00.00:00:00.000]";
    if (!log.starts_with(prefix) || log.size() < prefix.size() + form.size() || log.find('\n') + 1 != log.size())
      return "not one line: " + log;
    std::string time = log.substr(prefix.size(), form.size());
    const std::string minute = time.substr(0, started_.size());
    EXPECT_TRUE(started_ <= minute && minute <= Minute()) << log;
    for (char& c : time)
      if (std::isdigit(static_cast<unsigned char>(c)) != 0) c = '0';
    EXPECT_EQ(time, form);
    log.pop_back();
    return log.substr(prefix.size() + form.size());
  }

  void ExpectLocated(const std::string& message, const std::string& function, const std::string& file) {
    std::string line = Line("ERROR");
    const std::string start = message + ",line=", end = ",file=" + file;
    ASSERT_TRUE(line.starts_with(start) && line.ends_with(end)) << line;
    line = line.substr(start.size(), line.size() - start.size() - end.size());
    const size_t digits = line.find_first_not_of("0123456789");
    EXPECT_GT(digits, 0u);
    ASSERT_TRUE(digits != std::string::npos && line.substr(digits).starts_with(",func=")) << line;
    EXPECT_NE(line.find("qvg::" + function + '(', digits), std::string::npos) << line;
  }

 private:
  std::string started_;
};

TEST_F(LogTest, LocatedLineNamesLineFunctionAndFile) {
  QVGGLContext* unknown = reinterpret_cast<QVGGLContext*>(this);
  EXPECT_FALSE(gl_.SwapBuffers(unknown));
  ExpectLocated("context not fond in map.", "QVGLContextManager::SwapBuffers", "src/base/glContext");
  gl_.DestroySharedContext(&unknown);
  EXPECT_EQ(unknown, nullptr);
  ExpectLocated("context not fond in map.", "QVGLContextManager::DestroySharedContext", "src/base/glContext");

  const TexturePtr texture(gl_.AcquireTexture(30, 20));
  const FrameBufferPtr frameBuffer(gl_.CreateFrameBuffer(31, 20, true, false));
  EXPECT_FALSE(gl_.BindTextureToFrameBuffer(frameBuffer.get(), texture.get()));
  ExpectLocated("color texture size not equal frambuffer size", "FrameBuffer::BindColorTexture",
                "src/base/framebuffer");
}

TEST_F(LogTest, ShortLineCountsContexts) {
  const auto count = [&] {
    const std::string line = Line("INFO"), start = "Context count=";
    EXPECT_TRUE(line.starts_with(start)) << line;
    return std::atoi(line.c_str() + std::min(start.size(), line.size()));
  };
  QVGGLContext* context = gl_.CreateSharedContext(nullptr, nullptr, true);
  ASSERT_NE(context, nullptr);
  const int before = count();
  gl_.DestroySharedContext(&context);
  EXPECT_EQ(count(), before - 1);
}

TEST_F(LogTest, AQueuedErrorIsReportedByTheNextOperation) {
  const TexturePtr texture(gl_.AcquireTexture(30, 20));
  Gl().BindTexture(0xBAD, 0);  // an invalid target
  EXPECT_FALSE(gl_.SetTextureChannelOrder(texture.get(), 0));
  ExpectLocated("OpenGL Error: Invalid enum", "Texture::RemapRGBA", "src/base/texture");
  EXPECT_TRUE(gl_.SetTextureChannelOrder(texture.get(), 1));
}

}  // namespace
}  // namespace qvg::test
