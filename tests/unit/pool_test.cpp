// The pools, the mapper of read-back buffers, and the one object that owns them.
#include <algorithm>
#include <chrono>
#include <cstring>
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
using namespace std::chrono_literals;

using PoolTest = GLTest;

/// Whether each of the textures is still there: 1 or 0.
class Alive {
 public:
  explicit Alive(std::vector<GLuint> names) : names_(std::move(names)) {}

  /// Waits until it is as expected, and then whether it stays so.
  std::string After(const std::string& expected) const {
    for (int i = 0; i < 500 && Now() != expected; ++i) std::this_thread::sleep_for(10ms);
    std::this_thread::sleep_for(60ms);
    return Now();
  }

 private:
  std::string Now() const {
    std::string state;
    for (const GLuint name : names_) state += glIsTexture(name) ? '1' : '0';
    return state;
  }

  std::vector<GLuint> names_;
};

/// Trims a pool in the background, as a running library does.
class Trimmer {
 public:
  Trimmer(QVGLContextManager& contexts, ServiceThread& service, TexturePool& pool) : service_(service) {
    service_.SetChore([&] { return contexts.EnterService() && pool.Trim(); }, 10ms);
  }
  ~Trimmer() { service_.SetChore({}, {}); }

 private:
  ServiceThread& service_;
};

TEST_F(PoolTest, TexturesThatWereOutAtAClearStayUncounted) {
  {
    TexturePool pool(4, [this] { service_.WakeUp(); });
    const Trimmer trimmer(*manager_, service_, pool);
    Texture* out[] = {pool.Acquire(1024, 1024, GL_RGBA8), pool.Acquire(1024, 1024, GL_RGBA8)};  // 4 MiB each
    const Alive alive({out[0]->Id(), out[1]->Id()});
    EXPECT_TRUE(pool.Clear());
    for (Texture*& texture : out) pool.Release(texture);
    EXPECT_EQ(alive.After("11"), "11") << "nothing is counted";

    pool.SetCapacity(0);
    Texture* counted = pool.Acquire(1024, 1280, GL_RGBA8);  // 5 MiB
    EXPECT_EQ(alive.After("11"), "11") << "no budget is none that could be exceeded";
    pool.SetCapacity(4);
    EXPECT_EQ(alive.After("00"), "00") << "above the budget every idle texture goes";
    const Alive last({counted->Id()});
    EXPECT_EQ(last.After("1"), "1") << "a texture in use went";
    pool.Release(counted);
    EXPECT_EQ(last.After("0"), "0");

    // Had the uncounted ones been taken off the sum, these would be 3 MiB below nothing.
    Texture* again = pool.Acquire(1024, 1280, GL_RGBA8);
    const Alive next({again->Id()});
    pool.Release(again);
    EXPECT_EQ(next.After("0"), "0");
  }
  EXPECT_EQ(Live(glIsTexture), 0);
}

TEST_F(PoolTest, FailedTexturesLeaveNothing) {
  TexturePool pool(1, [] {});
  EXPECT_EQ(pool.Acquire(64, 64, GL_RGBA), nullptr);  // no sized format
  EXPECT_TRUE(TakeLog().starts_with("0 OpenGL Error: Invalid "));
  EXPECT_EQ(Live(glIsTexture), 0);
  Texture* none = nullptr;
  pool.Release(none);
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
  const struct {
    std::function<void()> take, giveBack;
    std::function<GLuint()> name;
  } kinds[] = {
      {[&] { texture = textures.Acquire(8, 8, GL_RGBA8); }, [&] { textures.Release(texture); },
       [&] { return texture->Id(); }},
      {[&] { buffer = buffers.Acquire(8, 8, GL_RGBA8); }, [&] { buffers.Release(buffer); }, [&] { return buffer->id; }},
  };
  std::string calls;  // F: a fence, f: a flush, w: a wait
  const Noted<glad_glFenceSync, 'F'> fences(calls);
  const Noted<glad_glFlush, 'f'> flushes(calls);
  const Noted<glad_glWaitSync, 'w'> waits(calls);
  const auto during = [&](const std::function<void()>& work) {
    calls.clear();
    work();
    return calls;
  };
  void* const own = manager_->GetCurrentContext();
  for (const auto& kind : kinds) {
    kind.take();
    const GLuint first = kind.name();
    EXPECT_EQ(during(kind.giveBack), "");
    EXPECT_EQ(during(kind.take), "");
    EXPECT_EQ(kind.name(), first);
    // Taken here, given back there, and the other way round.
    OnOtherThread(true, [&] { EXPECT_EQ(during(kind.giveBack), "Ff"); });
    EXPECT_EQ(during(kind.take), "w");
    EXPECT_EQ(kind.name(), first);
    kind.giveBack();
    OnOtherThread(true, [&] {
      EXPECT_EQ(during(kind.take), "");
      EXPECT_NE(kind.name(), first) << "nobody can wait for a context that goes on working";
      kind.giveBack();
    });
    // Left, it has put a fence behind all its work.
    EXPECT_EQ(during([&] { MakeCurrent(nullptr); }), "Ff");
    OnOtherThread(true, [&] {
      EXPECT_EQ(during(kind.take), "w");
      EXPECT_EQ(kind.name(), first);
      kind.giveBack();
    });
    ASSERT_TRUE(MakeCurrent(own));
  }
  // Who has no context can leave no fence: what the taker has submitted since is waited for all the same.
  for (const bool again : {false, true}) {
    textures.Clear();
    texture = textures.Acquire(8, 8, GL_RGBA8);
    const GLuint name = texture->Id();
    if (again) {
      MakeCurrent(nullptr);
      MakeCurrent(own);
      CurrentContext()->worked = true;
    }
    OnOtherThread(false, [&] { EXPECT_EQ(during([&] { textures.Release(texture); }), ""); });
    OnOtherThread(true, [&] {
      texture = textures.Acquire(8, 8, GL_RGBA8);
      EXPECT_NE(texture->Id(), name);
      textures.Release(texture);
    });
    MakeCurrent(nullptr);
    OnOtherThread(true, [&] {
      Texture* both[] = {textures.Acquire(8, 8, GL_RGBA8), textures.Acquire(8, 8, GL_RGBA8)};
      EXPECT_TRUE(both[0]->Id() == name || both[1]->Id() == name);
      for (Texture*& each : both) textures.Release(each);
    });
    ASSERT_TRUE(MakeCurrent(own));
  }
  // A context that only gives back is one to wait for, too.
  textures.Clear();
  texture = textures.Acquire(8, 8, GL_RGBA8);
  const GLuint name = texture->Id();
  MakeCurrent(nullptr);
  MakeCurrent(own);
  textures.Release(texture);
  MakeCurrent(nullptr);
  OnOtherThread(true, [&] {
    texture = textures.Acquire(8, 8, GL_RGBA8);
    EXPECT_EQ(texture->Id(), name);
    textures.Release(texture);
  });
  ASSERT_TRUE(MakeCurrent(own));
}

TEST_F(PoolTest, RenderBuffersOfTheFormatThatFitAreTakenSmallestFirst) {
  {
    RenderBufferPool pool;
    // Neither the order in which they come back nor the opposite one is that of the sizes.
    RenderBuffer* buffers[] = {pool.Acquire(100, 100, GL_RGBA8), pool.Acquire(200, 200, GL_RGBA8),
                               pool.Acquire(150, 150, GL_RGBA8), pool.Acquire(120, 120, GL_DEPTH24_STENCIL8)};
    std::vector<GLuint> ids;
    for (RenderBuffer*& buffer : buffers) {
      ids.push_back(buffer->id);
      pool.Release(buffer);
      EXPECT_EQ(buffer, nullptr);
    }
    const struct {
      int width, height;
      GLenum format;
      int expected;  // 4: none of them
    } cases[] = {{101, 20, GL_RGBA8, 2},         {99, 100, GL_RGBA8, 0}, {33, 21, GL_DEPTH24_STENCIL8, 3},
                 {1, 1, GL_DEPTH24_STENCIL8, 4}, {200, 1, GL_RGBA8, 1},  {10, 10, GL_RGBA8, 4}};
    std::vector<RenderBuffer*> taken;
    for (const auto& [width, height, format, expected] : cases) {
      SCOPED_TRACE(testing::Message() << width << " x " << height);
      RenderBuffer* buffer = taken.emplace_back(pool.Acquire(width, height, format));
      ASSERT_NE(buffer, nullptr);
      EXPECT_EQ(std::find(ids.begin(), ids.end(), buffer->id) - ids.begin(), expected);
      EXPECT_EQ(buffer->setting.contentWidth, width);
      EXPECT_EQ(buffer->setting.contentHeight, height);
    }
    EXPECT_EQ(pool.Acquire(0, 10, GL_RGBA8), nullptr);
    EXPECT_EQ(TakeLog(), "");
    EXPECT_EQ(pool.Acquire(10, 10, 0xBAD), nullptr);
    EXPECT_EQ(TakeLog(), "0 OpenGL Error: Invalid enum\n");
    EXPECT_EQ(Live(glIsRenderbuffer), 6);
    for (RenderBuffer*& buffer : taken) pool.Release(buffer);
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(pool.Clear());
    EXPECT_EQ(Live(glIsRenderbuffer), 0);
    RenderBuffer* last = pool.Acquire(8, 8, GL_RGBA8);
    pool.Release(last);
  }
  EXPECT_EQ(Live(glIsRenderbuffer), 0);
}

TEST_F(PoolTest, PixelBuffersOfTheKindThatFitAreTakenSmallestFirst) {
  PixelBufferPool pool;
  const struct {
    int64_t size, secondSize;
    GLenum usage, target;
    size_t expected;  // on the second turn
  } cases[] = {{1000, 1001, GL_STREAM_READ, GL_PIXEL_PACK_BUFFER, 2},
               {4000, 1000, GL_STREAM_READ, GL_PIXEL_PACK_BUFFER, 0},
               {2000, 1, GL_STREAM_READ, GL_PIXEL_PACK_BUFFER, 1},
               {3000, 3000, GL_STREAM_DRAW, GL_PIXEL_PACK_BUFFER, 3},
               {3500, 10, GL_STREAM_READ, GL_PIXEL_UNPACK_BUFFER, 4}};
  std::vector<BO*> buffers;
  std::vector<GLuint> ids;
  for (const auto& c : cases) {
    ids.push_back(buffers.emplace_back(pool.Acquire(c.size, c.usage, c.target))->Id());
    EXPECT_EQ(buffers.back()->Size(), c.size);
  }
  for (BO*& buffer : buffers) pool.Release(buffer);
  EXPECT_EQ(buffers, std::vector<BO*>(5));
  for (size_t i = 0; i < 5; ++i) {
    buffers[i] = pool.Acquire(cases[i].secondSize, cases[i].usage, cases[i].target);
    EXPECT_EQ(buffers[i]->Id(), ids[cases[i].expected]) << i;
  }
  EXPECT_EQ(Live(glIsBuffer), 5);
  buffers.push_back(pool.Acquire(1, GL_STREAM_READ, GL_PIXEL_PACK_BUFFER));
  EXPECT_EQ(Live(glIsBuffer), 6) << "none idle of that kind";
  buffers.push_back(pool.Acquire(0, GL_STATIC_READ, GL_PIXEL_PACK_BUFFER));
  ASSERT_NE(buffers.back(), nullptr);
  EXPECT_FALSE(buffers.back()->Allocated());
  for (BO*& buffer : buffers) pool.Release(buffer);
  EXPECT_TRUE(pool.Clear());
  EXPECT_EQ(Live(glIsBuffer), 0);
  EXPECT_EQ(Integer(GL_PIXEL_PACK_BUFFER_BINDING), 0);
}

TEST_F(PoolTest, MapperWorksOnAnyThreadAndLeavesItsContextAlone) {
  auto mapper = std::make_unique<PixelBufferMapper>(*manager_);
  uint32_t size = 77;
  EXPECT_EQ(mapper->Map(nullptr, &size), nullptr);
  EXPECT_EQ(mapper->UnMap(nullptr).buffer, nullptr);
  EXPECT_EQ(mapper->UnMap(&size).buffer, nullptr);
  auto* kept = new BO;  // goes with the mapper
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
  std::memset(large, 1, 1000);
  std::memset(medium, 2, 600);
  for (uint8_t* block : {large, medium, large}) pool.Release(block);  // a second time: ignored
  pool.Release(nullptr);
  EXPECT_EQ(pool.Acquire(550), medium);
  EXPECT_EQ(pool.Acquire(550), large);
  uint8_t* const fresh = pool.Acquire(550);
  EXPECT_TRUE(fresh != large && fresh != medium);
  for (uint8_t* block : {large, medium, fresh}) pool.Release(block);
  uint8_t* const small = pool.Acquire(100);
  EXPECT_TRUE(small != large && small != medium && small != fresh) << "a small request occupies a large block";
  {
    const ScratchBufferPool::Lease lease = pool.Lend(700);
    EXPECT_EQ(lease.Data(), large);
    EXPECT_NE(pool.Lend(1000).Data(), large);
  }
  EXPECT_EQ(pool.Acquire(600), medium);
}

TEST(ScratchBufferPoolTest, IdleBlocksAreBounded) {
  ScratchBufferPool pool;
  constexpr size_t kQuarter = ScratchBufferPool::kMaxIdleBytes / 4;
  // Rows of a window that is dragged larger: none of the older blocks fits any more.
  uint8_t* last = nullptr;
  for (size_t i = 0; i < 300; ++i) pool.Release(last = pool.Acquire(kQuarter + i * 4096));
  EXPECT_LE(pool.IdleBytes(), ScratchBufferPool::kMaxIdleBytes);
  EXPECT_EQ(pool.Acquire(kQuarter + 299 * 4096), last);
  pool.Release(last);
  uint8_t* const huge = pool.Acquire(2 * ScratchBufferPool::kMaxIdleBytes);
  pool.Release(huge);
  EXPECT_EQ(pool.Acquire(2 * ScratchBufferPool::kMaxIdleBytes), huge) << "the one in use is made anew for each frame";
  pool.Release(huge);
  pool.Clear();
  EXPECT_EQ(pool.IdleBytes(), 0u);
}

}  // namespace
}  // namespace qvg
