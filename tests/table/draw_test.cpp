// Draws through frame buffers, compared with the same formulas on the CPU.
#include <algorithm>
#include <cmath>
#include <functional>
#include <set>

#include "support/table_test.h"

namespace qvg::test {
namespace {

// In steps from the exact value: half a one for the rounding of the result and, for a driver that filters with 8 bits,
// one for the sample's colour and one for its alpha where it blends.
constexpr double kLimit = 2.51;

class DrawTest : public TableTest {
 protected:
  // Draws the scene's source and compares. target and scene.params.matteTexture hold what the scene tells.
  void ExpectDrawn(const DrawScene& scene, const TexturePtr& source, const FrameBufferPtr& frameBuffer,
                   const TexturePtr& target, double limit = kLimit) {
    ASSERT_TRUE(gl_.DrawTexture(source.get(), frameBuffer.get(), &scene.params));
    const DrawResult expected = ExpectedDraw(scene);
    EXPECT_EQ(Mismatch(expected.image, Content(target.get()), limit, expected.onEdge), "");
  }

  // The same with textures of its own. What is recycled of a premultiplied source is its clone.
  void ExpectScene(DrawScene scene, bool recycled, double limit = kLimit) {
    TexturePtr source;
    if (scene.premultipliedSource) {
      ClearPools();
      if (recycled) LeaveGarbage(QVG_FORMAT_RGBA, scene.source.width, scene.source.height);
      source = Premultiplied(scene.source);
      if (recycled) source.reset(gl_.CloneTexture(source.get()));
    } else {
      source = UploadAnew(scene.source, recycled);
    }
    const TexturePtr target = UploadAnew(scene.target, recycled);
    const TexturePtr matte = scene.matte.empty() ? nullptr : UploadAnew(scene.matte, recycled);
    ASSERT_TRUE(gl_.SetTextureRotation(source.get(), scene.quarterTurns));
    scene.params.matteTexture = matte.get();
    ExpectDrawn(scene, source, Target(target.get(), &scene.camera), target, limit);
    EXPECT_EQ(Difference(scene.source, Content(source.get())), "") << "the source was changed";
  }
};

DrawScene Scene(const Image& source, const Image& target) {
  DrawScene scene;
  scene.source = source;
  scene.target = target;
  scene.camera = DefaultCamera(target.width, target.height);
  return scene;
}

void Set(double (&to)[3], double x, double y, double z) { to[0] = x, to[1] = y, to[2] = z; }
void Set(double (&to)[2], double x, double y) { to[0] = x, to[1] = y; }

struct Geometry {
  const char* what;
  int turns;
  void (*change)(QVGDrawTextureParams& params, QVGCamera& camera);
};

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

TEST_F(DrawTest, GeometryInFreshAndRecycledStorage) {
  const struct {
    bool premultiplied;
    int blend, width, height;
    double opacity;
    int matte;
  } ways[] = {{false, QVG_BLEND_NONE, 64, 48, 1, QVG_MATTE_NONE},
              {false, QVG_BLEND_NORMAL, 51, 63, 1, QVG_MATTE_ALPHA},
              {false, QVG_BLEND_SCREEN, 51, 63, 1, QVG_MATTE_LUMA_INVERTED},
              {true, QVG_BLEND_NORMAL, 64, 48, 0.5, QVG_MATTE_NONE}};
  for (const Geometry& geometry : kGeometries) {
    for (const bool recycled : {false, true}) {
      for (const auto& [premultiplied, blend, width, height, opacity, matte] : ways) {
        SCOPED_TRACE(::testing::Message() << geometry.what << (recycled ? ", recycled" : "") << ", blend " << blend
                                          << ", matte " << matte << ", premultiplied " << premultiplied);
        DrawScene scene =
            Scene(premultiplied ? Cutout(37, 23, 1) : Picture(37, 23, 1), Picture(width, height, 2, premultiplied));
        scene.premultipliedSource = premultiplied;
        scene.quarterTurns = geometry.turns;
        // Pixel centres meet texels off their centres, whatever the sizes.
        Set(scene.params.translation, 0.3, -0.2, 0);
        geometry.change(scene.params, scene.camera);
        scene.params.blendType = blend;
        scene.params.opacity *= opacity;
        scene.params.matteType = matte;
        if (matte != QVG_MATTE_NONE) scene.matte = Picture(29, 36, 5);
        ExpectScene(scene, recycled, matte != QVG_MATTE_NONE ? kLimit + 1 : kLimit);  // the matte is filtered as well
      }
    }
  }
}

TEST_F(DrawTest, PremultipliedTargetsBecomeStraight) {
  const Image white(64, 48, {1, 1, 1, 1}), stored = Cutout(64, 48, 2);
  for (const int blend : {QVG_BLEND_NONE, QVG_BLEND_NORMAL, QVG_BLEND_MULTIPLY}) {
    for (const std::string what : {"straight", "premultiplied", "itself", "after a clear", "after an upload"}) {
      SCOPED_TRACE("blend " + std::to_string(blend) + ", " + what);
      DrawScene scene = Scene(Cutout(37, 23, 1), Quantised(Straight(stored)));
      const TexturePtr target = Premultiplied(stored);
      if (what == "after an upload") {
        scene.target = Picture(64, 48, 5);
        Refill(target.get(), scene.target);
      }
      const FrameBufferPtr frameBuffer = Target(target.get());
      if (what == "after a clear") {
        scene.target = Quantised(Image(64, 48, {0.6, 0.2, 1, 0.5}));
        ASSERT_TRUE(gl_.ClearFrameBuffer(frameBuffer.get(), scene.target.texels[0].data()));
      }
      scene.premultipliedSource = what == "premultiplied";
      const bool itself = what == "itself";
      if (itself) scene.source = scene.target;
      const TexturePtr source = scene.premultipliedSource ? Premultiplied(scene.source) : Upload(scene.source);
      scene.params.blendType = blend;
      // Mirrored, texel on texel. Where a straight value lies halfway between two steps either is stored.
      scene.params.scale[0] = -1;
      Set(scene.params.translation, itself ? 5 : 5.5, itself ? -3 : -3.5, 0);
      ExpectDrawn(scene, itself ? target : source, frameBuffer, target, 1.6);

      const TexturePtr canvas = Upload(white);
      DrawScene over = Scene(Content(target.get()), white);
      over.params.blendType = QVG_BLEND_NORMAL;
      ExpectDrawn(over, target, Target(canvas.get()), canvas, 1);
    }
  }
}

// ---- Blends: every colour of the source meets every colour of the target ----

constexpr int kCell = 3;  // texels; only the middle one is compared, so no neighbour takes part in a sample

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

/// As an effect stores it.
Image Multiplied(Image image) {
  for (Color& color : image.texels)
    for (int c = 0; c < 3; ++c) color[c] *= color[3];
  return Quantised(image);
}

// Sources and mattes in both forms.
TEST_F(DrawTest, EveryBlendOfEveryAlphaAndForm) {
  const std::vector<Color> sources = Palette(false), targets = Palette(true);
  const Image straight = Cells([&](size_t x, size_t) { return sources[x]; });
  const Image straightMatte = Quantised(Cells([](size_t x, size_t y) -> Color {
    return {(2 * x + y) % 5 / 4.0, 0.5, 1, (x + 3 * y) % 4 / 3.0};
  }));
  DrawScene scene = Scene(straight, Cells([&](size_t, size_t y) { return targets[y]; }));
  std::vector<bool> skip(scene.target.texels.size());
  for (size_t i = 0; i < skip.size(); ++i)
    skip[i] = i % scene.target.width % kCell != 1 || i / scene.target.width % kCell != 1;
  const Image images[] = {straight, Multiplied(straight)}, mattes[] = {straightMatte, Multiplied(straightMatte)};
  const TexturePtr textures[] = {UploadAnew(images[0], true), Premultiplied(images[1])};
  const TexturePtr matteTextures[] = {UploadAnew(mattes[0], false), Premultiplied(mattes[1])};
  const TexturePtr target = UploadAnew(scene.target, true);
  const FrameBufferPtr frameBuffer = Target(target.get());

  const std::set<int> some = {QVG_BLEND_NONE,       QVG_BLEND_NORMAL,     QVG_BLEND_MULTIPLY,   QVG_BLEND_SCREEN,
                              QVG_BLEND_SOFT_LIGHT, QVG_BLEND_LUMINOSITY, QVG_BLEND_ERASE_LUMA, QVG_BLEND_MASK_LUMA};
  for (const auto& [form, matteForm] : {std::pair(0, 0), {0, 1}, {1, 0}, {1, 1}}) {
    for (int blend = -2; blend <= 36; ++blend) {  // the numbers of the types, and those between that mean none
      if (form + matteForm > 0 && some.count(blend) == 0) continue;  // each is a program of its own
      for (int matteType = -1; matteType <= 5; ++matteType) {
        SCOPED_TRACE(::testing::Message()
                     << "blend " << blend << ", matte " << matteType << ", premultiplied " << form << ' ' << matteForm);
        scene.source = images[form];
        scene.premultipliedSource = form == 1;
        scene.premultipliedMatte = matteForm == 1;
        scene.params.blendType = blend;
        // -1: the programs without a matte.
        scene.matte = matteType < 0 ? Image() : mattes[matteForm];
        scene.params.matteType = std::max(0, matteType);
        scene.params.matteTexture = matteType < 0 ? nullptr : matteTextures[matteForm].get();
        scene.params.opacity = matteType < 1 ? 1 : 0.7;
        scene.params.simpleMatte = matteType == 2;
        Set(scene.params.simpleMatteSize, 0.7, 0.8);
        Refill(target.get(), scene.target);
        ASSERT_TRUE(gl_.DrawTexture(textures[form].get(), frameBuffer.get(), &scene.params));
        EXPECT_EQ(Mismatch(ExpectedDraw(scene).image, Content(target.get()), 0.6, skip), "");
      }
    }
  }
}

TEST_F(DrawTest, SourceOrMatteMayBeTheTarget) {
  for (const int blend : {QVG_BLEND_NONE, QVG_BLEND_NORMAL, QVG_BLEND_OVERLAY}) {
    for (int which = 1; which < 4; ++which) {
      const bool isSource = which & 1, isMatte = which & 2;
      SCOPED_TRACE(::testing::Message() << "source " << isSource << ", matte " << isMatte << ", blend " << blend);
      DrawScene scene = Scene(Picture(64, 48, isSource ? 7 : 6), Picture(64, 48, 7));
      if (isMatte) scene.matte = scene.target;
      scene.params.matteType = isMatte ? QVG_MATTE_ALPHA_INVERTED : QVG_MATTE_NONE;
      scene.params.blendType = blend;
      Set(scene.params.rotation, 0, 0, 160);
      Set(scene.params.scale, 0.9, 0.7, 1);
      const TexturePtr source = UploadAnew(scene.source, true), target = UploadAnew(scene.target, true);
      scene.params.matteTexture = isMatte ? target.get() : nullptr;
      ExpectDrawn(scene, isSource ? target : source, Target(target.get()), target);
    }
  }
}

TEST_F(DrawTest, DepthTestHidesWhatLiesBehind) {
  const Color clear = {0.2, 0.4, 0.6, 0.8};
  // A plane, another one at its place, one that crosses them and is as wide as the target: a depth buffer that misses a
  // corner shows. The last one lies behind all and is not tested.
  const struct {
    double x, z, rotation, width, height;
  } planes[] = {{-31.3, 5, 0, 1, 1}, {-31.3, 5, 0, 1, 1}, {0.1, 5, 50, 1.7, 1}, {0.1, -500, 0, 0.2, 0.2}};
  for (const bool recycled : {false, true}) {
    SCOPED_TRACE(recycled ? "recycled" : "fresh");
    const TexturePtr target = UploadAnew(Picture(64, 48, 1), recycled);
    if (recycled) gl_.PreallocateRenderBuffers(190, 160, 1);
    const FrameBufferPtr frameBuffer = Target(target.get(), nullptr, true);
    ASSERT_TRUE(gl_.ClearFrameBuffer(frameBuffer.get(), clear.data()));
    Image expected(64, 48, clear);
    std::vector<double> depth(expected.texels.size(), 1);
    std::vector<bool> skip(expected.texels.size());
    for (int i = 0; i < 4; ++i) {
      DrawScene scene = Scene(Picture(80, 80, 2 + i), expected);
      const bool tested = scene.params.depthTest = i < 3;
      Set(scene.params.translation, planes[i].x, 0.2, planes[i].z);
      Set(scene.params.rotation, 0, planes[i].rotation, 0);
      Set(scene.params.scale, planes[i].width, planes[i].height, 1);
      const TexturePtr source = UploadAnew(scene.source, recycled);
      ASSERT_TRUE(gl_.DrawTexture(source.get(), frameBuffer.get(), &scene.params));
      const DrawResult drawn = ExpectedDraw(scene);
      for (size_t p = 0; p < skip.size(); ++p) {
        skip[p] = skip[p] || drawn.onEdge[p] || (i == 2 && std::abs(drawn.depth[p] - depth[p]) < 1e-6);
        if (drawn.depth[p] > 1 || (tested && drawn.depth[p] > depth[p])) continue;
        expected.texels[p] = drawn.image.texels[p];
        if (tested) depth[p] = drawn.depth[p];
      }
    }
    EXPECT_EQ(Mismatch(expected, Content(target.get()), kLimit, skip), "");
  }
}

TEST_F(DrawTest, FrameBuffersWithBuffersTakeTexturesOfOneSize) {
  ExpectErrorLines();
  for (const bool depth : {false, true}) {
    for (const bool color : {false, true}) {
      SCOPED_TRACE(::testing::Message() << (depth ? "depth " : "") << (color ? "colour" : ""));
      const QVGFrameBufferDesc description = {64, 48, 0, depth, color, DefaultCamera(64, 48)};
      const FrameBufferPtr frameBuffer(gl_.CreateFrameBufferFromDesc(&description));
      const bool any = !depth && !color;
      const TexturePtr first = Upload(Picture(64, 48, 1)), lower = Upload(Picture(64, 47, 4));
      ASSERT_TRUE(gl_.BindTextureToFrameBuffer(frameBuffer.get(), first.get()));
      EXPECT_EQ(gl_.BindTextureToFrameBuffer(frameBuffer.get(), lower.get()), any);
      DrawScene scene = Scene(Picture(30, 20, 3), any ? Picture(64, 47, 4) : Picture(64, 48, 1));
      scene.camera = description.camera;  // stays
      ExpectDrawn(scene, Upload(scene.source), frameBuffer, any ? lower : first);
    }
  }
}

// Drivers need not be able to render to these; they may store all bits of them.
TEST_F(DrawTest, TexturesOfThreeByteFormatsAreTargets) {
  // Of levels that 3, 3 and 2 bits have.
  const Image picture = ExpectedUpload(MakeFrame(QVG_FORMAT_RGBX332, 37, 23, 1), 37, 23);
  const Image before = ExpectedUpload(MakeFrame(QVG_FORMAT_RGBX332, 64, 48, 2), 64, 48);
  const Color clear = {3 / 7.0, 6 / 7.0, 1 / 3.0, 1};
  for (const int code : {QVG_FORMAT_RGB, QVG_FORMAT_BGR, QVG_FORMAT_RGBX332}) {
    SCOPED_TRACE(FormatOf(code).name);
    const bool cleared = code != QVG_FORMAT_RGB;
    DrawScene scene = Scene(picture, cleared ? Image(64, 48, clear) : before);
    const TexturePtr target = Upload(MakeFrame(code, before)), source = Upload(MakeFrame(code, picture));
    EXPECT_TRUE(!cleared || gl_.ClearTexture(target.get(), clear.data()));
    scene.params.blendType = QVG_BLEND_DARKEN;
    Set(scene.params.translation, 5.5, -3.5, 0);  // texel on texel
    ExpectDrawn(scene, source, Target(target.get()), target, 1);
    // It still takes frames of its format.
    const Frame next = MakeFrame(code, picture);
    EXPECT_TRUE(gl_.UploadPixelBufferToTexture(target.get(), &next.buffer, false, false, {}));
    EXPECT_EQ(Difference(picture, Content(target.get()), 0.51), "");
  }
}

}  // namespace
}  // namespace qvg::test
