// Contexts, threads, host windows, start and release.
#include <atomic>
#include <functional>
#include <thread>

#include "support/platform.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

using ContextTest = TableTest;

TEST_F(ContextTest, CurrentAndPrevious) {
  ExpectErrorLines();
  QVGGLContext *other = gl_.GetSharedContext(), *current = context_->handle;
  ASSERT_NE(other, current);
  QVGGLContext* const steps[] = {context_->handle, other, nullptr, nullptr, context_->handle};
  for (QVGGLContext* const next : steps) {
    QVGGLContext* previous = other;
    const bool made = gl_.MakeCurrentContext(next, &previous);
    EXPECT_TRUE(made || (next == nullptr && current == nullptr));  // some drivers refuse to unbind nothing
    EXPECT_EQ(previous, current);
    current = next;
    EXPECT_EQ(gl_.GetCurrentContext(), current);
  }
  TakeLog();
  std::thread([&] {
    EXPECT_TRUE(gl_.MakeCurrentContext(other, nullptr));
    QVGGLContext* previous = nullptr;
    EXPECT_FALSE(gl_.MakeCurrentContext(context_->handle, &previous)) << "current on two threads";
    EXPECT_EQ(previous, other);
    EXPECT_NE(TakeLog().find("]QVGLContextManager::_MakeCurrentContext failed: Getlasterror = "), std::string::npos);
    EXPECT_TRUE(gl_.ReleaseSharedContext(&other));
  }).join();
  EXPECT_EQ(gl_.GetCurrentContext(), context_->handle);
}

TEST_F(ContextTest, ReleasedContextsComeBackOnceInOrderAndDestroyedOnesNever) {
  ExpectErrorLines();  // for handles that are null by then
  std::vector<QVGGLContext*> idle;
  for (int i = 0; i < 12; ++i) idle.push_back(Table().GetSharedContext());
  for (QVGGLContext*& context : idle) Table().DestroySharedContext(&context);
  QVGGLContext *made[3], *again[3];
  for (QVGGLContext*& context : made) context = gl_.GetSharedContext();
  for (const int i : {1, 0, 1, 2}) {
    QVGGLContext* context = made[i];
    const bool current = i == 2;  // only that one is unbound
    ASSERT_TRUE(gl_.MakeCurrentContext(current ? context : context_->handle, nullptr));
    EXPECT_TRUE(gl_.ReleaseSharedContext(&context));
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(gl_.GetCurrentContext(), current ? nullptr : context_->handle);
  }
  gl_.DestroySharedContext(&made[0]);
  for (QVGGLContext*& context : again) context = gl_.GetSharedContext();
  EXPECT_EQ(again[0], made[1]);
  EXPECT_EQ(again[1], made[2]);
  EXPECT_TRUE(again[2] != made[1] && again[2] != made[2]);
  ASSERT_TRUE(gl_.MakeCurrentContext(again[0], nullptr));
  for (QVGGLContext*& context : again) gl_.DestroySharedContext(&context);
  EXPECT_EQ(gl_.GetCurrentContext(), nullptr);
  ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
}

TEST_F(ContextTest, TexturesAreSharedAndFrameBuffersAreNot) {
  ExpectErrorLines();
  const std::vector<unsigned> before = LiveNames(kFrameBuffers);
  const Image picture = Picture(64, 48, 1);
  const Color red = {1, 0, 0, 1};
  Texture texture = Upload(picture), target = Upload(Picture(64, 48, 2)), second = Upload(Picture(64, 48, 3));
  FrameBuffer mine = Target(target.get());
  ASSERT_TRUE(gl_.ClearFrameBuffer(mine.get(), red.data()));
  gl_.Finish();
  {
    CurrentContext other;
    const FrameBuffer its = Target(second.get());  // likely the same number as mine
    EXPECT_FALSE(gl_.BindTextureToFrameBuffer(mine.get(), texture.get()));
    EXPECT_FALSE(gl_.ClearFrameBuffer(mine.get(), red.data()));
    mine.reset();  // not this context's frame buffer of the same name
    ASSERT_TRUE(gl_.DrawTexture(texture.get(), its.get(), nullptr));
    EXPECT_EQ(Difference(picture, Content(second.get())), "");
  }
  ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
  EXPECT_EQ(Difference(Image(64, 48, red), Content(target.get())), "");
  // The library's own frame buffers go with their textures; the one that was deleted elsewhere is deleted here.
  for (Texture* drawn : {&texture, &target, &second}) drawn->reset();
  ClearPools();
  { const CurrentContext other; }
  ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
  EXPECT_EQ(LiveNames(kFrameBuffers), before);
}

// ---- Threads ----

constexpr int kThreads = 4;

// Uploads, draws and reads back, comparing every frame with the result expected of this thread's picture.
void RenderFrames(int seed, int frames, std::atomic<int>& begun) {
  constexpr int kWidth = 64, kHeight = 48;
  DrawScene scene;
  scene.target = Image(kWidth, kHeight);
  scene.camera = DefaultCamera(kWidth, kHeight);
  scene.params.scale[0] = -1;
  std::vector<Frame> pictures;
  std::vector<Planes> expected;
  for (int i = 0; i < 2; ++i) {
    pictures.push_back(MakeFrame(QVG_FORMAT_NV12, kWidth, kHeight, 10 * seed + i));
    scene.source = Quantised(ExpectedUpload(pictures.back(), kWidth, kHeight));
    expected.push_back(ExpectedNV12(Quantised(ExpectedDraw(scene).image), true, false));
  }
  CurrentContext context;
  // Each needs a context of its own, so none may start after another has ended and left it its context.
  for (++begun; begun < kThreads;) std::this_thread::yield();
  ASSERT_NE(context.handle, nullptr);
  const Texture target(Table().AcquireTexture(kWidth, kHeight));
  const FrameBuffer frameBuffer = Target(target.get());
  for (int i = 0; i < frames; ++i) {
    SCOPED_TRACE(::testing::Message() << "thread " << seed << ", frame " << i);
    const Texture source = Upload(pictures[i % 2]);
    ASSERT_NE(source, nullptr);
    ASSERT_TRUE(Table().DrawTexture(source.get(), frameBuffer.get(), &scene.params));
    ReadBack read;
    ASSERT_TRUE(Table().TextureToNV12PixelBuffer(target.get(), &read.buffer, false));
    Errors errors;
    // Upload, draw and read-back round once each, and the upload's error affects several channels.
    ASSERT_EQ(Compare(expected[i % 2], read.buffer, 4, errors), "");
  }
  EXPECT_EQ(glGetError(), 0u);
}

TEST_F(ContextTest, FourThreadsDoNotDisturbEachOther) {
  const auto run = [](int frames) {
    std::vector<std::thread> threads;
    std::atomic<int> begun = 0;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(RenderFrames, i, frames, std::ref(begun));
    for (std::thread& thread : threads) thread.join();
    ClearPools();
    std::vector<size_t> names = NameCounts();
    names.resize(kFrameBuffers);  // without those that idle contexts delete later
    return names;
  };
  const std::vector<size_t> names = run(1);  // leaves programs for the others
  EXPECT_EQ(run(200), names);
}

// ---- Windows of the host ----

TEST_F(ContextTest, WindowOfTheHostDiesBeforeItsContext) {
  if (!HostWindow::Available()) GTEST_SKIP() << "no display";
  ExpectErrorLines();
  HostWindow window(40, 30);
  QVGGLContext* context = gl_.CreateSharedContext(nullptr, window.handle(), false);
  ASSERT_TRUE(gl_.MakeCurrentContext(context, nullptr));
  EXPECT_TRUE(gl_.SwapBuffers(context));
  window.Destroy();
  EXPECT_FALSE(gl_.SwapBuffers(context));
  gl_.DestroySharedContext(&context);
  ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
  EXPECT_EQ(Difference(Picture(9, 9, 1), Content(Upload(Picture(9, 9, 1)).get())), "");
}

// ---- Start and release ----

TEST_F(ContextTest, StartReleaseAndStartAgain) {
  const QVGGLRendererInterface* const first = QVG_GetGLRendererInterface(nullptr);
  context_.reset();
  QVG_ReleaseGLRendererInterface(nullptr);
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE(round);
    const QVGGLRendererInterface* held = first;
    // The host may still have a context and a read-back out.
    if (round == 1) {
      CurrentContext context;
      QVGPixelBuffer out = {};
      EXPECT_TRUE(held->TextureToNV12PixelBuffer(Upload(Picture(30, 20, 1)).get(), &out, false));
      EXPECT_NE(held->GetSharedContext(), nullptr);
    }
    for (int i = 0; i < 2; ++i) QVG_ReleaseGLRendererInterface(&held);
    EXPECT_EQ(held, nullptr);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&] { EXPECT_EQ(QVG_GetGLRendererInterface(nullptr), first); });
    for (std::thread& thread : threads) thread.join();
    CurrentContext context;
    EXPECT_EQ(Difference(Picture(30, 20, round), Content(Upload(Picture(30, 20, round)).get())), "");
  }
}

}  // namespace
}  // namespace qvg::test
