#include "base/camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>

#include "base/content.h"

namespace qvg {
namespace {

template <class Value>
void ExpectNear(const Value& actual, const Value& expected, float limit) {
  for (glm::length_t i = 0; i < actual.length(); ++i) EXPECT_NEAR(actual[i], expected[i], limit) << "element " << i;
}

void ExpectNear(const glm::mat4& actual, const glm::mat4& expected, float limit) {
  for (int column = 0; column < 4; ++column) ExpectNear(actual[column], expected[column], limit);
}

TEST(CameraTest, DefaultMatricesAreTheComputedOnes) {
  const Camera camera;
  ExpectNear(camera.Projection(), glm::orthoRH_NO(-960.f, 960.f, -540.f, 540.f, 0.f, 20000.f), 1e-9f);
  ExpectNear(camera.View(), glm::lookAtRH(glm::vec3(0, 0, 1000), glm::vec3(0), glm::vec3(0, 1, 0)), 0);
}

TEST(CameraTest, CanvasIsPixelForPixelUnderBothProjections) {
  for (const int32_t projection : {Camera::kOrthographic, 0, 2}) {
    for (const glm::ivec2 size : {glm::ivec2(640, 360), glm::ivec2(101, 51), glm::ivec2(1, 1)}) {
      SCOPED_TRACE(testing::Message() << "projection " << projection << ", " << size.x << " x " << size.y);
      Camera camera = Camera::ForCanvas(size.x, size.y);
      camera.projection = projection;
      const glm::vec4 corner = camera.Projection() * camera.View() *
                               glm::vec4(static_cast<float>(size.x) / 2, static_cast<float>(size.y) / -2, 0, 1);
      EXPECT_NEAR(corner.x / corner.w, 1, 1e-5);
      EXPECT_NEAR(corner.y / corner.w, -1, 1e-5);
      EXPECT_LT(std::abs(corner.z / corner.w), 1);
    }
  }
}

TEST(ModelTransformTest, ScalesTurnsAboutZYXAndMoves) {
  // Worked out by hand for the point (1, 1, 0), which scaled is (2, 3, 0).
  const struct {
    glm::vec3 rotation, moved;
  } cases[] = {{{0, 0, 0}, {12, 23, 30}},   {{90, 0, 0}, {12, 20, 33}},   {{0, 90, 0}, {10, 23, 28}},
               {{0, 0, 90}, {7, 22, 30}},   {{90, 0, 90}, {7, 20, 32}},   {{90, 90, 0}, {10, 22, 33}},
               {{0, 90, 90}, {10, 22, 33}}, {{90, 90, 90}, {10, 17, 32}}, {{-90, 0, 90}, {7, 20, 28}}};
  for (const auto& [rotation, moved] : cases) {
    SCOPED_TRACE(testing::Message() << rotation.x << ' ' << rotation.y << ' ' << rotation.z);
    const ModelTransform model = {{10, 20, 30}, {2, 3, 4}, rotation};
    ExpectNear(glm::vec3(model.Matrix() * glm::vec4(1, 1, 0, 1)), moved, 1e-4f);
  }
  EXPECT_EQ(ModelTransform().Matrix(), glm::mat4(1));
}

TEST(ContentTest, QuarterTurns) {
  const struct {
    uint32_t rotation;
    int turns;
    glm::vec2 turned;
  } cases[] = {{0, 0, {0.25f, 0.625f}},           {1, 1, {0.375f, 0.25f}}, {2, 2, {0.75f, 0.375f}},
               {3, 3, {0.625f, 0.75f}},           {4, 0, {0.25f, 0.625f}}, {7, 3, {0.625f, 0.75f}},
               {uint32_t(-1), 3, {0.625f, 0.75f}}};
  for (const auto& [rotation, turns, turned] : cases) {
    EXPECT_EQ(QuarterTurns(rotation), turns) << rotation;
    EXPECT_EQ(IsOddTurn(rotation), turns % 2 == 1) << rotation;
    EXPECT_EQ(TurnTexCoord({0.25f, 0.625f}, turns), turned) << rotation;
  }
}

}  // namespace
}  // namespace qvg
