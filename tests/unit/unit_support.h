// Shared by the tests of the internals: contexts, the log's lines, and pictures in textures.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/gl.h"
#include "base/texture.h"
#include "context/runtime.h"
#include "reference/image.h"
#include "utils/log.h"

namespace qvg::test {

using namespace reference;

/// Captures the log's lines while it lives, instead of writing them.
class LogCapture {
 public:
  LogCapture() { Logger::Instance().SetSink(&Keep, reinterpret_cast<intptr_t>(this)); }
  ~LogCapture() { Logger::Instance().SetSink(&DefaultLogSink, 0); }

  /// The lines since the last call, each as "level message\n" without time and place; those about contexts
  /// and the platform are left out.
  std::string Take() {
    std::lock_guard lock(mutex_);
    return std::exchange(lines_, "");
  }

 private:
  static void Keep(const std::string& line, int32_t level, intptr_t self) {
    const size_t start = line.find(']') + 1;
    const std::string message = line.substr(start, line.rfind(",line=") - start);
    if (level == kLogInfo && !message.starts_with("link program")) return;
    LogCapture& capture = *reinterpret_cast<LogCapture*>(self);
    std::lock_guard lock(capture.mutex_);
    capture.lines_ += std::to_string(level) + ' ' + message + '\n';
  }

  std::mutex mutex_;
  std::string lines_;
};

/// A started runtime with one of its contexts current on the test's thread. Log lines that the test doesn't take fail
/// it.
class GLTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(runtime_->Start());
    ASSERT_TRUE(MakeCurrent(contexts_.GetSharedContext()));
  }

  void TearDown() override {
    EXPECT_EQ(TakeLog(), "");
    if (contexts_.GetCurrentContext() != nullptr) {
      EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
    }
    contexts_.LeaveCurrent();
    EXPECT_EQ(CurrentNativeContext(), nullptr);
    service_.Run([this] { runtime_.reset(); });
  }

  std::string TakeLog() { return log_.Take(); }
  bool MakeCurrent(void* context) { return contexts_.MakeCurrentContext(context, nullptr); }

  /// Runs the work on another thread with another context, or without one.
  template <class Work>
  void OnOtherThread(bool withContext, Work work) {
    std::thread([&] {
      void* context = withContext ? contexts_.GetSharedContext() : nullptr;
      EXPECT_TRUE(!withContext || MakeCurrent(context));
      work();
      EXPECT_EQ(contexts_.GetCurrentContext(), context);
      EXPECT_TRUE(contexts_.ReleaseSharedContext(context));
    }).join();
  }

  ResourceCache::Callbacks callbacks_;
  ServiceThread service_;
  std::optional<Runtime> runtime_{std::in_place, service_, callbacks_, [] {}};
  QVGLContextManager& contexts_ = runtime_->contexts;

 private:
  LogCapture log_;
};

/// The number of names that a glIs... function knows.
template <class IsName>
int Live(IsName isName) {
  int count = 0;
  for (GLuint name = 1; name < 512; ++name) count += isName(name) ? 1 : 0;
  return count;
}

/// Fills the texture's storage with the picture.
inline void Fill(Texture& texture, const Image& storage) {
  ASSERT_TRUE(texture.Allocate({.width = storage.width, .height = storage.height}));
  ASSERT_TRUE(texture.Load({storage.width, storage.height, Bytes(storage).data()}));
}

inline void SetContent(Texture& texture, int x, int y, int width, int height) {
  texture.SetContentOrigin(x, y);
  texture.SetContentSize(width, height);
}

/// All texels of a texture's storage.
inline Image StorageOf(const Texture& texture) {
  const int width = texture.Setting().width;
  const int height = texture.Setting().height;
  std::vector<uint8_t> bytes(size_t{4} * width * height);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glBindTexture(GL_TEXTURE_2D, texture.Id());
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
  glBindTexture(GL_TEXTURE_2D, 0);
  return FromBytes(bytes.data(), width, height);
}

}  // namespace qvg::test
