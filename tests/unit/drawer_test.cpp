#include "drawer/drawer.h"

#include "base/framebuffer.h"
#include "base/programCache.h"
#include "drawer/rgb2yuvDrawer.h"
#include "drawer/rgbMattDrawer.h"
#include "drawer/textureDrawer.h"
#include "drawer/yuv2rgbDrawer.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

class DrawerTest : public GLTest {
 protected:
  void TearDown() override {
    programs_.reset();
    GLTest::TearDown();
  }

  Surfaces surfaces_;
  std::optional<ProgramCache> programs_{std::in_place};
};

TEST_F(DrawerTest, WithoutASceneNothingIsMade) {
  Texture texture;
  Fill(texture, Picture(8, 8, 1));
  YUV2RGBDrawer yuv2rgb(*programs_);
  RGB2YUVDrawer rgb2yuv(*programs_);
  RGBMattDrawer matt(*programs_);
  TextureDrawer drawer(*programs_, surfaces_);
  for (YUV2RGBDrawer::Plane& plane : yuv2rgb.planes) plane = {&texture, 8, 8};
  rgb2yuv.input = matt.source = drawer.mainTexture = &texture;
  for (Drawer* each : std::initializer_list<Drawer*>{&yuv2rgb, &rgb2yuv, &matt, &drawer}) {
    EXPECT_FALSE(each->Draw());
    EXPECT_EQ(TakeLog(), each == &yuv2rgb ? "0 YUV2RGBDrawer: scene is null\n" : "0 scene is null\n");
  }
  EXPECT_EQ(Live(glIsProgram), 0);
}

// Parameters are state of the program, which all contexts share: each has to see what another one set last.
TEST_F(DrawerTest, ContextsInTurnDrawWithTheLatestParameters) {
  const Image picture = Picture(20, 12, 2, true);
  Texture texture, target;
  Fill(texture, picture);
  Fill(target, picture);
  const auto draw = [&](float opacity) {
    FrameBuffer scene(surfaces_);
    ASSERT_TRUE(scene.Allocate({}));
    ASSERT_TRUE(scene.BindColorTexture(&target));
    scene.camera = Camera::ForCanvas(20, 12);
    TextureDrawer drawer(*programs_, surfaces_);
    drawer.mainTexture = &texture;
    drawer.opacity = opacity;
    drawer.SetScene(&scene);
    EXPECT_TRUE(drawer.Draw());
    glFinish();
  };
  draw(0.25f);
  OnOtherThread(true, [&] { draw(0.75f); });
  draw(0.75f);
  EXPECT_NEAR(StorageOf(target).at(5, 5)[3], 0.75, 0.01);
}

}  // namespace
}  // namespace qvg
