// The form of the lines on standard output.
#include <algorithm>
#include <cctype>
#include <ctime>
#include <functional>
#include <thread>

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

  // The only line since the last call, its digits as 0. Its time must be now.
  std::string Line() {
    std::string line = TakeLog();
    std::erase(line, '\r');
    EXPECT_EQ(line.find('\n') + 1, line.size()) << line;
    const std::string minute = line.substr(line.find("] [") + 3, started_.size());
    EXPECT_TRUE(started_ <= minute && minute <= Minute()) << line;
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return std::isdigit(c) != 0; }, '0');
    return line.substr(0, line.find('\n'));
  }

  void ExpectLocated(const std::string& message, const std::string& function, const std::string& file) {
    const std::string line = Line();
    EXPECT_TRUE(line.starts_with("[ERROR] [0000-00-00.00:00:00.000]" + message + ",line=0")) << line;
    EXPECT_LT(line.find("0,func="), line.find("qvg::" + function + '(')) << line;
    EXPECT_NE(line.find("qvg::" + function + '('), std::string::npos) << line;
    EXPECT_TRUE(line.ends_with(",file=" + file)) << line;
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

TEST_F(LogTest, ShortLineHasNoPlace) {
  QVGGLContext* context = gl_.CreateSharedContext(nullptr, nullptr, true);
  EXPECT_EQ(Line(), "[INFO] [0000-00-00.00:00:00.000]Context count=0");
  gl_.DestroySharedContext(&context);
}

TEST_F(LogTest, AnErrorThatTheHostLeftIsNotTheOperations) {
  const TexturePtr texture(gl_.AcquireTexture(30, 20));
  glBindTexture(0xBAD, 0);  // an invalid target
  EXPECT_TRUE(gl_.SetTextureChannelOrder(texture.get(), 0));
  const std::string line = Line();
  EXPECT_TRUE(line.starts_with("[WARNING] ") && line.find("]SetTextureChannelOrder: context: ") != line.npos) << line;
  EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
}

TEST_F(LogTest, RefusedCallsNameSlotArgumentAndExpectation) {
  const TexturePtr texture(gl_.AcquireTexture(30, 20));
  const TexturePtr outside(gl_.AcquireTexture(30, 20));
  gl_.SetTextureOrigin(outside.get(), 5, 0);
  const EffectPtr effect(gl_.CreateEffect("general_eff"));
  QVGPixelBuffer out = {};
  const Frame frame = MakeFrame(QVG_FORMAT_NV12, 30, 20, 1);
  QVGPixelBuffer bad[5] = {frame.buffer, frame.buffer, frame.buffer, frame.buffer, frame.buffer};
  bad[0].format = 999;
  bad[1].plane[1] = nullptr;
  bad[2].stride[0] = 29;
  bad[3].width = 0;
  bad[4].height = 1 << 30;
  const auto upload = [&](int i) { gl_.UploadPixelBufferToNewTexture(&bad[i], false, false, {}); };
  const QVGParamValue text = {QVG_PARAM_TEXT, {.text = ""}};
  const struct {
    std::function<void()> call;
    const char* line;
  } cases[] = {
      {[&] { std::thread([&] { gl_.AcquireTexture(8, 8); }).join(); }, "AcquireTexture: context: "},
      {[&] { gl_.AcquireTexture(0, 8); }, "AcquireTexture: width: "},
      {[&] { gl_.AcquireTexture(8, ~0u); }, "AcquireTexture: height: "},
      {[&] { upload(0); }, "UploadPixelBufferToNewTexture: source->format: "},
      {[&] { upload(1); }, "UploadPixelBufferToNewTexture: source->plane: "},
      {[&] { upload(2); }, "UploadPixelBufferToNewTexture: source->stride: "},
      {[&] { upload(3); }, "UploadPixelBufferToNewTexture: source->width: "},
      {[&] { upload(4); }, "UploadPixelBufferToNewTexture: source->height: "},
      {[&] { gl_.SetTextureChannelOrder(texture.get(), 4); }, "SetTextureChannelOrder: order: "},
      {[&] { gl_.TextureToNV12PixelBuffer(outside.get(), &out, false); }, "TextureToNV12PixelBuffer: source: "},
      {[&] { gl_.TextureToRGBAPixelBuffer(texture.get(), nullptr, false); }, "TextureToRGBAPixelBuffer: out: "},
      {[&] { gl_.CreateFrameBuffer(0, 20, true, false); }, "CreateFrameBuffer: width: "},
      {[&] { gl_.DrawTexture(texture.get(), nullptr, nullptr); }, "DrawTexture: destination: "},
      {[&] { gl_.CreateEffect("none"); }, "CreateEffect: name: "},
      {[&] { gl_.SetEffectParameter(effect.get(), "none", &text); }, "SetEffectParameter: key: "},
      {[&] { gl_.SetEffectParameter(effect.get(), "blur", &text); }, "SetEffectParameter: value->type: "},
      {[&] { gl_.ApplyEffect(effect.get(), texture.get()); }, "ApplyEffect: effect: "},
  };
  TakeLog();
  // What other tests were refused, too, is at first only counted.
  for (const auto& [call, line] : cases) {
    std::string lines;
    for (int i = 0; i < 1000 && lines.empty(); i += 50) {
      for (int k = 0; k < 50; ++k) call();
      lines = TakeLog();
    }
    EXPECT_NE(lines.find(std::string("]") + line + "expected "), std::string::npos) << line << '\n' << lines;
    EXPECT_LE(std::count(lines.begin(), lines.end(), '\n'), 2) << lines;
  }
}

}  // namespace
}  // namespace qvg::test
