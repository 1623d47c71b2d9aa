#include "base/camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <glm/ext/matrix_relational.hpp>
#include <glm/gtc/matrix_transform.hpp>

namespace qvg {
namespace {

TEST(CameraTest, DefaultMatricesAreTheComputedOnes) {
  const Camera camera;
  const glm::mat4 projection = glm::orthoRH_NO(-960.f, 960.f, -540.f, 540.f, 0.f, 20000.f);
  EXPECT_TRUE(glm::all(glm::equal(camera.Projection(), projection, 1e-9f)));
  EXPECT_EQ(camera.View(), glm::lookAtRH(glm::vec3(0, 0, 1000), glm::vec3(0), glm::vec3(0, 1, 0)));
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

}  // namespace
}  // namespace qvg
