#include "base/camera.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qvg {
namespace {

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
