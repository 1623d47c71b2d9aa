// Draws into frame buffers (slots 41 to 45): blend types and mattes with all colours, and all ways to place a picture.
#include <fmt/format.h>

#include <reference/drawScenes.h>

#include "selftest/check.h"
#include "selftest/pictures.h"

namespace qvgtool::selftest {

using namespace qvg::reference;

namespace {

constexpr struct {
  const char* name;
  int type;
} kBlends[] = {{"none (replaces)", QVG_BLEND_NONE},
               {"normal", QVG_BLEND_NORMAL},
               {"add", QVG_BLEND_ADD},
               {"luminosity", QVG_BLEND_LUMINOSITY},
               {"colour burn", QVG_BLEND_COLOR_BURN},
               {"colour dodge", QVG_BLEND_COLOR_DODGE},
               {"darken", QVG_BLEND_DARKEN},
               {"darker colour", QVG_BLEND_DARKER_COLOR},
               {"hard light", QVG_BLEND_HARD_LIGHT},
               {"lighten", QVG_BLEND_LIGHTEN},
               {"multiply", QVG_BLEND_MULTIPLY},
               {"overlay", QVG_BLEND_OVERLAY},
               {"screen", QVG_BLEND_SCREEN},
               {"erase by alpha", QVG_BLEND_ERASE_ALPHA},
               {"erase by luma", QVG_BLEND_ERASE_LUMA},
               {"soft light", QVG_BLEND_SOFT_LIGHT},
               {"mask by alpha", QVG_BLEND_MASK_ALPHA},
               {"mask by luma", QVG_BLEND_MASK_LUMA},
               {"a type not listed", 21}},
  kMattes[] = {{"alpha", QVG_MATTE_ALPHA},
               {"alpha inverted", QVG_MATTE_ALPHA_INVERTED},
               {"luma", QVG_MATTE_LUMA},
               {"luma inverted", QVG_MATTE_LUMA_INVERTED}};

// ---- Every colour over every other, in cells

struct Cells {
  bool premultipliedSource, premultipliedMatte;
  int blend, matte;
};

void CheckCells(Comparison& comparison, const Cells& what, Storage storage) {
  const BlendCells& cells = EveryColour();
  DrawScene scene = MakeScene(what.premultipliedSource ? Multiplied(cells.source) : cells.source, cells.target);
  scene.premultipliedSource = what.premultipliedSource;
  scene.premultipliedMatte = what.premultipliedMatte;
  scene.params.blendType = what.blend;
  scene.params.matteType = what.matte;
  qvg::Texture matte;
  if (what.matte != QVG_MATTE_NONE) {
    scene.matte = what.premultipliedMatte ? Multiplied(cells.matte) : cells.matte;
    scene.params.opacity = 0.7;
    matte = what.premultipliedMatte ? UploadedPremultiplied(scene.matte) : Uploaded(scene.matte);
    scene.params.matteTexture = matte.get();
  }
  const qvg::Texture source =
      what.premultipliedSource ? UploadedPremultiplied(scene.source) : UploadedAnew(scene.source, storage);
  const qvg::Texture target = UploadedAnew(scene.target, storage);
  qvg::Checked(TargetOn(target, scene.camera).Draw(source, scene.params), "DrawTexture");
  comparison.Same(ExpectedDraw(scene).image, Content(target), cells.skip);
}

void CheckBlend(Comparison& comparison, int blend) {
  for (const Storage storage : kStorages) {
    comparison.Case(Text(storage));
    CheckCells(comparison, {false, false, blend, QVG_MATTE_NONE}, storage);
    if (comparison.Quick()) return;
  }
  comparison.Case("premultiplied source");
  CheckCells(comparison, {true, false, blend, QVG_MATTE_NONE}, Storage::kFresh);
}

void CheckMatte(Comparison& comparison, int matte) {
  for (const int blend : {QVG_BLEND_NONE, QVG_BLEND_NORMAL, QVG_BLEND_MULTIPLY, QVG_BLEND_MASK_LUMA}) {
    for (const bool premultiplied : {false, true}) {
      comparison.Case(fmt::format("blend type {}{}", blend, premultiplied ? ", premultiplied" : ""));
      CheckCells(comparison, {false, premultiplied, blend, matte}, Storage::kRecycled);
    }
    if (comparison.Quick() && blend == QVG_BLEND_NORMAL) return;
  }
}

// ---- Places

// Draws the scene with textures of its own, in storage of that kind.
void CheckScene(Comparison& comparison, DrawScene scene, Storage storage) {
  const qvg::Texture source =
      scene.premultipliedSource ? UploadedPremultiplied(scene.source) : UploadedAnew(scene.source, storage);
  const qvg::Texture target = UploadedAnew(scene.target, storage);
  qvg::Texture matte;
  if (!scene.matte.empty()) matte = UploadedAnew(scene.matte, storage);
  scene.params.matteTexture = matte.get();
  source.SetRotation(static_cast<uint32_t>(scene.quarterTurns));
  qvg::Checked(TargetOn(target, scene.camera).Draw(source, scene.params), "DrawTexture");
  const DrawResult expected = ExpectedDraw(scene);
  comparison.Same(expected.image, Content(target), expected.onEdge);
}

void CheckGeometry(Comparison& comparison, const Geometry& geometry) {
  const struct {
    const char* name;
    bool premultiplied;
    int blend, width, height;
    double opacity;
    int matte;
  } ways[] = {{"replaced", false, QVG_BLEND_NONE, 64, 48, 1, QVG_MATTE_NONE},
              {"normal with a matte", false, QVG_BLEND_NORMAL, 51, 63, 1, QVG_MATTE_ALPHA},
              {"screen with a matte", false, QVG_BLEND_SCREEN, 51, 63, 1, QVG_MATTE_LUMA_INVERTED},
              {"normal, premultiplied, half opaque", true, QVG_BLEND_NORMAL, 64, 48, 0.5, QVG_MATTE_NONE}};
  for (const auto& way : ways) {
    for (const Storage storage : kStorages) {
      comparison.Case(fmt::format("{}, {}", way.name, Text(storage)));
      DrawScene scene = MakeScene(way.premultiplied ? Cutout(37, 23, 1) : Picture(37, 23, 1),
                                  Picture(way.width, way.height, 2, way.premultiplied));
      scene.premultipliedSource = way.premultiplied;
      Place(scene, geometry);
      scene.params.blendType = way.blend;
      scene.params.opacity *= way.opacity;
      scene.params.matteType = way.matte;
      if (way.matte != QVG_MATTE_NONE) scene.matte = Picture(29, 36, 5);
      CheckScene(comparison, scene, storage);
    }
    if (comparison.Quick()) return;
  }
}

void CheckDepth(Comparison& comparison) {
  const QVGColor clear = {0.2, 0.4, 0.6, 0.8};
  for (const Storage storage : kStorages) {
    comparison.Case(Text(storage));
    const qvg::Texture target = UploadedAnew(Picture(64, 48, 1), storage);
    if (storage == Storage::kRecycled) qvg::Table().PreallocateRenderBuffers(190, 160, 1);
    const qvg::FrameBuffer frameBuffer = TargetOn(target, DefaultCamera(64, 48), true);
    qvg::Checked(frameBuffer.Clear(clear), "ClearFrameBuffer");
    DepthTarget expected(64, 48, {clear.r, clear.g, clear.b, clear.a});
    for (const DrawScene& scene : DepthScenes(64, 48)) {
      qvg::Checked(frameBuffer.Draw(Uploaded(scene.source), scene.params), "DrawTexture");
      expected.Draw(scene);
    }
    comparison.Same(expected.image, Content(target), expected.skip);
  }
}

void CheckOntoItself(Comparison& comparison) {
  for (const int blend : {QVG_BLEND_NONE, QVG_BLEND_NORMAL, QVG_BLEND_OVERLAY}) {
    comparison.Case(fmt::format("blend type {}", blend));
    DrawScene scene = MakeScene(Picture(64, 48, 7), Picture(64, 48, 7));
    scene.params.blendType = blend;
    scene.params.rotation[2] = 160;
    scene.params.scale[1] = 0.7;
    const qvg::Texture texture = UploadedAnew(scene.target, Storage::kRecycled);
    qvg::Checked(TargetOn(texture, scene.camera).Draw(texture, scene.params), "DrawTexture");
    const DrawResult expected = ExpectedDraw(scene);
    comparison.Same(expected.image, Content(texture), expected.onEdge);
  }
}

void CheckPremultipliedTarget(Comparison& comparison) {
  const Image stored = Cutout(64, 48, 2);
  for (const int blend : {QVG_BLEND_NONE, QVG_BLEND_NORMAL, QVG_BLEND_MULTIPLY}) {
    comparison.Case(fmt::format("blend type {}", blend));
    DrawScene scene = MakeScene(Picture(37, 23, 1), Quantised(Straight(stored)));
    scene.params.blendType = blend;
    scene.params.translation[0] = 5.5;  // Texel on texel.
    scene.params.translation[1] = -3.5;
    const qvg::Texture target = UploadedPremultiplied(stored);
    qvg::Checked(TargetOn(target, scene.camera).Draw(Uploaded(scene.source), scene.params), "DrawTexture");
    comparison.Same(ExpectedDraw(scene).image, Content(target));
  }
}

}  // namespace

std::vector<Check> BlendChecks() {
  std::vector<Check> checks;
  for (const auto& [name, type] : kBlends)
    checks.push_back({"blend", name, kCellLimit, [type = type](Comparison& c) { CheckBlend(c, type); }});
  return checks;
}

std::vector<Check> MatteChecks() {
  std::vector<Check> checks;
  for (const auto& [name, type] : kMattes)
    checks.push_back({"matte", name, kCellLimit, [type = type](Comparison& c) { CheckMatte(c, type); }});
  return checks;
}

std::vector<Check> GeometryChecks() {
  std::vector<Check> checks;
  for (const Geometry& geometry : Geometries())
    checks.push_back(
        {"geometry", geometry.name, kMatteDrawLimit, [&geometry](Comparison& c) { CheckGeometry(c, geometry); }});
  checks.push_back({"geometry", "depth test", kDrawLimit, CheckDepth});
  checks.push_back({"geometry", "a texture onto itself", kDrawLimit, CheckOntoItself});
  // A straight value halfway between two steps may be stored as either.
  checks.push_back({"geometry", "onto what an effect gave", 1.6, CheckPremultipliedTarget});
  return checks;
}

}  // namespace qvgtool::selftest
