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
out vec4 color;
void main() { color = vec4(1.0); }
)";
constexpr char kBroken[] = "#version 410 core\nvoid main() { nonsense[here]; }\n";

TEST_F(ProgramTest, UniformsOfALoadedProgramAlone) {
  Program program;
  EXPECT_FALSE(program.Bind());
  EXPECT_FALSE(program.SetUniform1f("m4", 1));
  EXPECT_TRUE(TakeLog().starts_with("0 program not loaded\n"));
  ASSERT_TRUE(program.LoadFromContent(kVertex, kFragment, ""));
  ASSERT_TRUE(program.Bind());
  EXPECT_TRUE(program.SetUniform1f("absent", 1));
  EXPECT_EQ(program.GetUniformLocation("absent"), -1);
}

TEST_F(ProgramTest, CacheLendsByNameTheOneThatCameBackFirstAndDeletesEachOnce) {
  {
    ProgramCache cache;
    EXPECT_EQ(cache.Get("", kVertex, kFragment), nullptr);
    Program* first = cache.Get("a", kVertex, kFragment);
    Program* second = cache.Get("a", kVertex, kFragment);
    Program* other = cache.Get("b", kVertex, kFragment);
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first, second);
    for (Program* program : {other, second, first}) EXPECT_TRUE(cache.Return(program));
    EXPECT_EQ(cache.Get("a", "", ""), second);
    EXPECT_EQ(cache.Get("a", kBroken, kBroken), first) << "names count, not sources";
    EXPECT_EQ(cache.Get("a", "", ""), nullptr);
    EXPECT_EQ(cache.Get("b", "", ""), other);
    EXPECT_EQ(Live(glIsProgram), 3);
    EXPECT_EQ(TakeLog(), "");

    for (int i = 0; i < 2; ++i) EXPECT_TRUE(cache.Return(other));  // and it is deleted only once
    EXPECT_EQ(cache.Get("broken", kVertex, kBroken), nullptr);
    const std::string log = TakeLog();
    EXPECT_TRUE(log.starts_with("0 compile shader [" + std::string(kBroken) + "] failed, err=")) << log;
    EXPECT_NE(log.find("\n2 link program err:"), std::string::npos) << log;
    EXPECT_NE(cache.Get("broken", kVertex, kFragment), nullptr) << "it was kept";
  }
  EXPECT_EQ(Live(glIsProgram) + Live(glIsShader), 0);
}

}  // namespace
}  // namespace qvg
