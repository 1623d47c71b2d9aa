// What OpenGL debuggers are told: groups for slots and passes, and names of objects.
#include <cstdlib>

#include "support/table_test.h"

namespace qvg::test {
namespace {

struct Group {
  int id;
  std::string name;
  bool operator==(const Group&) const = default;
};
struct Told {
  std::vector<Group> opened;
  int closed = 0;
};

class DebugTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    Restart(choice_);
    if (glGetObjectLabel == nullptr) GTEST_SKIP() << "the driver has no names for objects";
    glEnable(GL_DEBUG_OUTPUT);
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
    glDebugMessageCallback(&Take, &told_);
  }

  void TearDown() override {
    static char none[] = "QVG_GL_LABELS=";
    Restart(none);
    TableTest::TearDown();
  }

  void Restart(char* environment) {
    context_.reset();
    const QVGGLRendererInterface* table = &gl_;
    QVG_ReleaseGLRendererInterface(&table);
    putenv(environment);
    QVG_GetGLRendererInterface(nullptr);
    context_ = std::make_unique<CurrentContext>();
  }

  static void GLAD_API_PTR Take(GLenum, GLenum type, GLuint id, GLenum, GLsizei length, const GLchar* text,
                                const void* told) {
    Told& all = *static_cast<Told*>(const_cast<void*>(told));
    if (type == GL_DEBUG_TYPE_PUSH_GROUP)
      all.opened.push_back({static_cast<int>(id), std::string(text, static_cast<size_t>(length))});
    if (type == GL_DEBUG_TYPE_POP_GROUP) ++all.closed;
  }

  static int Depth() {
    GLint depth = 0;
    glGetIntegerv(GL_DEBUG_GROUP_STACK_DEPTH, &depth);
    return depth;
  }

  static std::string LabelOf(GLenum kind, GLuint object) {
    char label[256] = {};
    glGetObjectLabel(kind, object, sizeof label, nullptr, label);
    return label;
  }

  char choice_[32] = "QVG_GL_LABELS=1";
  Told told_;
};

TEST_F(DebugTest, SlotsAndPassesAreGroupsThatClose) {
  const Texture frame = Upload(MakeFrame(QVG_FORMAT_NV12, 32, 24, 1));
  const FrameBuffer target = Target(frame.get());
  const Texture picture = Upload(Image(8, 8, {1, 0, 0, 1}));
  told_ = {};
  EXPECT_TRUE(target.Draw(picture));
  EXPECT_TRUE(frame.ReadNV12());
  EXPECT_EQ(told_.opened, (std::vector<Group>{{1, "DrawTexture"},
                                              {2, "TextureDrawerShaderProgram_Simple"},
                                              {1, "TextureToNV12PixelBuffer"},
                                              {2, "RGB2NV12BlockShaderProgram"}}));
  EXPECT_EQ(told_.closed, 4);
  EXPECT_EQ(LabelOf(GL_TEXTURE, frame.Id()), "pooled texture 32 x 24, RGBA8");
}

TEST_F(DebugTest, CallsThatFailCloseTheirGroupsAndFullStacksStayAsTheyAre) {
  EXPECT_EQ(Texture::Acquire(0, 8), nullptr);
  const Texture texture = Texture::Acquire(8, 8);
  EXPECT_FALSE(gl_.DrawTexture(texture.get(), nullptr, nullptr));
  EXPECT_EQ(Effect::New().Apply(texture), nullptr);
  EXPECT_EQ(told_.opened.size(), static_cast<size_t>(told_.closed));
  EXPECT_EQ(Depth(), 1);
  GLint most = 0;
  glGetIntegerv(GL_MAX_DEBUG_GROUP_STACK_DEPTH, &most);
  for (int depth = 1; depth < most; ++depth) glPushDebugGroup(GL_DEBUG_SOURCE_APPLICATION, 7, -1, "the host's");
  EXPECT_TRUE(texture.Clear({0, 0, 0, 1}));
  EXPECT_EQ(Depth(), most);
  for (int depth = 1; depth < most; ++depth) glPopDebugGroup();
}

class NoDebugTest : public DebugTest {
 protected:
  NoDebugTest() { choice_[14] = '0'; }
};

TEST_F(NoDebugTest, NobodyIsToldWhenNobodyAsks) {
  const Texture texture = Upload(Image(8, 8, {1, 0, 0, 1}));
  EXPECT_TRUE(texture.ReadNV12());
  EXPECT_TRUE(told_.opened.empty());
  EXPECT_EQ(LabelOf(GL_TEXTURE, texture.Id()), "");
}

}  // namespace
}  // namespace qvg::test
