#include "base/content.h"

namespace qvg {

ContentRect ContentRect::Centred(int storageWidth, int storageHeight, int width, int height) {
  // A host may set any size: the difference of two ints may overflow, the difference of their halves doesn't.
  const auto margin = [](int storage, int content) { return static_cast<int>((int64_t{storage} - content) / 2); };
  return {storageWidth, storageHeight, margin(storageWidth, width), margin(storageHeight, height), width, height};
}

bool ContentRect::IsInside() const {
  return width >= 1 && height >= 1 && x >= 0 && y >= 0 && int64_t{x} + width <= storageWidth &&
         int64_t{y} + height <= storageHeight;
}

glm::vec2 ContentRect::Origin() const {
  return {static_cast<double>(x) / storageWidth, static_cast<double>(y) / storageHeight};
}

glm::vec2 ContentRect::Extent() const {
  return {static_cast<double>(width) / storageWidth, static_cast<double>(height) / storageHeight};
}

glm::vec4 ContentRect::SampleBounds() const {
  return {(x + 0.5) / storageWidth, (y + 0.5) / storageHeight, (static_cast<double>(x) + width - 0.5) / storageWidth,
          (static_cast<double>(y) + height - 0.5) / storageHeight};
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

glm::mat3 ContentTexMatrix(const ContentRect& content, int quarterTurns, bool flipped) {
  const auto place = [&](glm::vec2 coord) {
    glm::vec2 turned = TurnTexCoord(coord, quarterTurns);
    if (flipped) turned.y = 1 - turned.y;
    return content.Origin() + turned * content.Extent();
  };
  const glm::vec2 origin = place({0, 0});
  return {glm::vec3(place({1, 0}) - origin, 0), glm::vec3(place({0, 1}) - origin, 0), glm::vec3(origin, 1)};
}

}  // namespace qvg
