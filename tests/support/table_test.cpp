#include "table_test.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <sstream>

#include "platform.h"

namespace qvg::test {
namespace {

std::optional<Library> library;

class Release : public ::testing::Environment {
 public:
  void TearDown() override { library.reset(); }
};
[[maybe_unused]] ::testing::Environment* const release = ::testing::AddGlobalTestEnvironment(new Release);

}  // namespace

const QVGGLRendererInterface& Table() {
  if (!library.has_value()) library.emplace();
  return qvg::Table();
}

CurrentContext::CurrentContext() : handle(Table().GetSharedContext()) {
  if (handle != nullptr && !Table().MakeCurrentContext(handle, nullptr)) Table().ReleaseSharedContext(&handle);
  if (handle == nullptr) return;
  static const int loaded =
      gladLoadGL([](const char* name) { return reinterpret_cast<GLADapiproc>(GLFunction(name)); });
  EXPECT_NE(loaded, 0);
}

CurrentContext::~CurrentContext() {
  if (handle == nullptr) return;
  Table().MakeCurrentContext(nullptr, nullptr);
  Table().ReleaseSharedContext(&handle);
}

void ReadBack::Release() {
  QVGPixelBuffer* pointer = &buffer;
  Table().ReleasePixelBuffer(&pointer);
  buffer = {};
}

std::vector<unsigned> LiveNames(Names kind) {
  struct Calls {
    PFNGLISTEXTUREPROC isName;
    PFNGLGENTEXTURESPROC generate;
    PFNGLDELETETEXTURESPROC remove;
  };
  const Calls kinds[] = {{glIsTexture, glGenTextures, glDeleteTextures},
                         {glIsBuffer, glGenBuffers, glDeleteBuffers},
                         {glIsRenderbuffer, glGenRenderbuffers, glDeleteRenderbuffers},
                         {glIsFramebuffer, glGenFramebuffers, glDeleteFramebuffers},
                         {glIsVertexArray, glGenVertexArrays, glDeleteVertexArrays},
                         {glIsProgram, nullptr, nullptr},
                         {glIsShader, nullptr, nullptr}};
  const Calls& calls = kinds[kind];
  // Drivers count names up before they reuse one.
  unsigned last = 0;
  if (calls.generate != nullptr) {
    calls.generate(1, &last);
    calls.remove(1, &last);
  }
  std::vector<unsigned> names;
  for (unsigned name = 1; name < std::max(last, 4096u); ++name)
    if (calls.isName(name) != 0) names.push_back(name);
  return names;
}

std::vector<size_t> NameCounts() {
  std::vector<size_t> counts;
  for (int kind = kTextures; kind <= kShaders; ++kind) counts.push_back(LiveNames(static_cast<Names>(kind)).size());
  return counts;
}

Texture Upload(const Frame& frame, bool flipped) {
  return Texture::FromFrame(frame.buffer, flipped ? Rows::kBottomUp : Rows::kTopDown);
}

Texture Upload(const Image& picture) { return Upload(MakeFrame(QVG_FORMAT_RGBA, picture)); }

Texture Premultiplied(const Image& picture) {
  const Texture frame = Upload(picture);
  frame.SetFlipped(false);
  const Effect effect = Effect::New();
  EXPECT_TRUE(effect.Set("enable_color", 1));
  return effect.Apply(frame);
}

void LeaveGarbage(int code, int width, int height) {
  // An odd difference on one axis, an even one on the other: the next content's origin is off the centre.
  Texture texture = Upload(MakeFrame(code, width + 27, height + 22, 77));
  EXPECT_NE(texture, nullptr);
}

Texture UploadAnew(const Frame& frame, bool recycled) {
  ClearPools();
  if (recycled) LeaveGarbage(frame.buffer.format, frame.buffer.width, frame.buffer.height);
  Texture texture = Upload(frame);
  EXPECT_EQ(texture.AllocatedWidth() > frame.buffer.width + 1u, recycled);
  EXPECT_EQ(texture.AllocatedHeight() > frame.buffer.height + 1u, recycled);
  return texture;
}

Texture UploadAnew(const Image& picture, bool recycled) {
  return UploadAnew(MakeFrame(QVG_FORMAT_RGBA, picture), recycled);
}

void Refill(QVGTexture* texture, const Image& picture) {
  const Frame frame = MakeFrame(QVG_FORMAT_RGBA, picture);
  EXPECT_TRUE(Table().UploadPixelBufferToTexture(texture, &frame.buffer, false, false, {}));
}

FrameBuffer Target(QVGTexture* texture, const QVGCamera* camera, bool depth) {
  QVGFrameBufferDesc description = {};
  description.width = static_cast<int>(Table().GetTextureWidth(texture));
  description.height = static_cast<int>(Table().GetTextureHeight(texture));
  description.depthStencil = depth;
  description.camera = camera != nullptr ? *camera : DefaultCamera(description.width, description.height);
  FrameBuffer target(camera != nullptr || depth
                         ? Table().CreateFrameBufferFromDesc(&description)
                         : Table().CreateFrameBuffer(description.width, description.height, false, false));
  EXPECT_NE(target, nullptr);
  EXPECT_TRUE(Table().BindTextureToFrameBuffer(target.get(), texture));
  return target;
}

Image Content(QVGTexture* texture) {
  ReadBack read;
  if (!Table().TextureToRGBAPixelBuffer(texture, &read.buffer, false)) return {};
  return PixelsOf(read.buffer);
}

Image Storage(QVGTexture* texture) {
  const int width = static_cast<int>(Table().GetTextureAllocatedWidth(texture));
  const int height = static_cast<int>(Table().GetTextureAllocatedHeight(texture));
  std::vector<uint8_t> bytes(size_t{4} * width * height);
  glBindTexture(GL_TEXTURE_2D, Table().GetTextureId(texture));
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
  glBindTexture(GL_TEXTURE_2D, 0);
  return FromBytes(bytes.data(), width, height);
}

std::string Size(int width, int height) { return std::to_string(width) + " x " + std::to_string(height); }

void TableTest::SetUp() {
  ::testing::internal::CaptureStdout();
  capturing_ = true;
  context_ = std::make_unique<CurrentContext>();
  ASSERT_NE(context_->handle, nullptr) << "no context of the library could be made current";
  ClearPools();
}

void TableTest::TearDown() {
  if (context_ != nullptr && context_->handle != nullptr) {
    EXPECT_EQ(glGetError(), 0u) << "a GL error was left behind";
  }
  context_.reset();
  if (!capturing_) return;
  output_ += ::testing::internal::GetCapturedStdout();
  std::istringstream lines(output_);
  std::string errors;
  for (std::string line; std::getline(lines, line);) {
    // Refused calls return their failure value, which the tests check.
    if (line.starts_with("[WARNING] ") && line.find(": expected ") != line.npos) continue;
    if (line.starts_with("[ERROR] ") || line.starts_with("[WARNING] ")) errors += line + '\n';
    if (!line.starts_with("[INFO] ") && (!errorsExpected_ || !line.starts_with("[ERROR] "))) std::puts(line.c_str());
  }
  if (!errorsExpected_) {
    EXPECT_EQ(errors, "") << "the library logged errors";
  }
  if (errors_.compared > 0) {
    std::printf("             largest error %.3f/255 in %zu values\n", errors_.largest, errors_.compared);
    std::fflush(stdout);
  }
}

std::string TableTest::TakeLog() {
  const std::string log = ::testing::internal::GetCapturedStdout();
  output_ += log;
  ::testing::internal::CaptureStdout();
  return log;
}

std::string TableTest::Mismatch(const Image& expected, const Image& actual, double limit,
                                const std::vector<bool>& skip) {
  return Compare(expected, actual, limit, errors_, skip);
}

std::string TableTest::Mismatch(const Planes& expected, const QVGPixelBuffer& actual, double limit) {
  return Compare(expected, actual, limit, errors_);
}

void ClearPools() {
  EXPECT_TRUE(Table().ClearTexturePool());
  EXPECT_TRUE(Table().ClearRenderBufferPool());
  EXPECT_TRUE(Table().ClearPixelBufferPool());
}

}  // namespace qvg::test
