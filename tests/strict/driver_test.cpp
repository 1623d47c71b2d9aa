// Each mode has its effect, and no other mode's: otherwise the other tests would prove nothing.
#include <EGL/egl.h>

#include <cstring>

#include "driver.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

using DriverTest = TableTest;

bool BindsIndicesAlone() {
  unsigned buffer = 0;
  glGenBuffers(1, &buffer);
  glBindVertexArray(0);
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffer);
  glDeleteBuffers(1, &buffer);
  return glGetError() == GL_NO_ERROR;
}

bool DrawsToRgb() {
  unsigned texture = 0, frameBuffer = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGB8, 4, 4);
  glBindTexture(GL_TEXTURE_2D, 0);
  glGenFramebuffers(1, &frameBuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
  const bool complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  glClear(GL_COLOR_BUFFER_BIT);
  EXPECT_EQ(glGetError(), complete ? 0u : unsigned{GL_INVALID_FRAMEBUFFER_OPERATION});
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glDeleteFramebuffers(1, &frameBuffer);
  glDeleteTextures(1, &texture);
  return complete;
}

bool FreshStorageIsGarbage() {
  const Texture texture(Table().AcquireTexture(64, 64));
  const auto last = Storage(texture.get()).at(63, 63);
  unsigned buffer = 0, words = 0;
  glGenBuffers(1, &buffer);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
  glBufferData(GL_PIXEL_PACK_BUFFER, 64, nullptr, GL_STREAM_READ);
  glGetBufferSubData(GL_PIXEL_PACK_BUFFER, 60, 4, &words);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  glDeleteBuffers(1, &buffer);
  return words != 0 && last[0] * 255 == kGarbageTexel[0] && last[3] * 255 == kGarbageTexel[3];
}

bool TalksOfSuccess() {
  const unsigned shader = glCreateShader(GL_VERTEX_SHADER);
  const char* const text = "#version 410 core\nvoid main() { gl_Position = vec4(0); }";
  glShaderSource(shader, 1, &text, nullptr);
  glCompileShader(shader);
  int compiled = 0, length = 0;
  char log[80] = "";
  glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
  glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
  glGetShaderInfoLog(shader, sizeof log, nullptr, log);
  glDeleteShader(shader);
  return compiled != 0 && length > 1 && *log != '\0';
}

TEST_F(DriverTest, DoesWhatItsModesSay) {
  const char* const platforms = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  EXPECT_EQ(BindsIndicesAlone(), !DriverIs(kIndexNeedsVertexArray));
  EXPECT_EQ(DrawsToRgb(), !DriverIs(kNoRgbTarget));
  EXPECT_EQ(glTextureBarrier != nullptr && GLAD_GL_ARB_texture_barrier != 0, !DriverIs(kNoTextureBarrier));
  EXPECT_EQ(FreshStorageIsGarbage(), DriverIs(kGarbage));
  EXPECT_EQ(TalksOfSuccess(), DriverIs(kChattyLogs));
  EXPECT_EQ(std::strstr(platforms, "EGL_EXT_platform_xcb") != nullptr, !DriverIs(kNoXcb));
}

}  // namespace
}  // namespace qvg::test
