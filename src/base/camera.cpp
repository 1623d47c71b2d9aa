#include "base/camera.h"

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>

namespace qvg {

namespace {

constexpr float kEyeDistance = 1000.0f;
constexpr float kRadiansPerDegree = 0.017453292f;

const Camera kDefault;

const glm::mat4 kDefaultProjection(1.0f / 960, 0, 0, 0,     //
                                   0, 1.0f / 540, 0, 0,     //
                                   0, 0, -1.0f / 10000, 0,  //
                                   0, 0, -1, 1);

const glm::mat4 kDefaultView(1, 0, 0, 0,  //
                             0, 1, 0, 0,  //
                             0, 0, 1, 0,  //
                             0, 0, -kEyeDistance, 1);

// As GL defines it. The math library's function aborts the process when a host's aspect is not a number.
glm::mat4 Perspective(float fovy, float aspect, float nearPlane, float farPlane) {
  const float halfHeight = std::tan(fovy / 2);
  glm::mat4 matrix(0);
  matrix[0][0] = 1 / (aspect * halfHeight);
  matrix[1][1] = 1 / halfHeight;
  matrix[2][2] = -(farPlane + nearPlane) / (farPlane - nearPlane);
  matrix[2][3] = -1;
  matrix[3][2] = -(2 * farPlane * nearPlane) / (farPlane - nearPlane);
  return matrix;
}

}  // namespace

Camera Camera::ForCanvas(int width, int height) {
  Camera camera;
  const float halfWidth = static_cast<float>(width) / 2;
  const float halfHeight = static_cast<float>(height) / 2;
  camera.left = -halfWidth;
  camera.right = halfWidth;
  camera.top = halfHeight;
  camera.bottom = -halfHeight;
  camera.fovy = 2 * std::atan(halfHeight / kEyeDistance);
  camera.aspect = static_cast<float>(width) / static_cast<float>(height);
  return camera;
}

glm::mat4 Camera::Projection() const {
  if (projection != kOrthographic) return Perspective(fovy, aspect, perspectiveNear, perspectiveFar);
  const bool isDefault = left == kDefault.left && right == kDefault.right && top == kDefault.top &&
                         bottom == kDefault.bottom && orthoNear == kDefault.orthoNear && orthoFar == kDefault.orthoFar;
  return isDefault ? kDefaultProjection : glm::orthoRH_NO(left, right, bottom, top, orthoNear, orthoFar);
}

glm::mat4 Camera::View() const {
  const bool isDefault = eye == kDefault.eye && centre == kDefault.centre && up == kDefault.up;
  return isDefault ? kDefaultView : glm::lookAtRH(eye, centre, up);
}

glm::mat4 ModelTransform::Matrix() const {
  const ModelTransform identity;
  glm::mat4 matrix(1.0f);
  if (translation == identity.translation && scale == identity.scale && rotation == identity.rotation) return matrix;
  matrix = glm::translate(matrix, translation);
  matrix = glm::rotate(matrix, rotation.x * kRadiansPerDegree, glm::vec3(1, 0, 0));
  matrix = glm::rotate(matrix, rotation.y * kRadiansPerDegree, glm::vec3(0, 1, 0));
  matrix = glm::rotate(matrix, rotation.z * kRadiansPerDegree, glm::vec3(0, 0, 1));
  return glm::scale(matrix, scale);
}

}  // namespace qvg
