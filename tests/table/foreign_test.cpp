// A context that is not the library's is current on the calling thread, such as a toolkit's or the host's own: it is
// not touched, and everything that needs no context works.
#include <functional>
#include <thread>
#include <vector>

#include "support/foreignContext.h"
#include "support/platform.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

constexpr int kTextureCount = 8;

/// A host's objects on its own context: textures with names that the library uses, too, bindings, state, and an error
/// that it has not asked for yet.
class HostObjects {
 public:
  HostObjects() {
    glGenTextures(kTextureCount, textures_);
    for (int i = 0; i < kTextureCount; ++i) {
      glBindTexture(GL_TEXTURE_2D, textures_[i]);
      glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, Texels(i).data());
    }
    glActiveTexture(GL_TEXTURE2);
    glBindTexture(GL_TEXTURE_2D, textures_[3]);
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 7);
    glEnable(GL_SCISSOR_TEST);
    glViewport(1, 2, 3, 5);
    names_ = NameCounts();
    state_ = State();
    LeaveError();
  }

  /// Empty when nothing has changed.
  std::string Changes() {
    std::string changes;
    if (glGetError() != GL_INVALID_ENUM) changes += "the pending error is gone; ";
    if (glGetError() != GL_NO_ERROR) changes += "there is another error; ";
    if (NameCounts() != names_) changes += "objects were made or deleted; ";
    if (State() != state_) changes += "state was changed; ";
    for (int i = 0; i < kTextureCount; ++i) {
      std::vector<uint8_t> texels(64);
      glBindTexture(GL_TEXTURE_2D, textures_[i]);
      glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
      if (texels != Texels(i)) changes += "texture " + std::to_string(textures_[i]) + " was changed; ";
    }
    glBindTexture(GL_TEXTURE_2D, textures_[3]);
    glGetError();
    LeaveError();
    return changes;
  }

 private:
  static void LeaveError() { glEnable(GL_RGBA8); }
  static std::vector<uint8_t> Texels(int texture) {
    return std::vector<uint8_t>(64, static_cast<uint8_t>(20 * texture + 1));
  }
  static std::vector<int> State() {
    std::vector<int> values;
    for (const GLenum name :
         {GL_TEXTURE_BINDING_2D, GL_ACTIVE_TEXTURE, GL_ARRAY_BUFFER_BINDING, GL_PIXEL_PACK_BUFFER_BINDING,
          GL_FRAMEBUFFER_BINDING, GL_UNPACK_ROW_LENGTH, GL_SCISSOR_TEST, GL_CURRENT_PROGRAM, GL_VIEWPORT}) {
      int value[4] = {};
      glGetIntegerv(name, value);
      values.insert(values.end(), value, value + 4);
    }
    return values;
  }

  GLuint textures_[kTextureCount] = {};
  std::vector<size_t> names_;
  std::vector<int> state_;
};

class ForeignTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    ExpectErrorLines();  // for the refusals
    for (int i = 0; i < kTextureCount; ++i) live_.push_back(Upload(Picture(40, 30, i)));
  }
  void TearDown() override {
    live_.clear();
    TableTest::TearDown();
  }

  /// Runs the test under a foreign context of each kind, with the library's own context current before and after.
  void UnderEach(const std::function<void()>& test) {
    for (const std::string& kind : ForeignContext::Kinds()) {
      SCOPED_TRACE(kind);
      const auto foreign = ForeignContext::Make(kind);
      ASSERT_NE(foreign, nullptr);
      gl_.MakeCurrentContext(nullptr, nullptr);
      ASSERT_TRUE(foreign->MakeCurrent());
      HostObjects host;
      host_ = &host;
      foreign_ = foreign.get();
      test();
      EXPECT_TRUE(foreign->MakeCurrent());
      EXPECT_EQ(host.Changes(), "");
      foreign->Unbind();
      if (context_ == nullptr) context_ = std::make_unique<CurrentContext>();  // it went with the library
      ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
      for (size_t i = 0; i < live_.size(); ++i)
        EXPECT_EQ(Difference(Picture(40, 30, static_cast<int>(i)), Content(live_[i].get())), "") << "texture " << i;
    }
  }

  /// Runs the work with the library's own context current.
  void OnOurs(const std::function<void()>& work) {
    foreign_->Unbind();
    ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
    work();
    gl_.MakeCurrentContext(nullptr, nullptr);
    ASSERT_TRUE(foreign_->MakeCurrent());
  }

  /// The foreign context is as the host left it, and still current.
  void ExpectUntouched(const char* when) {
    EXPECT_TRUE(foreign_->IsCurrent()) << when;
    EXPECT_EQ(gl_.GetCurrentContext(), nullptr) << when;
    EXPECT_EQ(host_->Changes(), "") << when;
  }

  std::vector<Texture> live_;
  ForeignContext* foreign_ = nullptr;
  HostObjects* host_ = nullptr;
};

TEST_F(ForeignTest, SlotsThatNeedAContextAnswerTheirFailure) {
  const Frame frame = MakeFrame(QVG_FORMAT_NV12, 16, 16, 1);
  const QVGParamValue on = {QVG_PARAM_INTEGER, {.integer = 1}};
  const FrameBuffer target = Target(live_[0].get());
  const Effect effect(gl_.CreateEffect("general_eff"));
  QVGTexture* const texture = live_[0].get();
  QVGPixelBuffer out = {};
  const std::pair<const char*, std::function<bool()>> slots[] = {
      {"7", [&] { return gl_.ClearPixelBufferPool(); }},
      {"20", [&] { return gl_.AcquireTexture(40, 30) != nullptr; }},
      {"21", [&] { return gl_.UploadPixelBufferToNewTexture(&frame.buffer, false, false, {}) != nullptr; }},
      {"36", [&] { return gl_.TextureToNV12PixelBuffer(texture, &out, false); }},
      {"41", [&] { return gl_.CreateFrameBuffer(16, 16, true, false) != nullptr; }},
      {"45", [&] { return gl_.DrawTexture(live_[1].get(), target.get(), nullptr); }},
      {"60", [&] { return gl_.SetEffectParameter(effect.get(), "enable_color", &on); }},
      {"61", [&] { return gl_.ApplyEffect(effect.get(), texture) != nullptr; }},
      {"47", [&] { return gl_.Finish(), false; }},
  };
  UnderEach([&] {
    for (const auto& [slot, succeeds] : slots) {
      EXPECT_FALSE(succeeds()) << "slot " << slot;
      ExpectUntouched(slot);
    }
  });
  EXPECT_EQ(out.plane[0], nullptr);
}

TEST_F(ForeignTest, WhatIsGivenBackThereIsWholeAfterwards) {
  const std::vector<size_t> before = NameCounts();
  UnderEach([&] {
    QVGGLContext *released = gl_.GetSharedContext(), *destroyed = gl_.CreateSharedContext(nullptr, nullptr, true);
    std::vector<size_t> buffers;
    for (int i = 0; i < 12; ++i) {
      Texture texture;
      FrameBuffer frameBuffer;
      Effect effect;
      ReadBack read;
      OnOurs([&] {
        texture = Upload(Picture(36, 28, 11));
        frameBuffer = Target(texture.get(), nullptr, true);
        effect = Effect(gl_.CreateEffect("general_eff"));
        ASSERT_TRUE(gl_.DrawTexture(live_[0].get(), frameBuffer.get(), nullptr));
        ASSERT_TRUE(gl_.TextureToNV12PixelBuffer(texture.get(), &read.buffer, false));
        buffers.push_back(LiveNames(kBuffers).size());
      });
    }
    EXPECT_LE(buffers.back(), buffers[1] + 1) << "buffers are lost";
    ExpectUntouched("objects given back");
    EXPECT_TRUE(gl_.ReleaseSharedContext(&released));
    gl_.DestroySharedContext(&destroyed);
    ExpectUntouched("contexts given back");
  });
  ClearPools();
  gl_.MakeCurrentContext(nullptr, nullptr);
  ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
  const std::vector<size_t> after = NameCounts();
  for (const Names kind : {kTextures, kRenderBuffers, kFrameBuffers}) EXPECT_EQ(after[kind], before[kind]) << kind;
}

TEST_F(ForeignTest, ContextsAndDrawersComeAndGoThere) {
  UnderEach([&] {
    if (HostWindow::Available()) {
      const HostWindow window(64, 48);
      QVGWndDrawer* drawer = gl_.CreateWndDrawer(window.handle());
      ASSERT_NE(drawer, nullptr);
      gl_.SetWndDrawerSize(drawer, 64, 48);
      EXPECT_FALSE(gl_.DrawTextureToWnd(drawer, live_[0].get()));
      ExpectUntouched("a drawer's context is not current");
      EXPECT_TRUE(gl_.DestroyWndDrawer(&drawer));
      ExpectUntouched("a window drawer destroyed");
    }
    QVGGLContext *made = gl_.GetSharedContext(), *previous = made;
    ASSERT_NE(made, nullptr);
    ExpectUntouched("a context made");
    // Systems differ in whether a context can follow one of another API.
    const bool taken = gl_.MakeCurrentContext(made, &previous);
    EXPECT_EQ(previous, nullptr);
    EXPECT_EQ(foreign_->IsCurrent(), !taken);
    EXPECT_TRUE(gl_.ReleaseSharedContext(&made));
    EXPECT_TRUE(foreign_->MakeCurrent());
    ExpectUntouched("a context given back");
  });
}

TEST_F(ForeignTest, TheLibraryEndsAndStartsThere) {
  live_.clear();
  UnderEach([&] {
    QVGPixelBuffer mapped = {};  // still held when the library goes
    OnOurs([&] { EXPECT_TRUE(gl_.TextureToRGBAPixelBuffer(Upload(Picture(40, 30, 1)).get(), &mapped, false)); });
    foreign_->Unbind();
    context_.reset();
    ASSERT_TRUE(foreign_->MakeCurrent());
    const QVGGLRendererInterface* table = &gl_;
    QVG_ReleaseGLRendererInterface(&table);
    ExpectUntouched("released");
    EXPECT_EQ(QVG_GetGLRendererInterface(nullptr), &gl_);
    ExpectUntouched("started");
    EXPECT_TRUE(gl_.IsGLVersionSupported());
    std::thread([] {
      const CurrentContext context;
      EXPECT_EQ(Difference(Picture(9, 9, 1), Content(Upload(Picture(9, 9, 1)).get())), "");
    }).join();
    ExpectUntouched("rendered elsewhere");
  });
}

}  // namespace
}  // namespace qvg::test
