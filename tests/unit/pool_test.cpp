// The pools, the mapper of read-back buffers, and the one object that owns them.
#include <algorithm>
#include <functional>
#include <memory>

#include "base/bo.h"
#include "base/contextState.h"
#include "pool/pixelBufferMapper.h"
#include "pool/pixelBufferPool.h"
#include "pool/renderBufferPool.h"
#include "pool/scratchBufferPool.h"
#include "pool/texturePool.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

using PoolTest = GLTest;

TEST_F(PoolTest, TexturesThatWereOutAtAClearStayUncounted) {
  bool wanted = false;
  TexturePool pool(4, [&] { wanted = true; });
  const auto left = [&] {
    while (wanted) wanted = pool.Trim();
    return Live(glIsTexture);
  };
  Texture* out[] = {pool.Acquire(1024, 1024, GL_RGBA8), pool.Acquire(1024, 1024, GL_RGBA8)};  // 4 MiB each
  EXPECT_TRUE(pool.Clear());
  for (Texture*& texture : out) pool.Release(texture);
  EXPECT_EQ(left(), 2) << "nothing is counted";
  pool.SetCapacity(0);
  Texture* counted = pool.Acquire(1024, 1280, GL_RGBA8);  // 5 MiB
  EXPECT_EQ(left(), 3) << "no budget is none that could be exceeded";
  pool.SetCapacity(4);
  EXPECT_EQ(left(), 1) << "above the budget every idle texture goes, and none in use";
  EXPECT_TRUE(glIsTexture(counted->Id()));
  pool.Release(counted);
  EXPECT_EQ(left(), 0);
  // Had the uncounted ones been taken off the sum, this one would be 3 MiB below nothing.
  Texture* again = pool.Acquire(1024, 1280, GL_RGBA8);
  pool.Release(again);
  EXPECT_EQ(left(), 0);
}

/// Notes each call of a GL function, as a letter, during its life.
template <auto& function, char letter>
class Noted {
 public:
  explicit Noted(std::string& calls) {
    calls_ = &calls;
    original_ = std::exchange(function, [](auto... arguments) {
      *calls_ += letter;
      return original_(arguments...);
    });
  }
  ~Noted() { function = original_; }

 private:
  static inline std::string* calls_;
  static inline std::remove_reference_t<decltype(function)> original_;
};

// Not every driver shows pictures that are drawn or read too early: what counts is that the order is asked for, and
// that it costs nothing while an object stays with its context.
TEST_F(PoolTest, PendingWorkIsWaitedForOnAnotherContextAlone) {
  TexturePool textures(1000, [] {});
  RenderBufferPool buffers;
  Texture* texture = nullptr;
  RenderBuffer* buffer = nullptr;
  const auto takeTexture = [&] { return (texture = textures.Acquire(8, 8, GL_RGBA8))->Id(); };
  const auto releaseTexture = [&] { textures.Release(texture); };
  const struct {
    std::function<GLuint()> take;
    std::function<void()> giveBack;
  } kinds[] = {{takeTexture, releaseTexture},
               {[&] { return (buffer = buffers.Acquire(8, 8, GL_RGBA8))->id; }, [&] { buffers.Release(buffer); }}};
  std::string calls;  // F: a fence, f: a flush, w: a wait
  const Noted<glad_glFenceSync, 'F'> fences(calls);
  const Noted<glad_glFlush, 'f'> flushes(calls);
  const Noted<glad_glWaitSync, 'w'> waits(calls);
  void* const own = manager_->GetCurrentContext();
  const auto during = [&](const std::function<void()>& work) {
    calls.clear();
    work();
    return calls;
  };
  const auto leaveAndReturn = [&] {
    MakeCurrent(nullptr);
    MakeCurrent(own);
  };
  for (const auto& [take, giveBack] : kinds) {
    const GLuint first = take();
    const auto takeFirst = [&] { EXPECT_EQ(take(), first); };
    EXPECT_EQ(during(giveBack), "");
    EXPECT_EQ(during(takeFirst), "");
    // Taken here, given back there, and the other way round.
    OnOtherThread(true, [&] { EXPECT_EQ(during(giveBack), "Ff"); });
    EXPECT_EQ(during(takeFirst), "w");
    giveBack();
    OnOtherThread(true, [&] {
      EXPECT_EQ(during([&] { EXPECT_NE(take(), first) << "nobody can wait for a context that goes on working"; }), "");
      giveBack();
    });
    // Left, it has put a fence behind all its work.
    EXPECT_EQ(during([&] { MakeCurrent(nullptr); }), "Ff");
    OnOtherThread(true, [&] {
      EXPECT_EQ(during(takeFirst), "w");
      giveBack();
    });
    ASSERT_TRUE(MakeCurrent(own));
  }
  // Who has no context can leave no fence: what the taker has submitted since is waited for all the same.
  for (const bool again : {false, true}) {
    textures.Clear();
    const GLuint name = takeTexture();
    if (again) {
      leaveAndReturn();
      CurrentContext()->worked = true;
    }
    OnOtherThread(false, [&] { EXPECT_EQ(during(releaseTexture), ""); });
    OnOtherThread(true, [&] {
      EXPECT_NE(takeTexture(), name);
      releaseTexture();
    });
    MakeCurrent(nullptr);
    OnOtherThread(true, [&] {
      Texture* other = textures.Acquire(8, 8, GL_RGBA8);
      EXPECT_EQ((other->Id() == name) + (takeTexture() == name), 1);
      textures.Release(other);
      releaseTexture();
    });
    ASSERT_TRUE(MakeCurrent(own));
  }
  // A context that only gives back is one to wait for, too.
  textures.Clear();
  const GLuint name = takeTexture();
  leaveAndReturn();
  releaseTexture();
  MakeCurrent(nullptr);
  OnOtherThread(true, [&] {
    EXPECT_EQ(takeTexture(), name);
    releaseTexture();
  });
  ASSERT_TRUE(MakeCurrent(own));
}

struct Turn {
  int first[2], second[2];  // what is asked for at first, and when all that was given is idle
  GLenum kind;
  size_t given;  // on the second turn; as many as there are: a new one
};

template <class Pool, class Acquire, class IdOf>
void ExpectSmallestFirst(Pool& pool, const std::vector<Turn>& turns, Acquire acquire, IdOf idOf) {
  std::vector<decltype(acquire(turns[0].first, GLenum{}))> objects;
  std::vector<GLuint> ids;
  for (const Turn& turn : turns) {
    if (turn.given == turns.size()) continue;
    ids.push_back(idOf(objects.emplace_back(acquire(turn.first, turn.kind))));
  }
  for (auto*& object : objects) pool.Release(object);
  for (const Turn& turn : turns) {
    SCOPED_TRACE(&turn - turns.data());
    const GLuint id = idOf(objects.emplace_back(acquire(turn.second, turn.kind)));
    EXPECT_EQ(std::find(ids.begin(), ids.end(), id) - ids.begin(), std::min(turn.given, ids.size()));
  }
  for (auto*& object : objects) pool.Release(object);
  EXPECT_TRUE(pool.Clear());
  EXPECT_EQ(Live(glIsRenderbuffer) + Live(glIsBuffer), 0);
}

// Neither the order in which they come back nor the opposite one is that of the sizes.
TEST_F(PoolTest, RenderBuffersOfTheFormatThatFitAreTakenSmallestFirst) {
  RenderBufferPool pool;
  const auto acquire = [&](const int(&size)[2], GLenum format) {
    RenderBuffer* buffer = pool.Acquire(size[0], size[1], format);
    EXPECT_EQ(buffer->setting.contentWidth, size[0]);
    EXPECT_EQ(buffer->setting.contentHeight, size[1]);
    return buffer;
  };
  ExpectSmallestFirst(pool,
                      {{{100, 100}, {101, 20}, GL_RGBA8, 2},
                       {{200, 200}, {99, 100}, GL_RGBA8, 0},
                       {{150, 150}, {20, 151}, GL_RGBA8, 1},
                       {{120, 120}, {33, 21}, GL_DEPTH24_STENCIL8, 3},
                       {{}, {1, 1}, GL_DEPTH24_STENCIL8, 5}},
                      acquire, [](const RenderBuffer* buffer) { return buffer->id; });
  EXPECT_EQ(pool.Acquire(10, 10, 0xBAD), nullptr);
  EXPECT_EQ(TakeLog(), "0 OpenGL Error: Invalid enum\n");
}

TEST_F(PoolTest, PixelBuffersOfTheKindThatFitAreTakenSmallestFirst) {
  PixelBufferPool pool;
  constexpr int kPack = GL_PIXEL_PACK_BUFFER, kUnpack = GL_PIXEL_UNPACK_BUFFER;
  ExpectSmallestFirst(
      pool,
      {{{1000, kPack}, {1001, kPack}, GL_STREAM_READ, 2},
       {{4000, kPack}, {1000, kPack}, GL_STREAM_READ, 0},
       {{2000, kPack}, {1, kPack}, GL_STREAM_READ, 1},
       {{3000, kPack}, {3000, kPack}, GL_STREAM_DRAW, 3},
       {{3500, kUnpack}, {10, kUnpack}, GL_STREAM_READ, 4},
       {{}, {1, kPack}, GL_STREAM_READ, 6}},
      [&](const int(&what)[2], GLenum usage) { return pool.Acquire(what[0], usage, what[1]); },
      [](const BO* buffer) { return buffer->Id(); });
  EXPECT_EQ(Integer(GL_PIXEL_PACK_BUFFER_BINDING), 0);
}

TEST_F(PoolTest, MapperWorksOnAnyThreadAndLeavesItsContextAlone) {
  auto mapper = std::make_unique<PixelBufferMapper>(*manager_);
  uint32_t size = 0;
  auto* kept = new BO;  // goes with the mapper
  ASSERT_TRUE(kept->Allocate(4, GL_STREAM_READ, "keep"));
  EXPECT_NE(mapper->Map(kept, &size), nullptr);
  BO buffer, empty;
  ASSERT_TRUE(buffer.Allocate(10, GL_STREAM_READ, "0123456789"));
  glFinish();
  for (const bool withContext : {false, true}) {
    OnOtherThread(withContext, [&] {
      // The work goes to the service's thread only where there is no context.
      std::thread::id where;
      EXPECT_TRUE(manager_->WithContext([&] { where = std::this_thread::get_id(); }));
      EXPECT_EQ(where == std::this_thread::get_id(), withContext);
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
  for (uint8_t* block : {large, medium, large}) pool.Release(block);  // a second time: ignored
  pool.Release(nullptr);
  EXPECT_EQ(pool.Acquire(550), medium);
  EXPECT_EQ(pool.Acquire(550), large);
  EXPECT_EQ(pool.IdleBytes(), 0u);
  for (uint8_t* block : {large, medium}) pool.Release(block);
  pool.Acquire(100);
  EXPECT_EQ(pool.IdleBytes(), 1600u) << "a small request occupies a large block";
  {
    const ScratchBufferPool::Lease lease = pool.Lend(700);
    EXPECT_EQ(lease.Data(), large);
    EXPECT_EQ(pool.IdleBytes(), 600u);
  }
  EXPECT_EQ(pool.IdleBytes(), 1600u);
}

TEST(ScratchBufferPoolTest, IdleBlocksAreBounded) {
  ScratchBufferPool pool;
  constexpr size_t kMost = ScratchBufferPool::kMaxIdleBytes;
  // Rows of a window that is dragged larger, of which none of the older blocks fits any more, and blocks that are more
  // than all idle ones may be: the one in use is not made anew for each frame.
  const struct {
    size_t first, step;
    int count;
  } cases[] = {{kMost / 4, 4096, 300}, {2 * kMost, 0, 2}};
  for (const auto& [first, step, count] : cases) {
    size_t size = first;
    uint8_t* last = nullptr;
    for (int i = 0; i < count; ++i, size += step) pool.Release(last = pool.Acquire(size));
    EXPECT_LE(pool.IdleBytes(), std::max(kMost, first));
    EXPECT_EQ(pool.Acquire(size - step), last);
    pool.Release(last);
  }
  pool.Clear();
  EXPECT_EQ(pool.IdleBytes(), 0u);
}

}  // namespace
}  // namespace qvg
