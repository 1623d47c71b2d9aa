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
  EXPECT_FALSE(yuv2rgb.Draw());
  EXPECT_EQ(TakeLog(), "0 YUV2RGBDrawer: scene is null\n");
  for (Drawer* other : {static_cast<Drawer*>(&rgb2yuv), static_cast<Drawer*>(&matt), static_cast<Drawer*>(&drawer)}) {
    EXPECT_FALSE(other->Draw());
    EXPECT_EQ(TakeLog(), "0 scene is null\n");
  }
  EXPECT_EQ(Live(glIsProgram), 0);
}

TEST_F(DrawerTest, SceneAndProgramAreGivenBackAfterADraw) {
  const Image picture = Picture(20, 12, 2);
  Texture texture, target;
  Fill(texture, picture);
  Fill(target, Picture(20, 12, 1));
  FrameBuffer scene(surfaces_);
  ASSERT_TRUE(scene.Allocate({}));
  ASSERT_TRUE(scene.BindColorTexture(&target));
  scene.camera = Camera::ForCanvas(20, 12);
  TextureDrawer drawer(*programs_, surfaces_);
  drawer.mainTexture = &texture;
  drawer.SetScene(&scene);
  EXPECT_TRUE(drawer.Draw());
  EXPECT_EQ(Difference(picture, StorageOf(target)), "");
  EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), 0);
  EXPECT_EQ(Integer(GL_FRAMEBUFFER_BINDING), 0);
  EXPECT_EQ(Live(glIsVertexArray), 0);
  EXPECT_EQ(Live(glIsBuffer), 0);
  EXPECT_NE(programs_->Get("TextureDrawerShaderProgram_Simple", "", ""), nullptr) << "the program did not come back";
  EXPECT_FALSE(drawer.Draw());
  EXPECT_EQ(TakeLog(), "0 scene is null\n");
  // Without a main texture the missing vertex colour, black, covers the scene.
  drawer.mainTexture = nullptr;
  drawer.SetScene(&scene);
  EXPECT_TRUE(drawer.Draw());
  EXPECT_EQ(Difference(Image(20, 12, {0, 0, 0, 1}), StorageOf(target)), "");
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

TEST_F(DrawerTest, UnknownYuvFormatsOnlyCentreTheTarget) {
  const Image before = Picture(192, 108, 1);
  for (const int32_t format : {0, 4, -1}) {
    Texture plane, target;
    Fill(plane, Picture(128, 72, 2));
    Fill(target, before);
    SetContent(target, 1, 2, 128, 72);
    FrameBuffer scene(surfaces_);
    ASSERT_TRUE(scene.Allocate({}));
    ASSERT_TRUE(scene.BindColorTexture(&target));
    YUV2RGBDrawer drawer(*programs_);
    for (YUV2RGBDrawer::Plane& p : drawer.planes) p = {&plane, 128, 72};
    drawer.format = format;
    drawer.SetScene(&scene);
    EXPECT_FALSE(drawer.Draw());
    EXPECT_EQ(target.offsetX, 32);
    EXPECT_EQ(target.offsetY, 18);
    EXPECT_EQ(target.loadedWidth, 128);
    EXPECT_EQ(Difference(before, StorageOf(target)), "");
  }
}

}  // namespace
}  // namespace qvg
