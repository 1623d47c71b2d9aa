#include "base/glContext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/contextObjects.h"
#include "base/gl.h"
#include "support/platform.h"
#include "utils/log.h"

namespace qvg {
namespace {

using test::HostWindow;

class ContextTest : public testing::Test {
 protected:
  void SetUp() override { Logger::Instance().SetSink(&Keep, reinterpret_cast<intptr_t>(this)); }

  void TearDown() override {
    manager_.reset();
    ShutdownContextPlatform();
    EXPECT_EQ(CurrentNativeContext(), nullptr);
    Logger::Instance().SetSink(&DefaultLogSink, 0);
  }

  QVGLContextManager& Started() {
    EXPECT_TRUE(manager_->Init());
    return *manager_;
  }

  /// How many lines of the level with the text were written since the last question.
  int Lines(int32_t level, const std::string& text) {
    std::lock_guard lock(mutex_);
    const auto count = std::count_if(lines_.begin(), lines_.end(), [&](const auto& line) {
      return line.first == level && line.second.find(text) != std::string::npos;
    });
    lines_.clear();
    return static_cast<int>(count);
  }

  bool MakeCurrent(void* context) { return manager_->MakeCurrentContext(context, nullptr); }

  std::optional<QVGLContextManager> manager_{std::in_place};

 private:
  static void Keep(const std::string& message, int32_t level, intptr_t self) {
    ContextTest& test = *reinterpret_cast<ContextTest*>(self);
    std::lock_guard lock(test.mutex_);
    test.lines_.emplace_back(level, message);
  }

  std::mutex mutex_;
  std::vector<std::pair<int32_t, std::string>> lines_;
};

TEST_F(ContextTest, NothingIsMadeBeforeTheStart) {
  EXPECT_EQ(manager_->CreateSharedContext(nullptr, nullptr, true), nullptr);
  EXPECT_EQ(Lines(kLogInfo, "]Context count=0"), 1);
  EXPECT_EQ(manager_->GetSharedContext(), nullptr);
  EXPECT_EQ(manager_->GetCurrentContext(), nullptr);
  EXPECT_EQ(CurrentContextId(), 0u);
}

TEST_F(ContextTest, CountsContextsAndRefusesUnknownOnes) {
  QVGLContextManager& manager = Started();
  void* first = manager.CreateSharedContext(nullptr, nullptr, true);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(Lines(kLogInfo, "]Context count=1"), 1);
  void* second = manager.GetSharedContext();
  EXPECT_EQ(Lines(kLogInfo, "]Context count=2"), 1);

  int nothing = 0;
  void* unknown = &nothing;
  EXPECT_FALSE(manager.DestroySharedContext(unknown));
  EXPECT_EQ(unknown, &nothing);
  EXPECT_EQ(Lines(kLogError, "]context not fond in map.,line="), 1);
  EXPECT_FALSE(manager.SwapBuffers(unknown));
  EXPECT_EQ(Lines(kLogError, "QVGLContextManager::SwapBuffers"), 1);

  EXPECT_TRUE(manager.DestroySharedContext(first));
  EXPECT_EQ(first, nullptr);
  EXPECT_EQ(Lines(kLogInfo, "]Context count=1"), 1);
  EXPECT_TRUE(manager.SwapBuffers(second));
}

TEST_F(ContextTest, ReleasedContextsComeBackOnceAndInOrder) {
  QVGLContextManager& manager = Started();
  void* a = manager.GetSharedContext();
  void* b = manager.GetSharedContext();
  void* c = manager.GetSharedContext();
  void* const handles[] = {a, b, c};
  for (void* const handle : {handles[1], handles[0], handles[1], handles[2]}) {
    void* released = handle;
    EXPECT_TRUE(manager.ReleaseSharedContext(released));
    EXPECT_EQ(released, nullptr);
  }
  EXPECT_TRUE(manager.DestroySharedContext(a));
  EXPECT_EQ(manager.GetSharedContext(), handles[1]);
  EXPECT_EQ(manager.GetSharedContext(), handles[2]);
  Lines(kLogInfo, "");
  void* fresh = manager.GetSharedContext();
  EXPECT_EQ(Lines(kLogInfo, "]Context count=3"), 1);
  EXPECT_NE(fresh, handles[1]);
  EXPECT_NE(fresh, handles[2]);
  void* none = nullptr;
  EXPECT_TRUE(manager.ReleaseSharedContext(none));
}

TEST_F(ContextTest, OnlyTheCurrentContextIsUnbound) {
  QVGLContextManager& manager = Started();
  void* a = manager.GetSharedContext();
  void* b = manager.GetSharedContext();
  void* c = manager.GetSharedContext();
  void* previous = &previous;
  EXPECT_TRUE(manager.MakeCurrentContext(a, &previous));
  EXPECT_EQ(previous, nullptr);
  EXPECT_TRUE(manager.MakeCurrentContext(b, &previous));
  EXPECT_EQ(previous, a);
  EXPECT_EQ(manager.GetCurrentContext(), b);

  manager.DestroySharedContext(a);
  manager.ReleaseSharedContext(c);
  EXPECT_EQ(manager.GetCurrentContext(), b);
  EXPECT_TRUE(manager.MakeCurrentContext(nullptr, &previous));
  EXPECT_EQ(previous, b);
  EXPECT_EQ(manager.GetCurrentContext(), nullptr);

  for (const bool destroy : {false, true}) {
    void* context = manager.GetSharedContext();
    ASSERT_TRUE(MakeCurrent(context));
    EXPECT_TRUE(destroy ? manager.DestroySharedContext(context) : manager.ReleaseSharedContext(context));
    EXPECT_EQ(CurrentNativeContext(), nullptr);
  }
}

TEST_F(ContextTest, ContextInUseElsewhereIsRefused) {
  QVGLContextManager& manager = Started();
  void* busy = manager.GetSharedContext();
  void* mine = manager.GetSharedContext();
  ASSERT_TRUE(MakeCurrent(busy));
  std::thread([&] {
    ASSERT_TRUE(MakeCurrent(mine));
    void* previous = nullptr;
    EXPECT_FALSE(manager.MakeCurrentContext(busy, &previous));
    EXPECT_EQ(previous, mine);
    EXPECT_EQ(Lines(kLogError, "]QVGLContextManager::_MakeCurrentContext failed: Getlasterror = "), 1);
    MakeCurrent(nullptr);
  }).join();
  EXPECT_EQ(manager.GetCurrentContext(), busy);
}

TEST_F(ContextTest, ContextsShareTexturesAndOutliveTheThreadThatAskedForThem) {
  QVGLContextManager& manager = Started();
  void* context = nullptr;
  GLuint texture = 0;
  std::thread([&] {
    context = manager.GetSharedContext();
    ASSERT_TRUE(MakeCurrent(context));
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glFinish();
    void* released = context;
    manager.ReleaseSharedContext(released);
  }).join();
  void* other = manager.CreateSharedContext(nullptr, nullptr, true);
  ASSERT_TRUE(MakeCurrent(other));
  EXPECT_TRUE(glIsTexture(texture));
  EXPECT_EQ(manager.GetSharedContext(), context);
  ASSERT_TRUE(MakeCurrent(context));
  EXPECT_TRUE(glIsTexture(texture));
  int32_t major = 0;
  int32_t minor = 0;
  LoadedGLVersion(&major, &minor);
  EXPECT_GE(major * 10 + minor, 41);
}

TEST_F(ContextTest, TheCallersOwnContextStays) {
  QVGLContextManager& manager = Started();
  // A context that is in no map, as one that the host has made itself.
  QVGContextData* const own = _CreateDummyGLContext(nullptr, false, nullptr);
  ASSERT_NE(own, nullptr);
  ASSERT_TRUE(MakeContextCurrent(*own));
  EXPECT_EQ(manager.GetCurrentContext(), nullptr);
  {
    TemporaryContext temporary(manager);
    ASSERT_TRUE(temporary.Valid());
    EXPECT_NE(manager.GetCurrentContext(), nullptr);
    EXPECT_FALSE(IsContextCurrent(*own));
  }
  EXPECT_TRUE(IsContextCurrent(*own));
  EXPECT_TRUE(manager.Init());  // loads the entry points anew
  EXPECT_TRUE(IsContextCurrent(*own));
  manager.Uninit();
  EXPECT_TRUE(IsContextCurrent(*own));
  EXPECT_FALSE(TemporaryContext(manager).Valid());
  EXPECT_TRUE(IsContextCurrent(*own));
  DestroyContextData(own);

  ASSERT_TRUE(manager.Init());
  void* context = manager.GetSharedContext();
  ASSERT_TRUE(MakeCurrent(context));
  { TemporaryContext temporary(manager); }
  EXPECT_EQ(manager.GetCurrentContext(), context);
  ASSERT_TRUE(MakeCurrent(nullptr));
  { TemporaryContext temporary(manager); }
  EXPECT_EQ(CurrentNativeContext(), nullptr);
}

TEST_F(ContextTest, NamesOfOneContextWaitForIt) {
  QVGLContextManager& manager = Started();
  void* const contexts[] = {manager.GetSharedContext(), manager.GetSharedContext()};
  ContextId ids[2] = {};
  GLuint frameBuffers[2] = {};
  GLuint arrays[2] = {};
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(MakeCurrent(contexts[i]));
    ids[i] = CurrentContextId();
    glGenFramebuffers(1, &frameBuffers[i]);
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffers[i]);
    glGenVertexArrays(1, &arrays[i]);
    glBindVertexArray(arrays[i]);
  }
  EXPECT_NE(ids[0], ids[1]);
  ASSERT_EQ(arrays[0], arrays[1]);  // frame buffer names need not clash: some drivers share them

  DeleteContextObject(ContextObject::kFrameBuffer, frameBuffers[0], ids[0]);
  DeleteContextObject(ContextObject::kVertexArray, arrays[0], ids[0]);
  EXPECT_TRUE(glIsFramebuffer(frameBuffers[1]));
  EXPECT_TRUE(glIsVertexArray(arrays[1]));
  ASSERT_TRUE(MakeCurrent(contexts[0]));
  EXPECT_EQ(CurrentContextId(), ids[0]);
  EXPECT_FALSE(glIsFramebuffer(frameBuffers[0]));
  EXPECT_FALSE(glIsVertexArray(arrays[0]));
  ASSERT_TRUE(MakeCurrent(contexts[1]));
  EXPECT_TRUE(glIsFramebuffer(frameBuffers[1]));

  // A name that is deleted while another thread has its context, or none, goes as soon as that is made current again.
  std::thread([&] { DeleteContextObject(ContextObject::kFrameBuffer, frameBuffers[1], ids[1]); }).join();
  EXPECT_TRUE(glIsFramebuffer(frameBuffers[1]));
  {
    TemporaryContext temporary(manager);
    DeleteContextObject(ContextObject::kVertexArray, arrays[1], ids[1]);
  }
  EXPECT_FALSE(glIsFramebuffer(frameBuffers[1]));
  EXPECT_FALSE(glIsVertexArray(arrays[1]));

  // On its own context it goes at once.
  GLuint last = 0;
  glGenFramebuffers(1, &last);
  glBindFramebuffer(GL_FRAMEBUFFER, last);
  DeleteContextObject(ContextObject::kFrameBuffer, last, ids[1]);
  EXPECT_FALSE(glIsFramebuffer(last));
}

TEST_F(ContextTest, NamesOfADestroyedContextAreForgotten) {
  QVGLContextManager& manager = Started();
  std::vector<ContextId> ids;
  for (int i = 0; i < 4; ++i) {
    void* context = manager.CreateSharedContext(nullptr, nullptr, true);  // likely at the address of the one before
    ASSERT_TRUE(MakeCurrent(context));
    EXPECT_EQ(std::count(ids.begin(), ids.end(), CurrentContextId()), 0);
    GLuint frameBuffer = 0;
    glGenFramebuffers(1, &frameBuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
    for (const ContextId id : ids) DeleteContextObject(ContextObject::kFrameBuffer, frameBuffer, id);
    FlushContextObjects();
    EXPECT_TRUE(glIsFramebuffer(frameBuffer));
    ids.push_back(CurrentContextId());
    MakeCurrent(nullptr);
    DeleteContextObject(ContextObject::kFrameBuffer, frameBuffer, ids.back());
    manager.DestroySharedContext(context);
  }
}

TEST_F(ContextTest, WindowIsPresentedByEachOfItsContexts) {
  if (!HostWindow::Available()) GTEST_SKIP() << "no windows on this machine";
  QVGLContextManager& manager = Started();
  HostWindow window(64, 48);
  void* contexts[2] = {};
  for (void*& context : contexts) {
    context = manager.CreateSharedContext(nullptr, window.handle(), false);
    ASSERT_NE(context, nullptr);
  }
  for (int round = 0; round < 2; ++round) {
    for (void* const context : contexts) {
      ASSERT_TRUE(MakeCurrent(context));
      glClearColor(1, 0, 0, 1);
      glClear(GL_COLOR_BUFFER_BIT);
      EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
      EXPECT_TRUE(manager.SwapBuffers(context));
    }
  }
  EXPECT_TRUE(manager.DestroySharedContext(contexts[1]));
  // Also from a thread on which it is not current; what is current there stays.
  void* hidden = manager.GetSharedContext();
  ASSERT_TRUE(MakeCurrent(hidden));
  EXPECT_TRUE(manager.SwapBuffers(contexts[0]));
  EXPECT_EQ(manager.GetCurrentContext(), hidden);
}

TEST_F(ContextTest, ContextOfADestroyedWindowIsNotReused) {
  if (!HostWindow::Available()) GTEST_SKIP() << "no windows on this machine";
  QVGLContextManager& manager = Started();
  for (const bool releaseFirst : {true, false}) {
    HostWindow window(64, 48);
    void* context = manager.CreateSharedContext(nullptr, window.handle(), false);
    ASSERT_NE(context, nullptr);
    ASSERT_TRUE(MakeCurrent(context));
    if (releaseFirst) {
      EXPECT_TRUE(manager.ReleaseSharedContext(context));
      window.Destroy();
      Lines(kLogInfo, "");
    } else {
      window.Destroy();
      glClear(GL_COLOR_BUFFER_BIT);
      EXPECT_FALSE(manager.SwapBuffers(context));
      Lines(kLogInfo, "");
      EXPECT_TRUE(manager.ReleaseSharedContext(context));
      EXPECT_EQ(context, nullptr);
      EXPECT_EQ(CurrentNativeContext(), nullptr);
    }
    void* reused = manager.GetSharedContext();
    EXPECT_EQ(Lines(kLogInfo, "]Context count="), 2);  // one destroyed, one made
    EXPECT_TRUE(reused != nullptr && MakeCurrent(reused));
    manager.DestroySharedContext(reused);
  }
}

TEST_F(ContextTest, WhatIsNoWindowGivesNoContext) {
  QVGLContextManager& manager = Started();
  Lines(kLogInfo, "");
  EXPECT_EQ(manager.CreateSharedContext(nullptr, reinterpret_cast<void*>(uintptr_t{0x7ffffe}), false), nullptr);
  EXPECT_EQ(Lines(kLogError, "]glContext_"), 1);
  EXPECT_NE(manager.CreateSharedContext(nullptr, nullptr, true), nullptr);
}

TEST_F(ContextTest, ThreadsTakeAndReturnContextsAtOnce) {
  QVGLContextManager& manager = Started();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 10; ++round) {
        void* context = manager.GetSharedContext();
        void* previous = nullptr;
        EXPECT_TRUE(manager.MakeCurrentContext(context, &previous));
        EXPECT_EQ(manager.GetCurrentContext(), context);
        GLuint frameBuffer = 0;
        glGenFramebuffers(1, &frameBuffer);
        DeleteContextObject(ContextObject::kFrameBuffer, frameBuffer, CurrentContextId());
        EXPECT_TRUE((round + i) % 3 == 0 ? manager.DestroySharedContext(context)
                                         : manager.ReleaseSharedContext(context));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(ContextTest, StartsAgainAfterItsEnd) {
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(manager_->Init());
    void* context = manager_->GetSharedContext();
    ASSERT_TRUE(MakeCurrent(context));
    manager_->Uninit();
    EXPECT_EQ(CurrentNativeContext(), nullptr);
    ShutdownContextPlatform();
  }
}

}  // namespace
}  // namespace qvg
