// What the table doesn't show of contexts: the host's own ones, and the names that belong to one context.
#include <algorithm>

#include "base/contextState.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

class ContextTest : public GLTest {
 protected:
  void SetUp() override { ASSERT_TRUE(manager_->Init()); }
};

TEST_F(ContextTest, TheCallersOwnContextStays) {
  // A context that is in no map, as one that the host has made itself.
  QVGContextData* const own = _CreateDummyGLContext(nullptr, false, nullptr);
  ASSERT_NE(own, nullptr);
  ASSERT_TRUE(MakeContextCurrent(*own));
  EXPECT_EQ(manager_->GetCurrentContext(), nullptr);
  {
    TemporaryContext temporary(*manager_);
    ASSERT_TRUE(temporary.Valid());
    EXPECT_NE(manager_->GetCurrentContext(), nullptr);
    EXPECT_FALSE(IsContextCurrent(*own));
  }
  EXPECT_TRUE(IsContextCurrent(*own));
  EXPECT_TRUE(manager_->Init());  // loads the entry points anew
  EXPECT_TRUE(IsContextCurrent(*own));
  manager_->Uninit();
  EXPECT_TRUE(IsContextCurrent(*own));
  EXPECT_FALSE(TemporaryContext(*manager_).Valid());
  EXPECT_TRUE(IsContextCurrent(*own));
  DestroyContextData(own);

  ASSERT_TRUE(manager_->Init());
  for (void* const context : {manager_->GetSharedContext(), static_cast<void*>(nullptr)}) {
    ASSERT_TRUE(MakeCurrent(context));
    { TemporaryContext temporary(*manager_); }
    EXPECT_EQ(manager_->GetCurrentContext(), context);
  }
}

TEST_F(ContextTest, NamesOfOneContextWaitForIt) {
  void* const contexts[] = {manager_->GetSharedContext(), manager_->GetSharedContext()};
  ContextId ids[2] = {};
  GLuint frameBuffers[2] = {}, arrays[2] = {};
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(MakeCurrent(contexts[i]));
    ids[i] = CurrentContextId();
    glGenFramebuffers(1, &frameBuffers[i]);
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffers[i]);
    glGenVertexArrays(1, &arrays[i]);
    glBindVertexArray(arrays[i]);
  }
  const auto alive = [&](int i) {
    return std::pair(glIsFramebuffer(frameBuffers[i]) != 0, glIsVertexArray(arrays[i]) != 0);
  };
  EXPECT_NE(ids[0], ids[1]);
  ASSERT_EQ(arrays[0], arrays[1]);  // frame buffer names need not clash: some drivers share them

  DeleteContextObject(ContextObject::kFrameBuffer, frameBuffers[0], ids[0]);
  DeleteContextObject(ContextObject::kVertexArray, arrays[0], ids[0]);
  EXPECT_EQ(alive(1), std::pair(true, true));
  ASSERT_TRUE(MakeCurrent(contexts[0]));
  EXPECT_EQ(CurrentContextId(), ids[0]);
  EXPECT_EQ(alive(0), std::pair(false, false));
  ASSERT_TRUE(MakeCurrent(contexts[1]));
  EXPECT_EQ(alive(1), std::pair(true, true));

  // A name that is deleted while another thread has its context, or none, goes as soon as that is made current again.
  std::thread([&] { DeleteContextObject(ContextObject::kFrameBuffer, frameBuffers[1], ids[1]); }).join();
  EXPECT_EQ(alive(1), std::pair(true, true));
  {
    TemporaryContext temporary(*manager_);
    DeleteContextObject(ContextObject::kVertexArray, arrays[1], ids[1]);
  }
  EXPECT_EQ(alive(1), std::pair(false, false));

  // On its own context it goes at once.
  glGenFramebuffers(1, &frameBuffers[1]);
  glBindFramebuffer(GL_FRAMEBUFFER, frameBuffers[1]);
  DeleteContextObject(ContextObject::kFrameBuffer, frameBuffers[1], ids[1]);
  EXPECT_FALSE(alive(1).first);
}

TEST_F(ContextTest, NamesOfADestroyedContextAreForgotten) {
  std::vector<ContextId> ids;
  for (int i = 0; i < 4; ++i) {
    void* context = manager_->CreateSharedContext(nullptr, nullptr, true);  // likely at the address of the one before
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
    manager_->DestroySharedContext(context);
  }
}

TEST_F(ContextTest, ThreadsTakeAndReturnContextsAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 10; ++round) {
        void* context = manager_->GetSharedContext();
        EXPECT_TRUE(MakeCurrent(context));
        EXPECT_EQ(manager_->GetCurrentContext(), context);
        GLuint frameBuffer = 0;
        glGenFramebuffers(1, &frameBuffer);
        DeleteContextObject(ContextObject::kFrameBuffer, frameBuffer, CurrentContextId());
        EXPECT_TRUE((round + i) % 3 == 0 ? manager_->DestroySharedContext(context)
                                         : manager_->ReleaseSharedContext(context));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace qvg
