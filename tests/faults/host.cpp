#include "host.h"

#include <glad/gl.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "base/framebuffer.h"
#include "base/texture.h"
#include "support/glCalls.h"
#include "support/platform.h"

namespace qvg::test {
namespace {

template <auto kPointer>
constexpr auto& real = CountedCall<kPointer>::real;

// The state that reading changes in the context; restored at the end.
class ReadingState {
 public:
  ReadingState() {
    for (size_t i = 0; i < std::size(kValues); ++i) real<&glad_glGetIntegerv>(kValues[i], &values_[i]);
    real<&glad_glFinish>();
    real<&glad_glBindBuffer>(GL_PIXEL_PACK_BUFFER, 0);
    for (size_t i = kFirstStore; i < std::size(kValues); ++i) real<&glad_glPixelStorei>(kValues[i], i == kFirstStore);
  }
  ~ReadingState() {
    real<&glad_glBindTexture>(GL_TEXTURE_2D, static_cast<GLuint>(values_[0]));
    real<&glad_glBindBuffer>(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(values_[1]));
    real<&glad_glBindFramebuffer>(GL_READ_FRAMEBUFFER, static_cast<GLuint>(values_[2]));
    for (size_t i = kFirstStore; i < std::size(kValues); ++i) real<&glad_glPixelStorei>(kValues[i], values_[i]);
  }
  ReadingState(const ReadingState&) = delete;
  ReadingState& operator=(const ReadingState&) = delete;

 private:
  static constexpr size_t kFirstStore = 3;  // the alignment, which becomes 1; the others become 0
  static constexpr GLenum kValues[] = {GL_TEXTURE_BINDING_2D, GL_PIXEL_PACK_BUFFER_BINDING, GL_READ_FRAMEBUFFER_BINDING,
                                       GL_PACK_ALIGNMENT,     GL_PACK_ROW_LENGTH,           GL_PACK_SKIP_ROWS,
                                       GL_PACK_SKIP_PIXELS};
  GLint values_[std::size(kValues)] = {};
};

template <class Value>
void Append(std::vector<uint8_t>& bytes, const Value& value) {
  const auto* const from = reinterpret_cast<const uint8_t*>(&value);
  bytes.insert(bytes.end(), from, from + sizeof value);
}

uint8_t backgroundPixels[4 * 20 * 12];
QVGHostImage background = {backgroundPixels, {}, 20, 12};

}  // namespace

bool Host::_Note(bool done, std::vector<uint8_t> bytes) {
  const WithoutFaults undisturbed;
  const int failed = Faults().failed;
  steps.push_back({done, failed > failedBefore_, std::move(bytes)});
  failedBefore_ = failed;
  return done;
}

bool Host::Made(const QVGTexture* texture) {
  return _Note(texture != nullptr, texture != nullptr ? PictureOf(texture) : std::vector<uint8_t>());
}

bool Host::Drew(bool done, const QVGTexture* target) {
  return _Note(done, done ? PictureOf(target) : std::vector<uint8_t>());
}

bool Host::Drew(bool done, QVGFrameBuffer* target) {
  const WithoutFaults undisturbed;
  std::vector<uint8_t> bytes;
  const RenderTarget place = reinterpret_cast<FrameBuffer*>(target)->AsScene().target;
  if (done && place.frameBuffer != 0) {
    const ReadingState state;
    bytes.resize(size_t{4} * place.content.width * place.content.height);
    real<&glad_glBindFramebuffer>(GL_READ_FRAMEBUFFER, place.frameBuffer);
    real<&glad_glReadPixels>(place.content.x, place.content.y, place.content.width, place.content.height, GL_RGBA,
                             GL_UNSIGNED_BYTE, bytes.data());
  }
  return _Note(done, std::move(bytes));
}

bool Host::Read(bool done, const QVGPixelBuffer& out) {
  const WithoutFaults undisturbed;
  const bool anyPlane = out.plane[0] != nullptr || out.plane[1] != nullptr || out.plane[2] != nullptr;
  if (!done && anyPlane) Blame("a failed read-back has planes");
  if (done && out.plane[0] == nullptr) Blame("a read-back has no plane");
  return _Note(done, done ? BytesOf(out) : std::vector<uint8_t>());
}

bool Host::Showed(bool done, const HostWindow& window) {
  const WithoutFaults undisturbed;
  if (!done) return _Note(done, {});
  // The screen is drawn by the server, behind another connection.
  const auto seen = [&](const std::vector<uint8_t>& picture) {
    return expected != nullptr && steps.size() < expected->steps.size() &&
           picture == expected->steps[steps.size()].picture;
  };
  std::vector<uint8_t> picture;
  const int tries = expected != nullptr
                        ? 250
                        : 10;  // Waits for the expected picture; without one, takes what is shown a little later.
  for (int i = 0; i < tries && !seen(picture); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(i == 0 ? 0 : 20));
    picture = Bytes(window.Pixels());
  }
  return _Note(done, std::move(picture));
}

std::vector<uint8_t> PictureOf(const QVGTexture* handle) {
  const WithoutFaults undisturbed;
  const auto& texture = *reinterpret_cast<const Texture*>(handle);
  const ContentRect& content = texture.Content();
  std::vector<uint8_t> storage(size_t{4} * content.storageWidth * content.storageHeight);
  GLint swizzle[4] = {};
  {
    const ReadingState state;
    real<&glad_glBindTexture>(GL_TEXTURE_2D, texture.Id());
    real<&glad_glGetTexImage>(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, storage.data());
    real<&glad_glGetTexParameteriv>(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_RGBA, swizzle);
  }
  std::vector<uint8_t> bytes;
  for (int y = content.y; y < content.y + content.height; ++y) {
    const auto row = storage.begin() + ptrdiff_t{4} * (ptrdiff_t{y} * content.storageWidth + content.x);
    bytes.insert(bytes.end(), row, row + ptrdiff_t{4} * content.width);
  }
  Append(bytes, swizzle);
  Append(bytes, texture.presentation.flipped);
  Append(bytes, texture.presentation.rotation);
  Append(bytes, texture.presentation.alpha);
  return bytes;
}

std::vector<uint8_t> BytesOf(const QVGPixelBuffer& buffer) {
  const size_t width = static_cast<size_t>(buffer.width);
  const size_t height = static_cast<size_t>(buffer.height);
  const bool packed = buffer.format == QVG_FORMAT_RGBA || buffer.format == QVG_FORMAT_BGRA;
  const bool pairs = buffer.format == QVG_FORMAT_NV12;
  const size_t sizes[] = {packed ? 4 * width * height : width * height,
                          packed  ? 0
                          : pairs ? width * (height / 2)
                                  : width / 2 * (height / 2),
                          packed || pairs ? 0 : width / 2 * (height / 2)};
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i < 3; ++i) bytes.insert(bytes.end(), buffer.plane[i], buffer.plane[i] + sizes[i]);
  Append(bytes, buffer.stride);
  Append(bytes, buffer.width);
  Append(bytes, buffer.height);
  Append(bytes, buffer.format);
  return bytes;
}

const QVGGLRendererInterface& StartLibrary() {
  for (size_t i = 0; i < sizeof backgroundPixels; ++i) backgroundPixels[i] = static_cast<uint8_t>(i * 7 % 251);
  QVGConfig config = {};
  config.decodeImage = [](const char*) { return &background; };
  config.freeImage = [](const char*, QVGHostImage*) {};
  const HeapOwner library(HeapOwner::kLibrary);
  const QVGGLRendererInterface* const table = QVG_GetGLRendererInterface(&config);
  WatchGL();
  return *table;
}

void ReleaseLibrary() {
  const HeapOwner library(HeapOwner::kLibrary);
  const QVGGLRendererInterface* table = nullptr;
  QVG_ReleaseGLRendererInterface(&table);
}

void OnThread(const std::function<void()>& work) {
  std::thread thread;
  {
    const WithoutFaults undisturbed;
    thread = std::thread([&] {
      const HeapOwner test(HeapOwner::kTest);
      work();
    });
  }
  thread.join();
}

}  // namespace qvg::test
