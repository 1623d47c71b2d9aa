#include "drawer/drawer.h"

#include <glm/gtc/matrix_transform.hpp>

#include "utils/log.h"

namespace qvg {

bool Drawer::_HasScene(const Scene* scene, const char* message, SourceLocation where) {
  if (scene == nullptr) LogLocated(kLogError, message, where);
  return scene != nullptr;
}

glm::mat4 QuadMatrix(const Scene& scene, glm::vec2 size, const ModelTransform& model, glm::vec3 anchor) {
  const glm::mat4 quad = glm::translate(glm::mat4(1), -anchor) * glm::scale(glm::mat4(1), {size.x / 2, size.y / 2, 1});
  return scene.camera.Projection() * scene.camera.View() * model.Matrix() * quad;
}

glm::mat4 SceneMatrix(const Scene& scene) {
  return QuadMatrix(scene, {scene.target.content.width, scene.target.content.height});
}

}  // namespace qvg
