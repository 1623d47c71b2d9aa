#include "abuse/checks.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "abuse/hostile.h"
#include "support/table_test.h"

namespace qvg::test {

std::map<std::string, int64_t> Options(int argc, char** argv, std::map<std::string, int64_t> options) {
  for (int i = 1; i < argc; i += 2) {
    const std::string name = argv[i];
    if (i + 1 == argc || !name.starts_with("--") || !options.contains(name.substr(2))) {
      std::fprintf(stderr, "%s: %s is no option with a number\n", argv[0], argv[i]);
      std::exit(2);
    }
    options[name.substr(2)] = std::atoll(argv[i + 1]);
  }
  if (std::freopen("/dev/null", "w", stdout) == nullptr) std::exit(2);
  return options;
}

const char* PictureFault(const QVGGLRendererInterface& gl, uint32_t seed) {
  constexpr int kWidth = 6, kHeight = 5;
  if (glGetError() != 0) return "a GL error was pending";
  Hostile random(seed);
  uint8_t picture[kHeight][kWidth * 4];
  for (auto& row : picture)
    for (uint8_t& channel : row) channel = static_cast<uint8_t>(random.Next());
  QVGPixelBuffer frame = {{picture[0]}, {4 * kWidth}, kWidth, kHeight, 0, 0, QVG_FORMAT_RGBA}, out = {};
  QVGTexture* source = gl.UploadPixelBufferToNewTexture(&frame, false, false, {});
  QVGTexture* target = gl.AcquireTexture(kWidth, kHeight);
  QVGFrameBuffer* drawn = gl.CreateFrameBuffer(kWidth, kHeight, false, false);
  const char* fault = "";
  if (!gl.BindTextureToFrameBuffer(drawn, target) || !gl.DrawTexture(source, drawn, nullptr)) {
    fault = "a picture could not be drawn";
  } else if (!gl.TextureToRGBAPixelBuffer(target, &out, false)) {
    fault = "a picture could not be read back";
  } else if (std::memcmp(out.plane[0], picture, sizeof picture) != 0) {
    fault = "a picture came back changed";
  }
  QVGPixelBuffer* pointer = &out;
  gl.ReleasePixelBuffer(&pointer);
  gl.DestroyFrameBuffer(&drawn);
  gl.ReleaseTexture(&source);
  gl.ReleaseTexture(&target);
  return *fault == '\0' && glGetError() != 0 ? "a GL error is pending" : fault;
}

std::vector<size_t> CountsWhenIdle(const QVGGLRendererInterface& gl, QVGGLContext* context) {
  constexpr int kMoreThanAreIdle = 24;
  std::vector<QVGGLContext*> idle;
  for (int i = 0; i < kMoreThanAreIdle; ++i) idle.push_back(gl.GetSharedContext());
  for (QVGGLContext*& other : idle) gl.DestroySharedContext(&other);
  if (!gl.MakeCurrentContext(context, nullptr)) return {};
  gl.ClearTexturePool();
  gl.ClearRenderBufferPool();
  gl.ClearPixelBufferPool();
  return NameCounts();
}

}  // namespace qvg::test
