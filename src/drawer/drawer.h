#pragma once

#include <array>
#include <glm/glm.hpp>
#include <initializer_list>
#include <source_location>
#include <string>

#include "base/camera.h"
#include "base/content.h"

namespace qvg {

class EBO;
class FrameBuffer;
class Program;
class ProgramCache;
class Texture;
class VBO;

/// Base of the quad passes: draws one textured rectangle into its scene, a frame buffer with its camera. A pass runs on
/// a thread with a context of the share group current. Textures are borrowed for the length of Draw.
class Drawer {
 public:
  explicit Drawer(ProgramCache& programs) : programs_(programs) {}
  virtual ~Drawer();
  Drawer(const Drawer&) = delete;
  Drawer& operator=(const Drawer&) = delete;

  /// One whole pass. The scene and the program are forgotten afterwards. False, and nothing drawn, without a scene or
  /// when it can't be bound; false after a GL error.
  virtual bool Draw() = 0;
  /// Takes and binds the program and binds the scene.
  virtual bool BeginDraw() = 0;
  /// Unbinds both, gives the program back and forgets the scene.
  void EndDraw();

  void SetScene(FrameBuffer* scene) { scene_ = scene; }

 protected:
  using Positions = std::array<glm::vec3, 4>;

  /// The sources behind a program's name. Parts are put together in order, behind the version line.
  struct ProgramSource {
    const char* name;
    const char* vertex;
    std::initializer_list<const char*> fragment;
  };

  bool _BeginDraw(const ProgramSource& source, const char* noSceneMessage = "scene is null",
                  std::source_location where = std::source_location::current());
  glm::mat4 _Mvp(const ModelTransform& model = {}) const;
  /// Draws the quad that covers the scene's content.
  bool _DrawSceneQuad();
  bool _DrawQuad(const Positions& positions, const QuadCorners& texCoords);
  bool DrawVertexes(VBO* vbo, EBO* ebo);

  ProgramCache& programs_;
  FrameBuffer* scene_ = nullptr;
  Program* program_ = nullptr;
};

/// Texture coordinates of a quad over the whole scene: its content inside the storage, or 0..1 without storage.
QuadCorners SceneTexCoords(const FrameBuffer& scene);

/// How the coordinates of SceneTexCoords turn into 0..1 over the content: (coordinate - offset) * rate.
struct SceneMapping {
  glm::vec2 offset = {0, 0};
  glm::vec2 rate = {1, 1};

  static SceneMapping Of(const FrameBuffer& scene);
};

}  // namespace qvg
