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

  // The only line since the last call, with all digits replaced by 0.
  std::string Line() {
    std::string line = TakeLog();
    std::erase(line, '\r');
    EXPECT_EQ(line.find('\n') + 1, line.size()) << line;
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return std::isdigit(c) != 0; }, '0');
    return line.substr(0, line.find('\n'));
  }
};

TEST_F(LogTest, LinesOfErrorsNameTheirPlaceAndOthersDoNot) {
  EXPECT_FALSE(gl_.SwapBuffers(reinterpret_cast<QVGGLContext*>(this)));
  const std::string line = Line(), place = "qvg::QVGLContextManager::SwapBuffers(";
  EXPECT_TRUE(line.starts_with("[ERROR] [0000-00-00.00:00:00.000]context not fond in map.,line=0")) << line;
  EXPECT_LT(line.find("0,func="), line.find(place)) << line;
  EXPECT_NE(line.find(place), std::string::npos) << line;
  EXPECT_TRUE(line.ends_with(",file=src/base/glContext")) << line;

  QVGGLContext* context = gl_.CreateSharedContext(nullptr, nullptr, true);
  EXPECT_EQ(Line(), "[INFO] [0000-00-00.00:00:00.000]Context count=0");
  gl_.DestroySharedContext(&context);
  // An error that the host left is not counted as the operation's.
  const Texture texture(gl_.AcquireTexture(30, 20));
  glBindTexture(0xBAD, 0);  // an invalid target
  EXPECT_TRUE(gl_.SetTextureChannelOrder(texture.get(), 0));
  EXPECT_NE(TakeLog().find("]SetTextureChannelOrder: context: "), std::string::npos);
}

TEST_F(LogTest, RefusedCallsNameSlotArgumentAndExpectation) {
  // After a new start, refusals that other tests had, too, are logged again.
  context_.reset();
  const QVGGLRendererInterface* ended = nullptr;
  QVG_ReleaseGLRendererInterface(&ended);
  QVG_GetGLRendererInterface(nullptr);
  context_ = std::make_unique<CurrentContext>();
  const Texture texture(gl_.AcquireTexture(30, 20)), outside(gl_.AcquireTexture(30, 20));
  gl_.SetTextureOrigin(outside.get(), 5, 0);
  const Effect effect(gl_.CreateEffect("general_eff"));
  QVGPixelBuffer out = {};
  Frame bad = MakeFrame(QVG_FORMAT_NV12, 30, 20, 1);
  bad.buffer.format = 999;
  const QVGParamValue text = {QVG_PARAM_TEXT, {.text = ""}};
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[&] { std::thread([&] { gl_.AcquireTexture(8, 8); }).join(); }, "AcquireTexture: context: "},
      {[&] { gl_.AcquireTexture(0, 8); }, "AcquireTexture: width: "},
      {[&] { gl_.UploadPixelBufferToNewTexture(&bad.buffer, false, false, {}); },
       "UploadPixelBufferToNewTexture: source->format: "},
      {[&] { gl_.TextureToNV12PixelBuffer(outside.get(), &out, false); }, "TextureToNV12PixelBuffer: source: "},
      {[&] { gl_.DrawTexture(texture.get(), nullptr, nullptr); }, "DrawTexture: destination: "},
      {[&] { gl_.SetEffectParameter(effect.get(), "blur", &text); }, "SetEffectParameter: value->type: "},
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
