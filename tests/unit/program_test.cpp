#include "base/program.h"

#include "base/programCache.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

using ProgramTest = GLTest;

constexpr char kVertex[] = R"(#version 410 core
layout(location = 0) in vec3 position;
uniform mat4 m4;
void main() { gl_Position = m4 * vec4(position, 1.0); }
)";
constexpr char kFragment[] = R"(#version 410 core
uniform sampler2D tex;
out vec4 color;
void main() { color = texture(tex, vec2(0.5)); }
)";
constexpr char kPlainFragment[] = "#version 410 core\nout vec4 color;\nvoid main() { color = vec4(1.0); }\n";
constexpr char kBroken[] = "#version 410 core\nvoid main() { nonsense[here]; }\n";

// That setters set what they say, the pictures of the drawers and effects show.
TEST_F(ProgramTest, SettersNeedALoadedProgramAndSkipAbsentUniforms) {
  Program program;
  const auto set = [&](const std::string& name) {
    return program.SetUniform1f(name, 1) + program.SetUniformMatrix4f(name, glm::mat4(1)) +
           program.SetUniformTexture(5, 0, name, GL_TEXTURE_2D);
  };
  EXPECT_FALSE(program.Bind());
  EXPECT_EQ(TakeLog(), "0 program not loaded\n");
  EXPECT_EQ(set("tex"), 0);
  EXPECT_NE(TakeLog(), "");
  ASSERT_TRUE(program.LoadFromContent(kVertex, kFragment, ""));
  ASSERT_TRUE(program.Bind());
  EXPECT_EQ(set("absent"), 3);
  EXPECT_EQ(program.GetUniformLocation("absent"), -1);
}

TEST_F(ProgramTest, ProgramThatDoesNotCompileIsNotLoaded) {
  Program program;
  EXPECT_FALSE(program.LoadFromContent(kVertex, kBroken, ""));
  const std::string log = TakeLog();
  EXPECT_TRUE(log.starts_with("0 compile shader [" + std::string(kBroken) + "] failed, err=")) << log;
  EXPECT_NE(log.find("\n2 link program err:"), std::string::npos) << log;
  EXPECT_FALSE(program.Bind());
  EXPECT_EQ(TakeLog(), "0 program not loaded\n");
}

TEST_F(ProgramTest, AFailedLookUpIsNotRememberedAsALocation) {
  Program program;
  ASSERT_TRUE(program.LoadFromContent(kVertex, kPlainFragment, ""));
  ASSERT_TRUE(program.Bind());
  glEnable(0xBAD);
  EXPECT_EQ(program.GetUniformLocation("m4"), -1);
  EXPECT_EQ(TakeLog(), "0 OpenGL Error: Invalid enum\n");
  EXPECT_GE(program.GetUniformLocation("m4"), 0);
}

TEST_F(ProgramTest, CacheLendsByNameTheOneThatCameBackFirst) {
  ProgramCache cache;
  EXPECT_EQ(cache.Get("", kVertex, kFragment), nullptr);
  EXPECT_EQ(cache.Get("a", "", kFragment), nullptr);
  EXPECT_EQ(cache.Get("a", kVertex, ""), nullptr);
  EXPECT_FALSE(cache.Return(nullptr));
  EXPECT_EQ(Live(glIsProgram), 0);

  Program* first = cache.Get("a", kVertex, kPlainFragment);
  Program* second = cache.Get("a", kVertex, kPlainFragment);
  Program* other = cache.Get("b", kVertex, kPlainFragment);
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first, second);
  EXPECT_EQ(Live(glIsProgram), 3);
  for (Program* program : {other, second, first}) EXPECT_TRUE(cache.Return(program));
  EXPECT_EQ(cache.Get("a", "", ""), second);
  EXPECT_EQ(cache.Get("a", kBroken, kBroken), first) << "names count, not sources";
  EXPECT_EQ(cache.Get("a", "", ""), nullptr);
  EXPECT_EQ(cache.Get("b", "", ""), other);
  EXPECT_EQ(Live(glIsProgram), 3);
  EXPECT_EQ(TakeLog(), "");
}

TEST_F(ProgramTest, CacheDeletesEveryProgramOnce) {
  {
    ProgramCache cache;
    Program* twice = cache.Get("twice", kVertex, kPlainFragment);
    EXPECT_TRUE(cache.Return(twice));
    EXPECT_TRUE(cache.Return(twice));
    EXPECT_EQ(cache.Get("twice", "", ""), twice);
    EXPECT_EQ(cache.Get("twice", "", ""), twice);
    EXPECT_TRUE(cache.Return(twice));

    auto* adopted = new Program;
    adopted->LoadFromContent(kVertex, kPlainFragment, "");
    adopted->SetCacheName("adopted");
    EXPECT_TRUE(cache.Return(adopted));
    EXPECT_EQ(cache.Get("adopted", "", ""), adopted);

    EXPECT_EQ(cache.Get("broken", kVertex, kBroken), nullptr);
    EXPECT_NE(TakeLog(), "");
    EXPECT_NE(cache.Get("broken", kVertex, kPlainFragment), nullptr) << "it was kept";
    EXPECT_EQ(Live(glIsProgram), 3);
  }
  EXPECT_EQ(Live(glIsProgram), 0);
  EXPECT_EQ(Live(glIsShader), 0);
}

}  // namespace
}  // namespace qvg
