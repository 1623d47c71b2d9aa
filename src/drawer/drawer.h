#pragma once

#include <glm/glm.hpp>

#include "base/pass.h"
#include "base/scene.h"
#include "utils/sourceLocation.h"

namespace qvg {

class ProgramCache;

/// Base of the quad passes: draws one rectangle into a scene. Works on a thread with a context of the library current;
/// textures are borrowed for the length of a draw.
class Drawer {
 public:
  explicit Drawer(ProgramCache& programs) : programs_(programs) {}
  Drawer(const Drawer&) = delete;
  Drawer& operator=(const Drawer&) = delete;

 protected:
  /// False, with a log line, for a null scene. The library always has one; a caller may not.
  static bool _HasScene(const Scene* scene, const char* message = "scene is null",
                        SourceLocation where = SourceLocation::current());

  ProgramCache& programs_;
};

/// Clip coordinates of the quad's corners for a rectangle of that size about the origin, less the anchor, moved by the
/// model and seen by the scene's camera.
glm::mat4 QuadMatrix(const Scene& scene, glm::vec2 size, const ModelTransform& model = {}, glm::vec3 anchor = {});
/// The same for the rectangle that covers the scene's content.
glm::mat4 SceneMatrix(const Scene& scene);

}  // namespace qvg
