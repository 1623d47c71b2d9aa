// What the table doesn't show about contexts: the service thread, and names that belong to a single context.
#include <algorithm>
#include <atomic>

#include "base/contextState.h"
#include "base/swapPacer.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

using ContextTest = GLTest;

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
  // 'A' alone, alternating with others, and after the window that others followed is gone.
  const std::pair<const char*, const char*> shownAndWaits[] = {
      {"AAAA", "1111"}, {"ABCABC", "100100"}, {"ABABBBB", "1010111"}, {"ABABBCBC", "10101010"}};
  for (const auto& [shown, waits] : shownAndWaits) {
    SwapPacer pacer;
    std::string answers;
    for (const char* window = shown; *window != '\0'; ++window) {
      answers += static_cast<char>('0' + pacer.IntervalFor(reinterpret_cast<const void*>(intptr_t{*window})));
    }
    EXPECT_EQ(answers, waits) << shown;
  }
}

GLuint NewFrameBuffer() {
  GLuint name = 0;
  glGenFramebuffers(1, &name);
  glBindFramebuffer(GL_FRAMEBUFFER, name);
  return name;
}

GLuint NewVertexArray() {
  GLuint name = 0;
  glGenVertexArrays(1, &name);
  glBindVertexArray(name);
  return name;
}

TEST_F(ContextTest, NamesOfOneContextWaitForIt) {
  const struct {
    ContextObject object;
    GLuint (*make)();
    decltype(glad_glIsFramebuffer) exists;
  } kinds[] = {{ContextObject::kFrameBuffer, &NewFrameBuffer, glIsFramebuffer},
               {ContextObject::kVertexArray, &NewVertexArray, glIsVertexArray}};
  void* const owner = contexts_.GetCurrentContext();
  void* const other = contexts_.GetSharedContext();
  const ContextId id = CurrentContextId();
  for (const auto& kind : kinds) {
    ASSERT_TRUE(MakeCurrent(other));
    for (int i = 0; i < 8; ++i) kind.make();  // with the same names, where each context has its own
    for (void* const where : {owner, other, static_cast<void*>(nullptr)}) {
      ASSERT_TRUE(MakeCurrent(owner));
      const GLuint name = kind.make();
      MakeCurrent(where);
      const int before = where != nullptr ? Live(kind.exists) : 0;
      DeleteContextObject(kind.object, name, id);
      if (where != nullptr) {
        EXPECT_EQ(Live(kind.exists), where == owner ? before - 1 : before);
      }
      ASSERT_TRUE(MakeCurrent(owner));
      EXPECT_FALSE(kind.exists(name));
    }
  }
}

TEST_F(ContextTest, SharedNamesWaitForAnyContext) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  OnOtherThread(false, [&] { DeleteSharedObject({SharedObject::kTexture, texture}); });
  EXPECT_TRUE(glIsTexture(texture));
  FlushContextObjects();
  EXPECT_FALSE(glIsTexture(texture));
}

TEST_F(ContextTest, NamesOfADestroyedContextAreForgotten) {
  std::vector<ContextId> ids;
  for (int i = 0; i < 4; ++i) {
    void* context = contexts_.CreateSharedContext(nullptr, nullptr, true);  // likely at the previous one's address
    ASSERT_TRUE(MakeCurrent(context));
    EXPECT_EQ(std::count(ids.begin(), ids.end(), CurrentContextId()), 0);
    const GLuint frameBuffer = NewFrameBuffer();
    for (const ContextId id : ids) DeleteContextObject(ContextObject::kFrameBuffer, frameBuffer, id);
    FlushContextObjects();
    EXPECT_TRUE(glIsFramebuffer(frameBuffer));
    ids.push_back(CurrentContextId());
    contexts_.DestroySharedContext(context);
  }
}

}  // namespace
}  // namespace qvg
