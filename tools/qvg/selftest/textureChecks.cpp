// Checks of slots that change or copy single textures.
#include <fmt/format.h>

#include <reference/readBack.h>

#include "selftest/check.h"
#include "selftest/pictures.h"

namespace qvgtool::selftest {

using namespace qvg::reference;

namespace {

constexpr double kExact = 0.01;
constexpr const char* kOrders[] = {"BGRA", "RGBA", "ABGR", "ARGB"};
constexpr int kWidth = 37, kHeight = 23, kLeft = 11, kBottom = 9;

// Makes a part of the uploaded picture the texture's content.
void Select(const qvg::Texture& texture, const Image& uploaded, int left, int bottom, int width, int height) {
  texture.SetOrigin((texture.AllocatedWidth() - uploaded.width) / 2 + left,
                    (texture.AllocatedHeight() - uploaded.height) / 2 + bottom);
  texture.SetSize(width, height);
}

void CheckOrder(Comparison& comparison, int order) {
  const Image picture = Picture(kWidth, kHeight, 4);
  for (const Storage storage : kStorages) {
    comparison.Case(Text(storage));
    const qvg::Texture texture = UploadedAnew(picture, storage);
    qvg::Checked(texture.SetChannelOrder(order), "SetTextureChannelOrder");
    comparison.Same(Reordered(picture, order), Content(texture));
  }
}

void CheckClone(Comparison& comparison) {
  const Image whole = Picture(64, 48, 4), part = Crop(whole, kLeft, kBottom, kWidth, kHeight);
  for (const Storage storage : kStorages) {
    for (int order = 0; order < 4; ++order) {
      comparison.Case(fmt::format("{}, order {}", Text(storage), kOrders[order]));
      const qvg::Texture source = UploadedAnew(whole, storage);
      Select(source, whole, kLeft, kBottom, kWidth, kHeight);
      source.SetChannelOrder(order);
      source.SetFlipped(order % 2 == 0);
      source.SetRotation(static_cast<uint32_t>(order));
      const qvg::Texture clone = qvg::Checked(source.Clone(), "CloneTexture");
      comparison.Holds(clone.Flipped() == source.Flipped() && clone.Rotation() == source.Rotation(),
                       "the copy has the flags of its source");
      qvg::Checked(source.Clear({}), "ClearTexture");  // The copy must not depend on it.
      comparison.Same(Reordered(part, order), Content(clone));
    }
  }
}

void CheckClear(Comparison& comparison) {
  const QVGColor color = {0.6, 0.2, 1, 0.4};
  const Image whole = Picture(64, 48, 4), part(kWidth, kHeight, {color.r, color.g, color.b, color.a});
  for (const Storage storage : kStorages) {
    comparison.Case(Text(storage));
    const qvg::Texture texture = UploadedAnew(whole, storage);
    Select(texture, whole, kLeft, kBottom, kWidth, kHeight);
    qvg::Checked(texture.Clear(color), "ClearTexture");
    Select(texture, whole, 0, 0, whole.width, whole.height);
    comparison.Same(Over(whole, part, kLeft, kBottom), Content(texture));  // Nothing else changed.
  }
}

}  // namespace

std::vector<Check> TextureChecks() {
  std::vector<Check> checks;
  checks.reserve(std::size(kOrders) + 2);
  for (int order = 0; order < 4; ++order)
    checks.push_back({"texture", fmt::format("channel order {}", kOrders[order]), kExact,
                      [order](Comparison& c) { CheckOrder(c, order); }});
  checks.push_back({"texture", "clone", kExact, CheckClone});
  checks.push_back({"texture", "clear", 0.51, CheckClear});
  return checks;
}

}  // namespace qvgtool::selftest
