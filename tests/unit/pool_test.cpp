// The pools, the mapper of read-back buffers, and the one object that owns them.
#include <algorithm>
#include <functional>
#include <memory>

#include "base/bo.h"
#include "base/contextState.h"
#include "base/renderbuffer.h"
#include "glCalls.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

using PoolTest = GLTest;

TEST_F(PoolTest, TexturesThatWereOutAtAClearStayUncounted) {
  bool wanted = false;
  TexturePool pool(4, [&] { wanted = true; });
  Texture* uncounted = pool.Acquire(1024, 1024, GL_RGBA8);  // 4 MiB
  EXPECT_TRUE(pool.Clear());
  pool.Release(uncounted);
  // If the first one had been subtracted from the sum, this one would be within the budget.
  Texture* counted = pool.Acquire(1024, 1280, GL_RGBA8);  // 5 MiB
  pool.Release(counted);
  while (wanted) wanted = pool.Trim();
  EXPECT_EQ(Live(glIsTexture), 0);
}

// Not with every driver would a missing wait show in pictures. So the test counts the calls that wait, and that there
// are none while an object stays with its context.
TEST_F(PoolTest, PendingWorkIsWaitedForOnAnotherContextAlone) {
  constexpr int kFenceAndFlush = 2, kWait = 1;
  const auto syncs = [](const std::function<void()>& work) {
    const CountedCalls counted;
    work();
    return counted.Counts().syncs;
  };
  TexturePool& textures = runtime_->textures;
  RenderBufferPool& buffers = runtime_->renderBuffers;
  Texture* texture = nullptr;
  RenderBuffer* buffer = nullptr;
  const auto takeTexture = [&] { return (texture = textures.Acquire(8, 8, GL_RGBA8))->Id(); };
  const auto releaseTexture = [&] { textures.Release(texture); };
  const struct {
    std::function<GLuint()> take;
    std::function<void()> giveBack;
  } kinds[] = {{takeTexture, releaseTexture},
               {[&] { return (buffer = buffers.Acquire(8, 8, GL_RGBA8))->id; }, [&] { buffers.Release(buffer); }}};
  void* const own = contexts_.GetCurrentContext();
  const auto leaveAndReturn = [&] {
    MakeCurrent(nullptr);
    MakeCurrent(own);
  };
  for (const auto& kind : kinds) {
    const auto& take = kind.take;
    const auto& giveBack = kind.giveBack;
    const GLuint first = take();
    const auto takeFirst = [&] { EXPECT_EQ(take(), first); };
    EXPECT_EQ(syncs(giveBack), 0);
    EXPECT_EQ(syncs(takeFirst), 0);
    // Taken here and given back there, and vice versa; a context that only gives back has to be waited for, too.
    OnOtherThread(true, [&] { EXPECT_EQ(syncs(giveBack), kFenceAndFlush); });
    EXPECT_EQ(syncs(takeFirst), kWait);
    leaveAndReturn();
    giveBack();
    OnOtherThread(true, [&] {
      EXPECT_EQ(syncs([&] { EXPECT_NE(take(), first) << "nobody can wait for a context that goes on working"; }), 0);
      giveBack();
    });
    // A context that is left puts a fence after all its work.
    EXPECT_EQ(syncs([&] { MakeCurrent(nullptr); }), kFenceAndFlush);
    OnOtherThread(true, [&] {
      EXPECT_EQ(syncs(takeFirst), kWait);
      giveBack();
    });
    ASSERT_TRUE(MakeCurrent(own));
  }
  // Without a context no fence can be left; the taker has to wait all the same.
  for (const bool again : {false, true}) {
    textures.Clear();
    const GLuint name = takeTexture();
    if (again) {
      leaveAndReturn();
      CurrentContext()->worked = true;
    }
    OnOtherThread(false, [&] { EXPECT_EQ(syncs(releaseTexture), 0); });
    Texture* other = nullptr;
    OnOtherThread(true, [&] { EXPECT_NE((other = textures.Acquire(8, 8, GL_RGBA8))->Id(), name); });
    MakeCurrent(nullptr);
    OnOtherThread(true, [&] {
      EXPECT_EQ(takeTexture(), name);
      for (Texture* given : {texture, other}) textures.Release(given);
    });
    ASSERT_TRUE(MakeCurrent(own));
  }
}

// The tests of the table show which of those that fit is taken.
TEST_F(PoolTest, IdleBuffersServeWhatTheyFitAlone) {
  const struct {
    int width, height;
    GLenum format;
    bool fits;
  } pictures[] = {{101, 20, GL_RGBA8, false},
                  {20, 91, GL_RGBA8, false},
                  {33, 21, GL_DEPTH24_STENCIL8, false},
                  {100, 90, GL_RGBA8, true}};
  RenderBufferPool& renderBuffers = runtime_->renderBuffers;
  RenderBuffer* idle = renderBuffers.Acquire(100, 90, GL_RGBA8);
  const GLuint id = idle->id;
  renderBuffers.Release(idle);
  std::vector<RenderBuffer*> taken;
  for (const auto& [width, height, format, fits] : pictures) {
    SCOPED_TRACE(testing::Message() << width << " x " << height);
    const RenderBuffer* buffer = taken.emplace_back(renderBuffers.Acquire(width, height, format));
    EXPECT_EQ(buffer->id == id, fits);
    EXPECT_EQ(buffer->setting.contentWidth, width);
    EXPECT_EQ(buffer->setting.contentHeight, height);
  }
  for (RenderBuffer*& buffer : taken) renderBuffers.Release(buffer);
  EXPECT_EQ(renderBuffers.Acquire(10, 10, 0xBAD), nullptr);
  EXPECT_EQ(TakeLog(), "0 OpenGL Error: Invalid enum\n");

  const struct {
    int64_t size;
    GLenum usage, target;
    bool fits;
  } blocks[] = {{1001, GL_STREAM_READ, GL_PIXEL_PACK_BUFFER, false},
                {1000, GL_STREAM_DRAW, GL_PIXEL_PACK_BUFFER, false},
                {1000, GL_STREAM_READ, GL_PIXEL_UNPACK_BUFFER, false},
                {1, GL_STREAM_READ, GL_PIXEL_PACK_BUFFER, true}};
  PixelBufferPool& pixelBuffers = runtime_->pixelBuffers;
  BO* block = pixelBuffers.Acquire(1000, GL_STREAM_READ, GL_PIXEL_PACK_BUFFER);
  const BO* const first = block;
  pixelBuffers.Release(block);
  for (const auto& [size, usage, target, fits] : blocks) {
    const std::unique_ptr<BO> buffer(pixelBuffers.Acquire(size, usage, target));
    EXPECT_EQ(buffer.get() == first, fits) << size;
  }
}

TEST_F(PoolTest, MapperWorksOnAnyThread) {
  auto mapper = std::make_unique<PixelBufferMapper>(contexts_);
  uint32_t size = 0;
  auto* kept = new BO;  // deleted with the mapper
  ASSERT_TRUE(kept->Allocate(4, GL_STREAM_READ, "keep"));
  EXPECT_NE(mapper->Map(kept, &size), nullptr);
  BO buffer, empty;
  ASSERT_TRUE(buffer.Allocate(10, GL_STREAM_READ, "0123456789"));
  glFinish();
  for (const bool withContext : {false, true}) {
    OnOtherThread(withContext, [&] {
      void* address = mapper->Map(&buffer, &size);
      ASSERT_NE(address, nullptr);
      EXPECT_EQ(std::string(static_cast<char*>(address), size), "0123456789");
      EXPECT_EQ(CurrentNativeContext() != nullptr, withContext);
      EXPECT_EQ(mapper->UnMap(static_cast<char*>(address) + 1).buffer, nullptr);
      const auto [unmapped, intact] = mapper->UnMap(address);
      EXPECT_TRUE(unmapped == &buffer && intact);
      EXPECT_EQ(mapper->UnMap(address).buffer, nullptr);
      EXPECT_EQ(TakeLog(), "");
      EXPECT_EQ(mapper->Map(&empty, &size), nullptr);
      EXPECT_NE(TakeLog(), "");
      EXPECT_EQ(CurrentNativeContext() != nullptr, withContext);
    });
  }
  mapper.reset();
  EXPECT_EQ(Live(glIsBuffer), 1);
  EXPECT_TRUE(glIsBuffer(buffer.Id()));
}

TEST(ScratchBufferPoolTest, SmallestBlockThatFitsUnlessFarTooLarge) {
  ScratchBufferPool pool;
  uint8_t* const large = pool.Acquire(1000);
  uint8_t* const medium = pool.Acquire(600);
  for (uint8_t* block : {large, medium, large}) pool.Release(block);  // releasing one twice is ignored
  EXPECT_EQ(pool.Acquire(550), medium);
  EXPECT_EQ(pool.Acquire(550), large);
  for (uint8_t* block : {large, medium}) pool.Release(block);
  pool.Acquire(100);
  EXPECT_EQ(pool.IdleBytes(), 1600u) << "a small request occupies a large block";
}

TEST(ScratchBufferPoolTest, IdleBlocksAreBounded) {
  ScratchBufferPool pool;
  constexpr size_t kMost = ScratchBufferPool::kMaxIdleBytes;
  // Growing rows, as of a window that is dragged larger, and blocks larger than all idle ones may be together: the one
  // in use is not reallocated for each frame.
  for (const auto& [first, step] : {std::pair(kMost / 4, size_t{4096}), {2 * kMost, 0}}) {
    uint8_t* last = nullptr;
    for (size_t size = first; size <= first + 20 * step; size += std::max<size_t>(step, 1)) {
      pool.Release(last = pool.Acquire(size));
    }
    EXPECT_LE(pool.IdleBytes(), std::max(kMost, first));
    EXPECT_EQ(pool.Acquire(first + 20 * step), last);
    pool.Release(last);
  }
}

}  // namespace
}  // namespace qvg
