// GL state: whatever a host leaves on a context of the library changes no picture, and the library leaves no state.
#include <functional>

#include "support/table_test.h"

namespace qvg::test {
namespace {

constexpr int kWidth = 37, kHeight = 23;

struct Operation {
  std::string name;
  std::function<Texture(Image& read)> run;  // returns a texture, or null with the picture that it read
};

class StateTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    AddUploads();
    for (const auto& [width, height] : {std::pair(64, 48), {kWidth, kHeight}}) AddReadBacks(width, height);
    AddDraws();
    gl_.Finish();
  }
  void TearDown() override {
    operations_.clear();
    TableTest::TearDown();
  }

  std::vector<Operation> operations_;

 private:
  void Add(const std::string& name, std::function<Texture(Image&)> run) {
    operations_.push_back({name, std::move(run)});
  }

  void AddUploads() {
    const std::pair<int, size_t> layouts[] = {{QVG_FORMAT_NV12, 0}, {QVG_FORMAT_YUV16_SP, 0}, {QVG_FORMAT_J422, 0},
                                              {QVG_FORMAT_RGB, 0},  {QVG_FORMAT_RGBA, 0},     {QVG_FORMAT_RGBA, 1},
                                              {QVG_FORMAT_RGBA, 2}};
    for (const auto& [code, layout] : layouts) {
      // With rows after the last one: if it obeyed a state, that should spoil the picture, not crash the process.
      const auto frame = std::make_shared<Frame>(MakeFrame(Layouts(code, kWidth, kHeight + 40)[layout], 3));
      frame->buffer.height = kHeight;
      Add("upload of " + frame->layout.name, [this, frame, matte = layout == 2](Image&) {
        return Texture(gl_.UploadPixelBufferToNewTexture(&frame->buffer, false, matte, {}));
      });
    }
  }

  void AddReadBacks(int width, int height) {
    const auto source = std::make_shared<Texture>(Upload(Picture(width, height, 1)));
    const auto add = [&](const char* name, std::function<bool(QVGTexture*, QVGPixelBuffer*)> readBack) {
      Add(Size(width, height) + ' ' + name, [=](Image& read) -> Texture {
        ReadBack back;
        if (!readBack(source->get(), &back.buffer)) return nullptr;
        if (back->plane[1] == nullptr) {
          read = PixelsOf(back.buffer);
        } else {
          const Planes planes = PlanesOf(back.buffer);
          std::vector<Color>& all = read.texels = planes.luma.texels;
          for (const Image& plane : planes.chroma) all.insert(all.end(), plane.texels.begin(), plane.texels.end());
          read.width = static_cast<int>(all.size()), read.height = 1;
        }
        return nullptr;
      });
    };
    add("NV12", [this](auto* texture, auto* out) { return gl_.TextureToNV12PixelBuffer(texture, out, true); });
    add("I420",
        [this](auto* texture, auto* out) { return gl_.TextureToYUV420PixelBuffer(texture, false, false, out); });
    add("RGBA", [this](auto* texture, auto* out) { return gl_.TextureToRGBAPixelBuffer(texture, out, false); });
    add("BGRA", [this](auto* texture, auto* out) { return gl_.TextureToBGRAPixelBuffer(texture, out, true); });
  }

  void AddDraws() {
    const auto source = std::make_shared<Texture>(Upload(Picture(kWidth, kHeight, 1)));
    const auto matte = std::make_shared<Texture>(Upload(Picture(40, 40, 2)));
    const Color color = {0.3, 0.6, 0.9, 0.7};
    Add("draws", [=, this](Image&) {
      Texture target = Texture(gl_.AcquireTexture(80, 60));
      const FrameBuffer frameBuffer = Target(target.get(), nullptr, true);
      EXPECT_TRUE(gl_.ClearFrameBuffer(frameBuffer.get(), color.data()));
      QVGDrawTextureParams params = DefaultParams();
      params.depthTest = true;
      params.rotation[1] = 30;  // the drawn planes cross
      EXPECT_TRUE(gl_.DrawTexture(source->get(), frameBuffer.get(), &params));
      params.rotation[1] = -30;
      params.scale[0] = -0.9;
      params.opacity = 0.6;
      params.blendType = QVG_BLEND_SCREEN;
      params.matteTexture = matte->get();
      params.matteType = QVG_MATTE_ALPHA;
      EXPECT_TRUE(gl_.DrawTexture(source->get(), frameBuffer.get(), &params));
      return target;
    });
    Add("effect", [=, this](Image&) {
      const Effect effect(gl_.CreateEffect("general_eff"));
      for (const char* key : {"enable_key", "enable_beauty", "blur"}) {
        const QVGParamValue value = {QVG_PARAM_INTEGER, {.integer = 9}};
        EXPECT_TRUE(gl_.SetEffectParameter(effect.get(), key, &value));
      }
      return Texture(gl_.ApplyEffect(effect.get(), source->get()));
    });
    Add("clone", [=, this](Image&) { return Texture(gl_.CloneTexture(source->get())); });
    Add("clear", [=, this](Image&) {
      Texture texture(gl_.AcquireTexture(kWidth, kHeight));
      EXPECT_TRUE(gl_.ClearTexture(texture.get(), color.data()));
      return texture;
    });
  }
};

TEST_F(StateTest, WhatAHostLeavesChangesNoPicture) {
  unsigned buffer = 0, sampler = 0;
  glGenBuffers(1, &buffer);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
  glBufferData(GL_PIXEL_PACK_BUFFER, 1 << 20, nullptr, GL_STATIC_DRAW);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  glGenSamplers(1, &sampler);  // by default it needs mipmaps, which no texture here has
  const char* text = "#version 420 core\nvoid main() { gl_Position = vec4(0); }";
  const unsigned program = glCreateShaderProgramv(GL_VERTEX_SHADER, 1, &text);
  const auto bindSamplers = [=] {
    for (unsigned unit = 0; unit < 12; ++unit) glBindSampler(unit, sampler);
  };
  const auto bindNew = [](auto generate, auto bind) {
    unsigned name = 0;
    generate(1, &name);
    bind(name);
  };
  const struct {
    const char* name;
    unsigned enabled;
    std::function<void()> set;
  } states[] = {
      {"nothing", 0, [] {}},
      {"blending", GL_BLEND, [] { glBlendFunc(GL_DST_COLOR, GL_ONE), glBlendEquation(GL_FUNC_REVERSE_SUBTRACT); }},
      {"scissor", GL_SCISSOR_TEST, [] { glScissor(0, 0, 1, 1); }},
      {"culling", GL_CULL_FACE, [] { glCullFace(GL_FRONT_AND_BACK); }},
      {"logic op", GL_COLOR_LOGIC_OP, [] { glLogicOp(GL_INVERT); }},
      {"rasteriser discard", GL_RASTERIZER_DISCARD, [] {}},
      {"lines", 0, [] { glPolygonMode(GL_FRONT_AND_BACK, GL_LINE); }},
      {"colour mask", 0, [] { glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_FALSE); }},
      {"depth test", GL_DEPTH_TEST, [] { glDepthFunc(GL_NEVER); }},
      {"depth mask", 0, [] { glDepthMask(GL_FALSE); }},
      {"stencil test", GL_STENCIL_TEST, [] { glStencilFunc(GL_NEVER, 0, ~0u); }},
      {"sample mask", GL_SAMPLE_MASK, [] { glSampleMaski(0, 0); }},
      {"sample coverage", GL_SAMPLE_COVERAGE, [] { glSampleCoverage(0, GL_FALSE); }},
      {"sRGB", GL_FRAMEBUFFER_SRGB, [] {}},
      {"primitive restart", GL_PRIMITIVE_RESTART, [] { glPrimitiveRestartIndex(0); }},
      {"clear depth", 0, [] { glClearDepth(0); }},
      {"depth range", 0, [] { glDepthRange(1, 0.5); }},
      {"swapped bytes", 0, [] { glPixelStorei(GL_UNPACK_SWAP_BYTES, GL_TRUE); }},
      {"viewport", 0, [] { glViewport(1, 1, 2, 2); }},
      {"samplers", 0, bindSamplers},
      {"active texture", 0, [] { glActiveTexture(GL_TEXTURE7); }},
      {"program", 0, [=] { glUseProgram(program); }},
      {"vertex array", 0, [=] { bindNew(glGenVertexArrays, glBindVertexArray), glEnableVertexAttribArray(3); }},
      {"frame buffer", 0,
       [=] { bindNew(glGenFramebuffers, [](unsigned name) { glBindFramebuffer(GL_FRAMEBUFFER, name); }); }},
      {"pack buffer", 0, [=] { glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer); }},
      {"unpack buffer", 0, [=] { glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer); }},
      {"unpack row length", 0, [] { glPixelStorei(GL_UNPACK_ROW_LENGTH, 5); }},
      {"unpack skip pixels", 0, [] { glPixelStorei(GL_UNPACK_SKIP_PIXELS, 3); }},
      {"unpack skip rows", 0, [] { glPixelStorei(GL_UNPACK_SKIP_ROWS, 2); }},
      {"unpack alignment", 0, [] { glPixelStorei(GL_UNPACK_ALIGNMENT, 8); }},
      {"pack row length", 0, [] { glPixelStorei(GL_PACK_ROW_LENGTH, 5); }},
      {"pack skip pixels", 0, [] { glPixelStorei(GL_PACK_SKIP_PIXELS, 3); }},
      {"pack skip rows", 0, [] { glPixelStorei(GL_PACK_SKIP_ROWS, 2); }},
      {"pack alignment", 0, [] { glPixelStorei(GL_PACK_ALIGNMENT, 8); }},
  };
  std::vector<Image> expected;
  for (const auto& state : states) {
    QVGGLContext* context = gl_.CreateSharedContext(nullptr, nullptr, true);
    ASSERT_NE(context, nullptr);
    for (size_t i = 0; i < operations_.size(); ++i) {
      SCOPED_TRACE(operations_[i].name + " with " + state.name);
      ASSERT_TRUE(gl_.MakeCurrentContext(context, nullptr));
      if (state.enabled != 0) glEnable(state.enabled);
      state.set();
      Image read;
      const Texture texture = operations_[i].run(read);
      EXPECT_EQ(glGetError(), 0u);
      gl_.Finish();
      ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
      if (texture != nullptr) read = Content(texture.get());
      ASSERT_FALSE(read.empty());
      if (expected.size() == i) expected.push_back(read);
      EXPECT_EQ(Difference(expected[i], read, 0), "");
    }
    gl_.DestroySharedContext(&context);
  }
  glDeleteBuffers(1, &buffer);
  glDeleteSamplers(1, &sampler);
  glDeleteProgram(program);
}

// As the header promises. A deleted texture lives on while it is bound.
TEST_F(StateTest, NothingStaysBoundOrSwitchedOn) {
  const std::pair<const char*, unsigned> states[] = {{"program", GL_CURRENT_PROGRAM},
                                                     {"vertex array", GL_VERTEX_ARRAY_BINDING},
                                                     {"array buffer", GL_ARRAY_BUFFER_BINDING},
                                                     {"pack buffer", GL_PIXEL_PACK_BUFFER_BINDING},
                                                     {"unpack buffer", GL_PIXEL_UNPACK_BUFFER_BINDING},
                                                     {"drawn frame buffer", GL_DRAW_FRAMEBUFFER_BINDING},
                                                     {"read frame buffer", GL_READ_FRAMEBUFFER_BINDING},
                                                     {"blending", GL_BLEND},
                                                     {"scissor", GL_SCISSOR_TEST},
                                                     {"depth test", GL_DEPTH_TEST},
                                                     {"pack row length", GL_PACK_ROW_LENGTH},
                                                     {"pack skip rows", GL_PACK_SKIP_ROWS},
                                                     {"unpack row length", GL_UNPACK_ROW_LENGTH},
                                                     {"unpack skip rows", GL_UNPACK_SKIP_ROWS}};
  const auto valueOf = [](unsigned state) {
    int value = -1;
    glGetIntegerv(state, &value);
    return value;
  };
  for (int frame = 0; frame < 2; ++frame) {
    for (const Operation& operation : operations_) {
      SCOPED_TRACE(operation.name);
      Image read;
      operation.run(read);
      EXPECT_EQ(valueOf(GL_ACTIVE_TEXTURE), GL_TEXTURE0);
      for (const auto& [name, state] : states) EXPECT_EQ(valueOf(state), 0) << name;
      for (int unit = 0; unit < 12; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        EXPECT_TRUE(valueOf(GL_TEXTURE_BINDING_2D) == 0 && valueOf(GL_SAMPLER_BINDING) == 0) << "unit " << unit;
      }
      glActiveTexture(GL_TEXTURE0);
    }
  }
}

}  // namespace
}  // namespace qvg::test
