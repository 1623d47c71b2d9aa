#include "reference/drawScenes.h"

#include <cmath>
#include <functional>

namespace qvg::reference {
namespace {

void Set(double (&to)[3], double x, double y, double z) { to[0] = x, to[1] = y, to[2] = z; }
void Set(double (&to)[2], double x, double y) { to[0] = x, to[1] = y; }

const Geometry kGeometries[] = {
    {"as it is", 0, [](auto&, auto&) {}},
    {"turned about z, off its anchor", 0,
     [](auto& p, auto&) {
       Set(p.anchor, 5, -3, 0), Set(p.rotation, 0, 0, 30);
       Set(p.scale, 1.2, 0.8, 1), Set(p.translation, -4.1, 6.2, 0);
     }},
    {"size factors switched off", 0, [](auto& p, auto&) { Set(p.sizeFactor, 1.45, 0.55); }},
    {"one quarter turn", 1, [](auto&, auto&) {}},
    {"five quarter turns, size factors, turned", 5,
     [](auto& p, auto&) { p.useSizeFactor = true, Set(p.sizeFactor, 0.8, 1.3), Set(p.rotation, 0, 0, -20); }},
    {"simple matte, half as opaque", 0,
     [](auto& p, auto&) { p.opacity = 0.45, p.simpleMatte = true, Set(p.simpleMatteSize, 0.5, 0.6); }},
    {"narrow camera, mirrored", 0,
     [](auto& p, auto& c) { p.scale[0] = -1.1, c.left = -20, c.right = 13, c.top = 15, c.bottom = -11; }},
    {"perspective, turned and near", 3,
     [](auto& p, auto& c) { c.projection = 0, Set(p.rotation, 20, 55, 10), Set(p.translation, 3, -2, 300); }},
    {"perspective from the side", 0, [](auto&, auto& c) {
       c.projection = 2, c.fovy = 0.9f, c.centre[0] = 3, c.up[0] = 0.2f;
       c.eye[0] = 30, c.eye[1] = 12, c.eye[2] = 45;
     }}};

// ---- Blends

constexpr int kCell = 3;  // texels

std::vector<Color> Palette(bool target) {
  static constexpr int kColors[][3] = {{0, 0, 0},     {255, 255, 255}, {230, 40, 120}, {51, 153, 204},
                                       {20, 200, 60}, {128, 127, 129}, {255, 0, 90},   {64, 250, 240}};
  std::vector<Color> palette;
  for (const int alpha : {0, 128, 255})
    for (const auto& c : kColors)
      palette.push_back(target ? Color{c[2] / 255.0, c[0] / 255.0, c[1] / 255.0, (alpha == 128 ? 90 : alpha) / 255.0}
                               : Color{c[0] / 255.0, c[1] / 255.0, c[2] / 255.0, alpha / 255.0});
  return palette;
}

Image Cells(const std::function<Color(size_t, size_t)>& colorAt) {
  const int cells = static_cast<int>(Palette(false).size());
  return MakeImage(cells * kCell, cells * kCell, [&](int x, int y) { return colorAt(x / kCell, y / kCell); });
}

BlendCells MakeCells() {
  const std::vector<Color> sources = Palette(false), targets = Palette(true);
  BlendCells cells;
  cells.source = Cells([&](size_t x, size_t) { return sources[x]; });
  cells.target = Cells([&](size_t, size_t y) { return targets[y]; });
  cells.matte = Quantised(Cells([](size_t x, size_t y) -> Color {
    return {(2 * x + y) % 5 / 4.0, 0.5, 1, (x + 3 * y) % 4 / 3.0};
  }));
  const int width = cells.target.width;
  for (int i = 0; i < width * cells.target.height; ++i)
    cells.skip.push_back(i % width % kCell != 1 || i / width % kCell != 1);
  return cells;
}

}  // namespace

DrawScene MakeScene(const Image& source, const Image& target) {
  DrawScene scene;
  scene.source = source;
  scene.target = target;
  scene.camera = DefaultCamera(target.width, target.height);
  return scene;
}

std::span<const Geometry> Geometries() { return kGeometries; }

void Place(DrawScene& scene, const Geometry& geometry) {
  scene.quarterTurns = geometry.quarterTurns;
  Set(scene.params.translation, 0.3, -0.2, 0);
  geometry.change(scene.params, scene.camera);
}

const BlendCells& EveryColour() {
  static const BlendCells cells = MakeCells();
  return cells;
}

Image Multiplied(Image image) {
  for (Color& color : image.texels)
    for (int c = 0; c < 3; ++c) color[c] *= color[3];
  return Quantised(image);
}

DepthTarget::DepthTarget(int width, int height, const Color& clear)
    : image(width, height, clear), depth(image.texels.size(), 1), skip(image.texels.size()) {}

void DepthTarget::Draw(const DrawScene& scene) {
  DrawScene here = scene;
  here.target = image;
  const DrawResult drawn = ExpectedDraw(here);
  for (size_t p = 0; p < skip.size(); ++p) {
    // Crossing planes have the same depth where they cross; coinciding planes have it everywhere, to the last bit.
    const double distance = std::abs(drawn.depth[p] - depth[p]);
    skip[p] = skip[p] || drawn.onEdge[p] || (scene.params.rotation[1] != 0 && distance < 1e-6);
    if (drawn.depth[p] > 1 || (scene.params.depthTest && drawn.depth[p] > depth[p])) continue;
    image.texels[p] = drawn.image.texels[p];
    if (scene.params.depthTest) depth[p] = drawn.depth[p];
  }
}

std::vector<DrawScene> DepthScenes(int width, int height) {
  const struct {
    double x, z, rotation, width, height;
  } planes[] = {{-31.3, 5, 0, 1, 1}, {-31.3, 5, 0, 1, 1}, {0.1, 5, 50, 1.7, 1}, {0.1, -500, 0, 0.2, 0.2}};
  std::vector<DrawScene> scenes;
  for (const auto& plane : planes) {
    const int seed = 2 + static_cast<int>(scenes.size());
    DrawScene& scene = scenes.emplace_back(MakeScene(Picture(80, 80, seed), Image(width, height)));
    scene.params.depthTest = scenes.size() < std::size(planes);
    Set(scene.params.translation, plane.x, 0.2, plane.z);
    Set(scene.params.rotation, 0, plane.rotation, 0);
    Set(scene.params.scale, plane.width, plane.height, 1);
  }
  return scenes;
}

}  // namespace qvg::reference
