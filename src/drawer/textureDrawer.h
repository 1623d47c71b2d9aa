#pragma once

#include <cstdint>

#include "drawer/drawer.h"

namespace qvg {

class SurfaceSource;

/// Lays a texture over its scene with a transform, opacity, a matte, a centred crop and a blend with what is there.
class TextureDrawer : public Drawer {
 public:
  static constexpr int32_t kNoBlend = -1;
  static constexpr int32_t kNormalBlend = 0;

  /// @param surfaces lends the copy of the background where the scene can't be sampled while it is drawn to.
  TextureDrawer(ProgramCache& programs, SurfaceSource& surfaces) : Drawer(programs), surfaces_(surfaces) {}

  bool Draw() override;
  bool BeginDraw() override;

  Texture* mainTexture = nullptr;   ///< Not the scene's own. Null draws the vertex colour, as large as the scene.
  Texture* matteTexture = nullptr;  ///< Its content lies over the scene's content. Null: no matte.
  int32_t blendType = kNoBlend;
  int32_t matteType = 0;  ///< 0: no matte.
  bool simpleMatte = false;
  glm::vec2 simpleMatteSize = {1, 1};  ///< Part of the scene's content that the crop keeps.
  bool depthTest = false;
  float opacity = 1;
  glm::vec3 anchor = {0, 0, 0};  ///< Subtracted from every corner.
  ModelTransform model;
  bool useSizeFactor = false;
  glm::dvec2 sizeFactor = {1, 1};
  bool applyRotation = true;  ///< Turn the picture by the main texture's rotation.

 private:
  bool _DoMatte() const { return matteType != 0 && matteTexture != nullptr; }
  Texture* _CopyOfBackground();
  void _SetMatte();
  bool _DrawMainQuad();

  SurfaceSource& surfaces_;
};

}  // namespace qvg
