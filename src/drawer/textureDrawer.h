#pragma once

#include <cstdint>

#include "drawer/drawer.h"

namespace qvg {

class SurfaceSource;
class Texture;

/// Lays a texture over the scene with a transform, opacity, a matte, a centred crop and a blend with what is there
/// already. Textures whose colours are multiplied by their alpha are read as straight ones.
class TextureDrawer : public Drawer {
 public:
  static constexpr int32_t kNoBlend = -1;
  static constexpr int32_t kNormalBlend = 0;

  struct Parameters {
    /// Not the scene's own. Null draws the vertex colour, as large as the scene; no slot does that.
    const Texture* mainTexture = nullptr;
    const Texture* matteTexture = nullptr;  ///< Its content lies over the scene's content. Null: no matte.
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
    bool asStored = false;      ///< Colours and alpha as they are, whatever the alpha form.
  };

  /// @param surfaces lends the copy of the background where the scene can't be sampled while it is drawn to.
  TextureDrawer(ProgramCache& programs, SurfaceSource& surfaces) : Drawer(programs), surfaces_(surfaces) {}

  bool Draw(const Scene* scene, const Parameters& parameters);

 private:
  SurfaceSource& surfaces_;
};

}  // namespace qvg
