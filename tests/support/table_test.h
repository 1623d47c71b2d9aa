// The running library for the tests: handles that give themselves back, and a fixture with a current context.
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

/// The table. The first call starts the library; it is released when the program ends.
const QVGGLRendererInterface& Table();

/// A context of the library, current on the calling thread while the object lives. From the first one on the tests may
/// call GL themselves, as a host might.
class CurrentContext {
 public:
  CurrentContext();
  ~CurrentContext();
  CurrentContext(const CurrentContext&) = delete;
  CurrentContext& operator=(const CurrentContext&) = delete;
  QVGGLContext* handle = nullptr;
};

/// A descriptor for a read-back, whose memory is given back by the destructor.
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

/// Kinds of GL objects. Contexts share all except vertex arrays and, with most drivers, frame buffers.
enum Names { kTextures, kBuffers, kRenderBuffers, kFrameBuffers, kVertexArrays, kPrograms, kShaders };
/// The live names of the kind in the current context.
std::vector<unsigned> LiveNames(Names kind);
/// The number of live names for each kind.
std::vector<size_t> NameCounts();

Texture Upload(const Frame& frame, bool flipped = false);
/// A texture with these texels, texture row 0 first.
Texture Upload(const Image& picture);
/// A premultiplied texture with these texels: the result of an effect with nothing to change.
Texture Premultiplied(const Image& picture);
/// Leaves idle textures in the pools which an upload of this format takes, larger than the size and with other content.
void LeaveGarbage(int code, int width, int height);
/// Uploads with empty pools: to fresh storage, or to larger recycled storage with other content.
Texture UploadAnew(const Frame& frame, bool recycled);
Texture UploadAnew(const Image& picture, bool recycled);
/// Uploads a picture into a texture of its size.
void Refill(QVGTexture* texture, const Image& picture);
FrameBuffer Target(QVGTexture* texture, const QVGCamera* camera = nullptr, bool depth = false);

/// The texture's content as it is sampled, texture row 0 first.
Image Content(QVGTexture* texture);
/// The whole storage, as it is stored.
Image Storage(QVGTexture* texture);

std::string Size(int width, int height);
void ClearPools();

/// Runs with a context of its own, empty pools and captured standard output: a test in which the library logs an error
/// fails, unless it expects error lines.
class TableTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// The library's lines since the last call.
  std::string TakeLog();
  void ExpectErrorLines() { errorsExpected_ = true; }
  /// "" when no error exceeds the limit. The largest error is reported at the end.
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
