// The running library as the tests see it: handles that give themselves back, and a fixture with a current context.
#pragma once

#include <glad/gl.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "frames.h"
#include "qvGLRenderer/qvGLRenderer.hpp"
#include "reference/drawing.h"
#include "reference/readBack.h"

namespace qvg::test {

/// The table; the library is started by the first call and released when the program ends.
const QVGGLRendererInterface& Table();

/// A context of the library, current on the calling thread for this object's life. From the first one on the tests may
/// call GL as a host might beside the library.
class CurrentContext {
 public:
  CurrentContext();
  ~CurrentContext();
  CurrentContext(const CurrentContext&) = delete;
  CurrentContext& operator=(const CurrentContext&) = delete;
  QVGGLContext* handle = nullptr;
};

/// A descriptor that a read-back fills; its memory is given back at the end.
class ReadBack {
 public:
  ReadBack() = default;
  ~ReadBack() { Release(); }
  ReadBack(const ReadBack&) = delete;
  ReadBack& operator=(const ReadBack&) = delete;
  void Release();
  QVGPixelBuffer* operator->() { return &buffer; }
  QVGPixelBuffer buffer = {};
};

/// Kinds of GL objects. Contexts share all but frame buffers, which some drivers share, and vertex arrays.
enum Names { kTextures, kBuffers, kRenderBuffers, kFrameBuffers, kVertexArrays, kPrograms, kShaders };
/// The names of the kind that live as the current context sees it.
std::vector<unsigned> LiveNames(Names kind);
/// How many live, kind by kind.
std::vector<size_t> NameCounts();

Texture Upload(const Frame& frame, bool flipped = false);
/// A texture with these texels, texture row 0 first.
Texture Upload(const Image& picture);
/// A premultiplied texture with these texels: what an effect with nothing to change gives.
Texture Premultiplied(const Image& picture);
/// Leaves idle textures in the pools, larger than this and full of something else, such as an upload of the format
/// uses.
void LeaveGarbage(int code, int width, int height);
/// With empty pools: fresh storage, or larger storage full of something else.
Texture UploadAnew(const Frame& frame, bool recycled);
Texture UploadAnew(const Image& picture, bool recycled);
/// Puts a picture into a texture that has its size.
void Refill(QVGTexture* texture, const Image& picture);
FrameBuffer Target(QVGTexture* texture, const QVGCamera* camera = nullptr, bool depth = false);

/// What the texture's content holds as sampled, texture row 0 first.
Image Content(QVGTexture* texture);
/// The whole storage as stored.
Image Storage(QVGTexture* texture);

std::string Size(int width, int height);
void ClearPools();

/// Runs with a context of its own, empty pools, and standard output captured: a test during which the library logs an
/// error fails unless it says that errors belong to it.
class TableTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// The library's lines since the last call.
  std::string TakeLog();
  void ExpectErrorLines() { errorsExpected_ = true; }
  /// "" when nothing is off by more than the limit; what is off is stated in the end.
  std::string Mismatch(const Image& expected, const Image& actual, double limit, const std::vector<bool>& skip = {});
  std::string Mismatch(const Planes& expected, const QVGPixelBuffer& actual, double limit);

  const QVGGLRendererInterface& gl_ = Table();
  std::unique_ptr<CurrentContext> context_;
  Errors errors_;

 private:
  bool errorsExpected_ = false;
  bool capturing_ = false;
  std::string output_;
};

}  // namespace qvg::test
