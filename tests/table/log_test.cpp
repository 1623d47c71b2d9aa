// The form of the lines on standard output.
#include <algorithm>
#include <cctype>
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
  }

  // The only line since the last call, its digits as 0.
  std::string Line() {
    std::string line = TakeLog();
    std::erase(line, '\r');
    EXPECT_EQ(line.find('\n') + 1, line.size()) << line;
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
};

TEST_F(LogTest, LinesOfErrorsNameTheirPlaceAndOthersDoNot) {
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
}

TEST_F(LogTest, RefusedCallsNameSlotArgumentAndExpectation) {
  // What other tests were refused, too, is said anew.
  context_.reset();
  const QVGGLRendererInterface* ended = nullptr;
  QVG_ReleaseGLRendererInterface(&ended);
  QVG_GetGLRendererInterface(nullptr);
  context_ = std::make_unique<CurrentContext>();
  const TexturePtr texture(gl_.AcquireTexture(30, 20)), outside(gl_.AcquireTexture(30, 20));
  gl_.SetTextureOrigin(outside.get(), 5, 0);
  const EffectPtr effect(gl_.CreateEffect("general_eff"));
  QVGPixelBuffer out = {};
  const Frame frame = MakeFrame(QVG_FORMAT_NV12, 30, 20, 1);
  const auto upload = [&](auto spoil) {
    QVGPixelBuffer bad = frame.buffer;
    spoil(bad);
    gl_.UploadPixelBufferToNewTexture(&bad, false, false, {});
  };
  const QVGParamValue text = {QVG_PARAM_TEXT, {.text = ""}};
  const struct {
    std::function<void()> call;
    const char* line;
  } cases[] = {
      {[&] { std::thread([&] { gl_.AcquireTexture(8, 8); }).join(); }, "AcquireTexture: context: "},
      {[&] { gl_.AcquireTexture(0, 8); }, "AcquireTexture: width: "},
      {[&] { upload([](auto& b) { b.format = 999; }); }, "UploadPixelBufferToNewTexture: source->format: "},
      {[&] { upload([](auto& b) { b.plane[1] = nullptr; }); }, "UploadPixelBufferToNewTexture: source->plane: "},
      {[&] { upload([](auto& b) { b.stride[0] = 29; }); }, "UploadPixelBufferToNewTexture: source->stride: "},
      {[&] { upload([](auto& b) { b.height = 1 << 30; }); }, "UploadPixelBufferToNewTexture: source->height: "},
      {[&] { gl_.SetTextureChannelOrder(texture.get(), 4); }, "SetTextureChannelOrder: order: "},
      {[&] { gl_.TextureToNV12PixelBuffer(outside.get(), &out, false); }, "TextureToNV12PixelBuffer: source: "},
      {[&] { gl_.TextureToRGBAPixelBuffer(texture.get(), nullptr, false); }, "TextureToRGBAPixelBuffer: out: "},
      {[&] { gl_.DrawTexture(texture.get(), nullptr, nullptr); }, "DrawTexture: destination: "},
      {[&] { gl_.CreateEffect("none"); }, "CreateEffect: name: "},
      {[&] { gl_.SetEffectParameter(effect.get(), "none", &text); }, "SetEffectParameter: key: "},
      {[&] { gl_.SetEffectParameter(effect.get(), "blur", &text); }, "SetEffectParameter: value->type: "},
      {[&] { gl_.ApplyEffect(effect.get(), texture.get()); }, "ApplyEffect: effect: "},
  };
  TakeLog();
  for (const auto& [call, line] : cases) {
    for (int i = 0; i < 12; ++i) call();
    const std::string lines = TakeLog(), said = std::string("]") + line + "expected ";
    EXPECT_NE(lines.find(said), std::string::npos) << line << '\n' << lines;
    EXPECT_NE(lines.find("(10 times)"), std::string::npos) << lines;
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2) << lines;
  }
}

}  // namespace
}  // namespace qvg::test
