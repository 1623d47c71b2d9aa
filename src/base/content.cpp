#include "base/content.h"

#include "base/texture.h"

namespace qvg {

ContentRect ContentRect::Of(const Texture& texture) {
  return {texture.Setting().width, texture.Setting().height, texture.offsetX,
          texture.offsetY,         texture.loadedWidth,      texture.loadedHeight};
}

glm::vec2 ContentRect::Origin() const {
  return {static_cast<double>(x) / storageWidth, static_cast<double>(y) / storageHeight};
}

glm::vec2 ContentRect::Extent() const {
  return {static_cast<double>(width) / storageWidth, static_cast<double>(height) / storageHeight};
}

glm::vec4 ContentRect::SampleBounds() const {
  return {(x + 0.5) / storageWidth, (y + 0.5) / storageHeight, (x + width - 0.5) / storageWidth,
          (y + height - 0.5) / storageHeight};
}

glm::vec2 TurnTexCoord(glm::vec2 coord, int quarterTurns) {
  switch (quarterTurns) {
    case 1:
      return {1 - coord.y, coord.x};
    case 2:
      return {1 - coord.x, 1 - coord.y};
    case 3:
      return {coord.y, 1 - coord.x};
    default:
      return coord;
  }
}

QuadCorners ContentTexCoords(const ContentRect& content, int quarterTurns, bool flipped) {
  QuadCorners corners = {glm::vec2(0, 1), glm::vec2(0, 0), glm::vec2(1, 0), glm::vec2(1, 1)};
  for (glm::vec2& corner : corners) {
    glm::vec2 turned = TurnTexCoord(corner, quarterTurns);
    if (flipped) turned.y = 1 - turned.y;
    corner = content.Origin() + turned * content.Extent();
  }
  return corners;
}

}  // namespace qvg
