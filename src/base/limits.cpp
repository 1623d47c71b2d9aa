#include "base/limits.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "base/contextState.h"
#include "base/glError.h"
#include "base/texelFormat.h"

namespace qvg {

namespace {

enum class Answer : uint8_t { kUnknown, kNo, kYes };

// Every driver can render to these; a trial that fails would say nothing.
constexpr GLenum kAlwaysRenderable[] = {GL_R8, GL_RG8, GL_RGBA8};

std::atomic<GLint> maxTextureSize = 0;
std::atomic<Answer> renderable[kTexelFormatCount] = {};
std::atomic<Answer> readsTooEarly = Answer::kUnknown;

// Whether a frame buffer with a small texture of the format is complete; not known after a GL error.
Answer TryToRender(GLenum internalFormat) {
  constexpr GLsizei kSize = 2;
  GLuint texture = 0;
  GLuint frameBuffer = 0;
  glGenTextures(1, &texture);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexStorage2D(GL_TEXTURE_2D, 1, internalFormat, kSize, kSize);
  glBindTexture(GL_TEXTURE_2D, 0);
  glGenFramebuffers(1, &frameBuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
  const bool complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glDeleteFramebuffers(1, &frameBuffer);
  glDeleteTextures(1, &texture);
  if (!CheckGLError()) return Answer::kUnknown;
  return complete ? Answer::kYes : Answer::kNo;
}

}  // namespace

int Limits::MaxTextureSize() {
  if (maxTextureSize == 0) {
    GLint size = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
    maxTextureSize = size;
  }
  return maxTextureSize;
}

bool Limits::IsRenderable(GLenum internalFormat) {
  if (std::find(std::begin(kAlwaysRenderable), std::end(kAlwaysRenderable), internalFormat) !=
      std::end(kAlwaysRenderable)) {
    return true;
  }
  const int index = TexelFormatIndex(internalFormat);
  if (index < 0) return false;
  std::atomic<Answer>& answer = renderable[index];
  // Two threads may both try, and find the same.
  if (answer == Answer::kUnknown) answer = TryToRender(internalFormat);
  return answer == Answer::kYes;
}

bool Limits::ReadsTooEarly() {
  if (readsTooEarly == Answer::kUnknown && CurrentContext() != nullptr) {
    const auto* const renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    // Until it is known, the worse case is assumed.
    if (renderer == nullptr) return true;
    readsTooEarly = std::strstr(renderer, "llvmpipe") != nullptr ? Answer::kYes : Answer::kNo;
  }
  return readsTooEarly == Answer::kYes;
}

void Limits::Forget() {
  readsTooEarly = Answer::kUnknown;
  maxTextureSize = 0;
  for (std::atomic<Answer>& answer : renderable) answer = Answer::kUnknown;
}

}  // namespace qvg
