// Draws through frame buffers, compared with the same formulas on the CPU.
#include <algorithm>
#include <cmath>
#include <set>

#include "reference/drawScenes.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

class DrawTest : public TableTest {
 protected:
  // Draws the scene's source and compares. The target and scene.params.matteTexture hold the scene's pictures.
  void ExpectDrawn(const DrawScene& scene, const Texture& source, const FrameBuffer& frameBuffer, const Texture& target,
                   double limit = kDrawLimit) {
    ASSERT_TRUE(gl_.DrawTexture(source.get(), frameBuffer.get(), &scene.params));
    const DrawResult expected = ExpectedDraw(scene);
    EXPECT_EQ(Mismatch(expected.image, Content(target.get()), limit, expected.onEdge), "");
  }

  // The same with textures of its own. Of a premultiplied source it is the clone that has recycled storage.
  void ExpectScene(DrawScene scene, bool recycled, double limit = kDrawLimit) {
    Texture source;
    if (scene.premultipliedSource) {
      ClearPools();
      if (recycled) LeaveGarbage(QVG_FORMAT_RGBA, scene.source.width, scene.source.height);
      source = Premultiplied(scene.source);
      if (recycled) source.reset(gl_.CloneTexture(source.get()));
    } else {
      source = UploadAnew(scene.source, recycled);
    }
    const Texture target = UploadAnew(scene.target, recycled);
    const Texture matte = scene.matte.empty() ? nullptr : UploadAnew(scene.matte, recycled);
    ASSERT_TRUE(gl_.SetTextureRotation(source.get(), scene.quarterTurns));
    scene.params.matteTexture = matte.get();
    ExpectDrawn(scene, source, Target(target.get(), &scene.camera), target, limit);
    EXPECT_EQ(Difference(scene.source, Content(source.get())), "") << "the source was changed";
  }
};

void Set(double (&to)[3], double x, double y, double z) { to[0] = x, to[1] = y, to[2] = z; }
void Set(double (&to)[2], double x, double y) { to[0] = x, to[1] = y; }

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
  for (const Geometry& geometry : Geometries()) {
    for (const bool recycled : {false, true}) {
      for (const auto& [premultiplied, blend, width, height, opacity, matte] : ways) {
        SCOPED_TRACE(::testing::Message() << geometry.name << (recycled ? ", recycled" : "") << ", blend " << blend
                                          << ", matte " << matte << ", premultiplied " << premultiplied);
        DrawScene scene =
            MakeScene(premultiplied ? Cutout(37, 23, 1) : Picture(37, 23, 1), Picture(width, height, 2, premultiplied));
        scene.premultipliedSource = premultiplied;
        Place(scene, geometry);
        scene.params.blendType = blend;
        scene.params.opacity *= opacity;
        scene.params.matteType = matte;
        if (matte != QVG_MATTE_NONE) scene.matte = Picture(29, 36, 5);
        ExpectScene(scene, recycled, matte != QVG_MATTE_NONE ? kMatteDrawLimit : kDrawLimit);
      }
    }
  }
}

TEST_F(DrawTest, PremultipliedTargetsBecomeStraight) {
  const Image white(64, 48, {1, 1, 1, 1}), stored = Cutout(64, 48, 2);
  for (const int blend : {QVG_BLEND_NONE, QVG_BLEND_NORMAL, QVG_BLEND_MULTIPLY}) {
    for (const std::string what : {"straight", "premultiplied", "itself", "after a clear", "after an upload"}) {
      SCOPED_TRACE("blend " + std::to_string(blend) + ", " + what);
      DrawScene scene = MakeScene(Cutout(37, 23, 1), Quantised(Straight(stored)));
      const Texture target = Premultiplied(stored);
      if (what == "after an upload") {
        scene.target = Picture(64, 48, 5);
        Refill(target.get(), scene.target);
      }
      const FrameBuffer frameBuffer = Target(target.get());
      if (what == "after a clear") {
        scene.target = Quantised(Image(64, 48, {0.6, 0.2, 1, 0.5}));
        ASSERT_TRUE(gl_.ClearFrameBuffer(frameBuffer.get(), scene.target.texels[0].data()));
      }
      scene.premultipliedSource = what == "premultiplied";
      const bool itself = what == "itself";
      if (itself) scene.source = scene.target;
      const Texture source = scene.premultipliedSource ? Premultiplied(scene.source) : Upload(scene.source);
      scene.params.blendType = blend;
      // Mirrored, texel on texel. A straight value halfway between two steps may be stored as either.
      scene.params.scale[0] = -1;
      Set(scene.params.translation, itself ? 5 : 5.5, itself ? -3 : -3.5, 0);
      ExpectDrawn(scene, itself ? target : source, frameBuffer, target, 1.6);

      const Texture canvas = Upload(white);
      DrawScene over = MakeScene(Content(target.get()), white);
      over.params.blendType = QVG_BLEND_NORMAL;
      ExpectDrawn(over, target, Target(canvas.get()), canvas, 1);
    }
  }
}

// ---- Blends

// Sources and mattes with straight and with premultiplied alpha.
TEST_F(DrawTest, EveryBlendOfEveryAlphaAndForm) {
  const BlendCells& cells = EveryColour();
  DrawScene scene = MakeScene(cells.source, cells.target);
  const Image images[] = {cells.source, Multiplied(cells.source)}, mattes[] = {cells.matte, Multiplied(cells.matte)};
  const Texture textures[] = {UploadAnew(images[0], true), Premultiplied(images[1])};
  const Texture matteTextures[] = {UploadAnew(mattes[0], false), Premultiplied(mattes[1])};
  const Texture target = UploadAnew(scene.target, true);
  const FrameBuffer frameBuffer = Target(target.get());

  const std::set<int> some = {QVG_BLEND_NONE,       QVG_BLEND_NORMAL,     QVG_BLEND_MULTIPLY,   QVG_BLEND_SCREEN,
                              QVG_BLEND_SOFT_LIGHT, QVG_BLEND_LUMINOSITY, QVG_BLEND_ERASE_LUMA, QVG_BLEND_MASK_LUMA};
  for (const auto& [form, matteForm] : {std::pair(0, 0), {0, 1}, {1, 0}, {1, 1}}) {
    for (int blend = -2; blend <= 36; ++blend) {  // all types, and the numbers between them that mean none
      if (form + matteForm > 0 && some.count(blend) == 0) continue;  // each takes a program of its own
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
        EXPECT_EQ(Mismatch(ExpectedDraw(scene).image, Content(target.get()), kCellLimit, cells.skip), "");
      }
    }
  }
}

TEST_F(DrawTest, SourceOrMatteMayBeTheTarget) {
  for (const int blend : {QVG_BLEND_NONE, QVG_BLEND_NORMAL, QVG_BLEND_OVERLAY}) {
    for (int which = 1; which < 4; ++which) {
      const bool isSource = which & 1, isMatte = which & 2;
      SCOPED_TRACE(::testing::Message() << "source " << isSource << ", matte " << isMatte << ", blend " << blend);
      DrawScene scene = MakeScene(Picture(64, 48, isSource ? 7 : 6), Picture(64, 48, 7));
      if (isMatte) scene.matte = scene.target;
      scene.params.matteType = isMatte ? QVG_MATTE_ALPHA_INVERTED : QVG_MATTE_NONE;
      scene.params.blendType = blend;
      Set(scene.params.rotation, 0, 0, 160);
      Set(scene.params.scale, 0.9, 0.7, 1);
      const Texture source = UploadAnew(scene.source, true), target = UploadAnew(scene.target, true);
      scene.params.matteTexture = isMatte ? target.get() : nullptr;
      ExpectDrawn(scene, isSource ? target : source, Target(target.get()), target);
    }
  }
}

TEST_F(DrawTest, DepthTestHidesWhatLiesBehind) {
  const Color clear = {0.2, 0.4, 0.6, 0.8};
  for (const bool recycled : {false, true}) {
    SCOPED_TRACE(recycled ? "recycled" : "fresh");
    const Texture target = UploadAnew(Picture(64, 48, 1), recycled);
    if (recycled) gl_.PreallocateRenderBuffers(190, 160, 1);
    const FrameBuffer frameBuffer = Target(target.get(), nullptr, true);
    ASSERT_TRUE(gl_.ClearFrameBuffer(frameBuffer.get(), clear.data()));
    DepthTarget expected(64, 48, clear);
    for (const DrawScene& scene : DepthScenes(64, 48)) {
      const Texture source = UploadAnew(scene.source, recycled);
      ASSERT_TRUE(gl_.DrawTexture(source.get(), frameBuffer.get(), &scene.params));
      expected.Draw(scene);
    }
    EXPECT_EQ(Mismatch(expected.image, Content(target.get()), kDrawLimit, expected.skip), "");
  }
}

TEST_F(DrawTest, FrameBuffersWithBuffersTakeTexturesOfOneSize) {
  ExpectErrorLines();
  for (const bool depth : {false, true}) {
    for (const bool color : {false, true}) {
      SCOPED_TRACE(::testing::Message() << (depth ? "depth " : "") << (color ? "colour" : ""));
      const QVGFrameBufferDesc description = {64, 48, 0, depth, color, DefaultCamera(64, 48)};
      const FrameBuffer frameBuffer(gl_.CreateFrameBufferFromDesc(&description));
      const bool any = !depth && !color;
      const Texture first = Upload(Picture(64, 48, 1)), lower = Upload(Picture(64, 47, 4));
      ASSERT_TRUE(gl_.BindTextureToFrameBuffer(frameBuffer.get(), first.get()));
      EXPECT_EQ(gl_.BindTextureToFrameBuffer(frameBuffer.get(), lower.get()), any);
      DrawScene scene = MakeScene(Picture(30, 20, 3), any ? Picture(64, 47, 4) : Picture(64, 48, 1));
      scene.camera = description.camera;  // the camera stays
      ExpectDrawn(scene, Upload(scene.source), frameBuffer, any ? lower : first);
    }
  }
}

// Drivers needn't be able to render to these formats, and may store more bits.
TEST_F(DrawTest, TexturesOfThreeByteFormatsAreTargets) {
  // With only the levels of 3, 3 and 2 bits.
  const Image picture = ExpectedUpload(MakeFrame(QVG_FORMAT_RGBX332, 37, 23, 1), 37, 23);
  const Image before = ExpectedUpload(MakeFrame(QVG_FORMAT_RGBX332, 64, 48, 2), 64, 48);
  const Color clear = {3 / 7.0, 6 / 7.0, 1 / 3.0, 1};
  for (const int code : {QVG_FORMAT_RGB, QVG_FORMAT_BGR, QVG_FORMAT_RGBX332}) {
    SCOPED_TRACE(FormatOf(code).name);
    const bool cleared = code != QVG_FORMAT_RGB;
    DrawScene scene = MakeScene(picture, cleared ? Image(64, 48, clear) : before);
    const Texture target = Upload(MakeFrame(code, before)), source = Upload(MakeFrame(code, picture));
    EXPECT_TRUE(!cleared || gl_.ClearTexture(target.get(), clear.data()));
    scene.params.blendType = QVG_BLEND_DARKEN;
    Set(scene.params.translation, 5.5, -3.5, 0);  // texel on texel
    ExpectDrawn(scene, source, Target(target.get()), target, 1);
    // It can still be uploaded to.
    const Frame next = MakeFrame(code, picture);
    EXPECT_TRUE(gl_.UploadPixelBufferToTexture(target.get(), &next.buffer, false, false, {}));
    EXPECT_EQ(Difference(picture, Content(target.get()), 0.51), "");
  }
}

}  // namespace
}  // namespace qvg::test
