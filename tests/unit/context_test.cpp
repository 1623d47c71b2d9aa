// What the table doesn't show of contexts: the host's own ones, and the names that belong to one context.
#include <algorithm>
#include <atomic>

#include "base/contextState.h"
#include "base/swapPacer.h"
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
  EXPECT_TRUE(manager_->Init());  // loads the entry points anew
  EXPECT_TRUE(IsContextCurrent(*own));
  manager_->Uninit();
  EXPECT_TRUE(IsContextCurrent(*own));
  DestroyContextData(own);
}

TEST_F(ContextTest, WorkRunsWithAContextWhateverIsCurrent) {
  void* const context = manager_->GetSharedContext();
  std::thread::id where[2];
  const auto work = [&](std::thread::id& id) {
    return [&] {
      id = std::this_thread::get_id();
      EXPECT_NE(CurrentContext(), nullptr);
    };
  };
  EXPECT_TRUE(manager_->WithContext(work(where[0])));
  EXPECT_EQ(CurrentNativeContext(), nullptr);
  ASSERT_TRUE(MakeCurrent(context));
  EXPECT_TRUE(manager_->WithContext(work(where[1])));
  EXPECT_EQ(manager_->GetCurrentContext(), context);
  EXPECT_NE(where[0], std::this_thread::get_id());
  EXPECT_EQ(where[1], std::this_thread::get_id());
  MakeCurrent(nullptr);
  manager_->Uninit();
  EXPECT_FALSE(manager_->WithContext([] { ADD_FAILURE(); }));
}

TEST(ServiceThreadTest, RunsThrowsAndDoesItsChoreUntilThereIsNoMore) {
  ServiceThread service;
  EXPECT_THROW(service.Run([] { throw std::bad_alloc(); }), std::bad_alloc);
  bool there = false;
  service.Run([&] { service.Run([&] { there = service.IsCurrent(); }); });
  EXPECT_TRUE(there && !service.IsCurrent());
  std::atomic<int> left = 3;
  service.SetChore([&] { return --left > 0; }, std::chrono::milliseconds(1));
  service.WakeUp();
  while (left > 0) std::this_thread::yield();
  service.SetChore({}, {});
  service.WakeUp();
  service.Stop();
  service.Run([&] { EXPECT_EQ(left, 0); });  // starts again
}

TEST(SwapPacerTest, OneWindowOfARoundWaits) {
  struct Case {
    const char* shown;
    const char* waits;
  };
  // 'A' alone, in turns with others, after the one that others followed is gone, and newcomers.
  for (const auto& [shown, waits] :
       {Case{"AAAA", "1111"}, Case{"ABABAB", "101010"}, Case{"ABCABC", "100100"}, Case{"ABABBBB", "1010111"},
        Case{"ABBABB", "101011"}, Case{"ABABBCBC", "10101010"}}) {
    SwapPacer pacer;
    std::string answers;
    for (const char* window = shown; *window != '\0'; ++window) {
      answers += static_cast<char>('0' + pacer.IntervalFor(reinterpret_cast<const void*>(intptr_t{*window})));
    }
    EXPECT_EQ(answers, waits) << shown;
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
  MakeCurrent(nullptr);
  DeleteContextObject(ContextObject::kVertexArray, arrays[1], ids[1]);
  ASSERT_TRUE(MakeCurrent(contexts[1]));
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
