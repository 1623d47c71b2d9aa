// Buffer objects, vertex data and the vertex array.
#include <cstring>

#include "base/bo.h"
#include "base/ebo.h"
#include "base/vao.h"
#include "base/vbo.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

using BufferTest = GLTest;

TEST_F(BufferTest, MappingGoesThroughTheLastBindingPoint) {
  const char text[] = "0123456789";
  BO buffer;
  EXPECT_EQ(buffer.Target(), GLenum{GL_ARRAY_BUFFER});
  ASSERT_TRUE(buffer.Allocate(10, GL_STREAM_READ, text));
  EXPECT_TRUE(buffer.Allocate(128, GL_DYNAMIC_DRAW, nullptr)) << "a second time changes nothing";
  EXPECT_EQ(buffer.Size(), 10);
  ASSERT_TRUE(buffer.UpdateData(3, 2, "ab"));
  ASSERT_TRUE(buffer.Bind(GL_PIXEL_PACK_BUFFER));
  EXPECT_EQ(buffer.Target(), GLenum{GL_PIXEL_PACK_BUFFER});
  EXPECT_EQ(Integer(GL_PIXEL_PACK_BUFFER_BINDING), static_cast<GLint>(buffer.Id()));
  glBindBuffer(GL_ARRAY_BUFFER, buffer.Id());
  void* mapped = buffer.Map(GL_MAP_READ_BIT);
  ASSERT_NE(mapped, nullptr);
  EXPECT_EQ(std::memcmp(mapped, "012ab56789", 10), 0);
  EXPECT_EQ(Integer(GL_PIXEL_PACK_BUFFER_BINDING), 0) << "a mapped buffer catches read-backs";
  EXPECT_EQ(Integer(GL_ARRAY_BUFFER_BINDING), static_cast<GLint>(buffer.Id())) << "another binding point was touched";
  EXPECT_TRUE(buffer.UnMap());
  EXPECT_EQ(Integer(GL_PIXEL_PACK_BUFFER_BINDING), 0);
  glBindBuffer(GL_ARRAY_BUFFER, 0);
}

TEST_F(BufferTest, FailuresAreLoggedAndRecordNothing) {
  {
    BO buffer;
    EXPECT_FALSE(buffer.Allocate(-1, GL_STREAM_READ, nullptr));
    EXPECT_EQ(TakeLog(), "0 OpenGL Error: Invalid value\n");
    EXPECT_FALSE(buffer.Allocated());
    EXPECT_EQ(buffer.Size(), 0);
    ASSERT_TRUE(buffer.Allocate(8, GL_STREAM_READ, nullptr));
    EXPECT_FALSE(buffer.UpdateData(4, 8, "12345678"));
    EXPECT_EQ(TakeLog(), "0 OpenGL Error: Invalid value\n");
    EXPECT_FALSE(buffer.Bind(0xBAD));
    EXPECT_EQ(buffer.Target(), GLenum{GL_ARRAY_BUFFER});
    EXPECT_EQ(TakeLog(), "0 OpenGL Error: Invalid enum\n");
    EXPECT_EQ(buffer.Map(0), nullptr);
    EXPECT_TRUE(TakeLog().starts_with("0 OpenGL Error: Invalid "));
  }
  EXPECT_EQ(Live(glIsBuffer), 0);
}

TEST_F(BufferTest, VertexDataIsRewrittenInPlace) {
  VAO vao;
  VBO vbo;
  EBO ebo;
  EXPECT_FALSE(vbo.Bind());
  EXPECT_FALSE(ebo.Bind());
  EXPECT_EQ(TakeLog(), "0 bo is null.\n0 bo is null.\n");
  ASSERT_TRUE(vao.Bind());
  EXPECT_TRUE(vbo.SetPositions({0, 0, 0, 0, 0, 0, 7}));
  EXPECT_EQ(vbo.VertexCount(), 2);
  for (const float value : {1.f, 2.f}) EXPECT_TRUE(vbo.SetTexCoords({value, 3, 4, 5}));
  for (const GLuint value : {1u, 2u}) EXPECT_TRUE(ebo.LoadIndices({value, 3}));
  EXPECT_EQ(ebo.IndexCount(), 2);
  EXPECT_EQ(Live(glIsBuffer), 3);
  EXPECT_TRUE(vbo.Bind());
  EXPECT_TRUE(ebo.Bind());
  float texCoord = 0;
  GLuint index = 0;
  glGetBufferSubData(GL_ARRAY_BUFFER, 0, sizeof texCoord, &texCoord);
  glGetBufferSubData(GL_ELEMENT_ARRAY_BUFFER, 0, sizeof index, &index);
  EXPECT_EQ(texCoord, 2);
  EXPECT_EQ(index, 2u);
}

TEST_F(BufferTest, VertexArrayBelongsToItsContext) {
  std::optional<VAO> vao{std::in_place};
  EXPECT_TRUE(vao->Bind());
  EXPECT_EQ(Live(glIsVertexArray), 1);
  OnOtherThread(true, [&] {
    VAO its;
    EXPECT_TRUE(its.Bind());
    EXPECT_FALSE(vao->Bind());
    EXPECT_EQ(TakeLog(), "0 vertex array belongs to another context\n");
    vao.reset();
    EXPECT_EQ(Live(glIsVertexArray), 1) << "a vertex array of this context was deleted";
  });
}

}  // namespace
}  // namespace qvg
