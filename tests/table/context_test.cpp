// Contexts, threads, host windows, start and release.
#include <atomic>
#include <thread>

#include "support/platform.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

using ContextTest = TableTest;

TEST_F(ContextTest, VersionsAreThoseOfTheDriver) {
  int32_t major = 0, minor = 0, requiredMajor = 0, requiredMinor = 0;
  gl_.GetGLVersion(&major, nullptr);
  gl_.GetGLVersion(nullptr, &minor);
  gl_.GetRequiredGLVersion(&requiredMajor, nullptr);
  gl_.GetRequiredGLVersion(nullptr, &requiredMinor);
  EXPECT_EQ(requiredMajor * 10 + requiredMinor, 42);
  int fromDriver[2] = {};
  Gl().GetIntegerv(0x821B, &fromDriver[0]);
  Gl().GetIntegerv(0x821C, &fromDriver[1]);
  EXPECT_EQ(major, fromDriver[0]);
  EXPECT_EQ(minor, fromDriver[1]);
  EXPECT_EQ(gl_.IsGLVersionSupported(), major * 10 + minor >= 42);
}

TEST_F(ContextTest, CurrentAndPrevious) {
  ExpectErrorLines();
  QVGGLContext* other = gl_.GetSharedContext();
  ASSERT_NE(other, nullptr);
  ASSERT_NE(other, context_->handle);
  QVGGLContext* previous = other;
  EXPECT_EQ(gl_.GetCurrentContext(), context_->handle);
  EXPECT_TRUE(gl_.MakeCurrentContext(context_->handle, &previous));
  EXPECT_EQ(previous, context_->handle);
  EXPECT_TRUE(gl_.MakeCurrentContext(other, &previous));
  EXPECT_EQ(previous, context_->handle);
  EXPECT_EQ(gl_.GetCurrentContext(), other);
  std::thread([&] { EXPECT_EQ(Table().GetCurrentContext(), nullptr); }).join();
  EXPECT_TRUE(gl_.MakeCurrentContext(nullptr, &previous));
  EXPECT_EQ(previous, other);
  EXPECT_EQ(gl_.GetCurrentContext(), nullptr);
  gl_.MakeCurrentContext(nullptr, &previous);  // some drivers refuse to unbind nothing
  EXPECT_EQ(previous, nullptr);
  EXPECT_EQ(gl_.GetCurrentContext(), nullptr);
  EXPECT_TRUE(gl_.MakeCurrentContext(context_->handle, &previous));
  EXPECT_EQ(previous, nullptr);
  EXPECT_TRUE(gl_.ReleaseSharedContext(&other));
}

TEST_F(ContextTest, ReleasedContextsAreReusedOnceAndDestroyedOnesNever) {
  ExpectErrorLines();  // of the handles that are null by then
  // Empties the pool of idle contexts.
  std::vector<QVGGLContext*> idle;
  for (int i = 0; i < 12; ++i) idle.push_back(gl_.GetSharedContext());
  for (QVGGLContext*& context : idle) gl_.DestroySharedContext(&context);
  EXPECT_EQ(idle.back(), nullptr);

  QVGGLContext* context = gl_.GetSharedContext();
  QVGGLContext* const made = context;
  QVGGLContext* alias = context;
  EXPECT_TRUE(gl_.ReleaseSharedContext(&context));
  EXPECT_EQ(context, nullptr);
  EXPECT_TRUE(gl_.ReleaseSharedContext(&context));
  gl_.ReleaseSharedContext(&alias);  // released twice is idle once
  QVGGLContext* first = gl_.GetSharedContext();
  QVGGLContext* second = gl_.GetSharedContext();
  EXPECT_EQ(first, made);
  EXPECT_NE(second, made);
  ASSERT_TRUE(gl_.MakeCurrentContext(second, nullptr));
  EXPECT_TRUE(gl_.ReleaseSharedContext(&second));
  EXPECT_EQ(gl_.GetCurrentContext(), nullptr) << "a released context stayed current";
  ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
  gl_.DestroySharedContext(&first);
  EXPECT_EQ(first, nullptr);
  EXPECT_EQ(gl_.GetCurrentContext(), context_->handle) << "the caller's own context was unbound";
  gl_.DestroySharedContext(&first);
}

TEST_F(ContextTest, TexturesAreSharedAndFrameBuffersAreNot) {
  ExpectErrorLines();
  Errors errors;
  const Image picture = Picture(64, 48, 1);
  const TexturePtr texture = Upload(picture), target = Upload(Picture(64, 48, 2)), second = Upload(Picture(64, 48, 3));
  const double color[4] = {1, 0, 0, 1};
  FrameBufferPtr mine = Target(target.get());
  ASSERT_TRUE(gl_.ClearFrameBuffer(mine.get(), color));
  gl_.Finish();
  {
    QVGGLContext* previous = nullptr;
    CurrentContext other;
    EXPECT_EQ(Compare(picture, Content(texture.get()), 0.01, errors), "");
    const FrameBufferPtr its = Target(second.get());  // likely the same number as mine
    EXPECT_FALSE(gl_.BindTextureToFrameBuffer(mine.get(), texture.get()));
    EXPECT_FALSE(gl_.ClearFrameBuffer(mine.get(), color));
    const std::vector<unsigned> names = LiveNames(kFrameBuffers);
    mine.reset();
    EXPECT_EQ(LiveNames(kFrameBuffers), names) << "a frame buffer of another context was deleted";
    ASSERT_TRUE(gl_.DrawTexture(texture.get(), its.get(), nullptr));
    EXPECT_EQ(Compare(picture, Content(second.get()), 0.01, errors), "");
    EXPECT_TRUE(gl_.MakeCurrentContext(other.handle, &previous));
  }
  ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
  EXPECT_EQ(Compare(Image(64, 48, {1, 0, 0, 1}), Content(target.get()), 0.01, errors), "");
  EXPECT_EQ(LiveNames(kFrameBuffers), std::vector<unsigned>())
      << "the deleted frame buffer's name lives on in its own context";
}

// ---- Threads ----

// Uploads, draws and reads back, comparing every frame with what this thread's picture must give.
std::string RenderFrames(int seed, int frames) {
  constexpr int kWidth = 64, kHeight = 48;
  std::vector<Frame> pictures;
  std::vector<Planes> expected;
  for (int i = 0; i < 2; ++i) {
    pictures.push_back(MakeFrame(QVG_FORMAT_NV12, kWidth, kHeight, 10 * seed + i));
    DrawScene scene;
    scene.source = Quantised(ExpectedUpload(pictures.back(), kWidth, kHeight));
    scene.target = Image(kWidth, kHeight);
    scene.camera = DefaultCamera(kWidth, kHeight);
    scene.params.scale[0] = -1;
    expected.push_back(ExpectedNV12(Quantised(ExpectedDraw(scene).image), true, false));
  }
  CurrentContext context;
  if (context.handle == nullptr) return "no context";
  const TexturePtr target(Table().AcquireTexture(kWidth, kHeight));
  FrameBufferPtr frameBuffer(Table().CreateFrameBuffer(kWidth, kHeight, false, false));
  if (!Table().BindTextureToFrameBuffer(frameBuffer.get(), target.get())) return "no target";
  QVGDrawTextureParams params = DefaultParams();
  params.scale[0] = -1;
  std::vector<unsigned> vertexArrays;
  for (int i = 0; i < frames; ++i) {
    const std::string where = "thread " + std::to_string(seed) + ", frame " + std::to_string(i) + ": ";
    const TexturePtr source = Upload(pictures[i % 2]);
    if (source == nullptr) return where + "no upload";
    if (!Table().DrawTexture(source.get(), frameBuffer.get(), &params)) return where + "no draw";
    ReadBack read;
    if (!Table().TextureToNV12PixelBuffer(target.get(), &read.buffer, false)) return where + "no read-back";
    const Planes planes = PlanesOf(read.buffer);
    Errors errors;
    // Upload, draw and read-back each round, and the upload's error counts for several channels.
    std::string fault = Compare(expected[i % 2].luma, planes.luma, 4, errors);
    fault += Compare(expected[i % 2].chroma[0], planes.chroma[0], 4, errors);
    if (!fault.empty()) return where + fault;
    if (i == 2) vertexArrays = LiveNames(kVertexArrays);
  }
  if (frames > 3 && vertexArrays.size() != LiveNames(kVertexArrays).size()) return "vertex arrays are left over";
  return Gl().GetError() == 0 ? "" : "a GL error was left behind";
}

TEST_F(ContextTest, FourThreadsDoNotDisturbEachOther) {
  const auto run = [](int frames) {
    std::string faults[4];
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&, i] { faults[i] = RenderFrames(i, frames); });
    for (std::thread& thread : threads) thread.join();
    return faults[0] + faults[1] + faults[2] + faults[3];
  };
  EXPECT_EQ(run(1), "");  // leaves programs behind for all
  ClearPools();
  const std::vector<size_t> names = NameCounts();
  EXPECT_EQ(run(200), "");
  ClearPools();
  const std::vector<size_t> after = NameCounts();
  for (int kind = kTextures; kind <= kFrameBuffers; ++kind) EXPECT_EQ(after[kind], names[kind]) << "kind " << kind;
}

// ---- Windows of the host ----

TEST_F(ContextTest, WhatIsNoWindowGivesNoContext) {
  ExpectErrorLines();
  EXPECT_EQ(gl_.CreateSharedContext(nullptr, reinterpret_cast<void*>(uintptr_t{0x7FFFFFF1}), false), nullptr);
  EXPECT_EQ(gl_.GetCurrentContext(), context_->handle);
}

TEST_F(ContextTest, HiddenContextIgnoresTheWindow) {
  QVGGLContext* context = gl_.CreateSharedContext(this, reinterpret_cast<void*>(uintptr_t{0x7FFFFFF1}), true);
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(gl_.GetCurrentContext(), context_->handle);
  EXPECT_TRUE(gl_.MakeCurrentContext(context, nullptr));
  EXPECT_NE(Upload(Picture(8, 8, 1)), nullptr);
  EXPECT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
  gl_.DestroySharedContext(&context);
}

TEST_F(ContextTest, WindowOfTheHost) {
  if (!HostWindow::Available()) GTEST_SKIP() << "no display";
  Errors errors;
  const Image picture = Picture(64, 48, 1);
  const TexturePtr texture = Upload(picture);
  gl_.Finish();
  HostWindow window(80, 60);
  ASSERT_NE(window.handle(), nullptr);
  for (int round = 0; round < 2; ++round) {
    QVGGLContext* context = gl_.CreateSharedContext(nullptr, window.handle(), false);
    ASSERT_NE(context, nullptr) << "round " << round;
    ASSERT_TRUE(gl_.MakeCurrentContext(context, nullptr));
    EXPECT_EQ(gl_.GetCurrentContext(), context);
    EXPECT_EQ(Compare(picture, Content(texture.get()), 0.01, errors), "");
    EXPECT_TRUE(gl_.SwapBuffers(context));
    EXPECT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
    gl_.DestroySharedContext(&context);
  }
}

TEST_F(ContextTest, WindowDestroyedUnderItsContext) {
  if (!HostWindow::Available()) GTEST_SKIP() << "no display";
  ExpectErrorLines();
  QVGGLContext* contexts[3] = {};
  for (int i = 0; i < 3; ++i) {
    HostWindow window(40, 30);
    contexts[i] = gl_.CreateSharedContext(nullptr, window.handle(), false);
    ASSERT_NE(contexts[i], nullptr);
    if (i == 1) gl_.MakeCurrentContext(contexts[i], nullptr);
    window.Destroy();
    // Whatever these answer, they come back.
    gl_.SwapBuffers(contexts[i]);
    if (i == 1) gl_.MakeCurrentContext(context_->handle, nullptr);
    if (i == 2) gl_.MakeCurrentContext(contexts[i], nullptr);
    gl_.MakeCurrentContext(context_->handle, nullptr);
  }
  gl_.DestroySharedContext(&contexts[0]);
  gl_.DestroySharedContext(&contexts[1]);
  QVGGLContext* const gone = contexts[2];
  EXPECT_TRUE(gl_.ReleaseSharedContext(&contexts[2]));
  EXPECT_EQ(contexts[2], nullptr);
  QVGGLContext* next = gl_.GetSharedContext();
  ASSERT_NE(next, nullptr);
  ASSERT_TRUE(gl_.MakeCurrentContext(next, nullptr)) << (next == gone ? "a dead window's context was reused" : "");
  Errors errors;
  EXPECT_EQ(Compare(Picture(9, 9, 1), Content(Upload(Picture(9, 9, 1)).get()), 0.01, errors), "");
  gl_.MakeCurrentContext(context_->handle, nullptr);
  gl_.ReleaseSharedContext(&next);
}

// ---- Start and release ----

TEST_F(ContextTest, StartReleaseAndStartAgain) {
  Errors errors;
  const QVGGLRendererInterface* const first = QVG_GetGLRendererInterface(nullptr);
  EXPECT_EQ(first, &Table());
  context_.reset();
  QVG_ReleaseGLRendererInterface(nullptr);
  for (int round = 0; round < 4; ++round) {
    SCOPED_TRACE(round);
    const QVGGLRendererInterface* held = first;
    // The host may still have a context and a read-back out.
    if (round % 2 == 1) {
      CurrentContext context;
      QVGPixelBuffer out = {};
      EXPECT_TRUE(held->TextureToNV12PixelBuffer(Upload(Picture(30, 20, 1)).get(), &out, false));
      EXPECT_NE(held->GetSharedContext(), nullptr);
    }
    QVG_ReleaseGLRendererInterface(&held);
    EXPECT_EQ(held, nullptr);
    QVG_ReleaseGLRendererInterface(&held);
    QVGConfig config = {};
    std::string("text").copy(config.text, sizeof config.text - 1);
    EXPECT_EQ(QVG_GetGLRendererInterface(round == 0 ? &config : nullptr), first);
    EXPECT_EQ(QVG_GetGLRendererInterface(nullptr), first);
    CurrentContext context;
    ASSERT_NE(context.handle, nullptr);
    EXPECT_EQ(Compare(Picture(30, 20, round), Content(Upload(Picture(30, 20, round)).get()), 0.01, errors), "");
  }
  std::vector<std::thread> threads;
  std::atomic<int> same = 0;
  for (int i = 0; i < 4; ++i) threads.emplace_back([&] { same += QVG_GetGLRendererInterface(nullptr) == first; });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(same, 4);
}

}  // namespace
}  // namespace qvg::test
