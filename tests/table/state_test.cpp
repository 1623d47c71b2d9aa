// GL state: what a host leaves on a context of the library changes no picture, and what the library leaves is nothing.
#include <cstring>
#include <functional>

#include "support/table_test.h"

namespace qvg::test {
namespace {

/// What an operation gives: a texture, or what it read.
struct Outcome {
  TexturePtr texture;
  Image read;
};
struct Operation {
  std::string name;
  std::function<Outcome()> run;
};

class StateTest : public TableTest {
 protected:
  void SetUp() override {
    TableTest::SetUp();
    AddUploads(37, 23);
    for (const auto& [width, height] : {std::pair(64, 48), {37, 23}}) AddReadBacks(width, height);
    AddDraws(37, 23);
    gl_.Finish();
  }
  void TearDown() override {
    operations_.clear();
    TableTest::TearDown();
  }

  std::vector<Operation> operations_;

 private:
  void Add(const std::string& name, std::function<Outcome()> run) { operations_.push_back({name, std::move(run)}); }

  void AddUpload(const std::string& name, const Layout& layout, bool matte) {
    // With room behind the last row: a state that is obeyed shall spoil the picture and not end the process.
    auto frame = std::make_shared<Frame>(MakeFrame(layout, 3));
    auto memory = std::make_shared<std::vector<std::vector<uint8_t>>>();
    for (size_t p = 0; p < frame->memory.size(); ++p) {
      const GuardedBlock& block = frame->memory[p];
      memory->emplace_back(block.data(), block.data() + block.size()).resize(block.size() + 65536);
      frame->buffer.plane[p] = memory->back().data();
    }
    Add(name, [this, frame, memory, matte]() -> Outcome {
      return {TexturePtr(gl_.UploadPixelBufferToNewTexture(&frame->buffer, false, matte, {})), {}};
    });
  }

  void AddReadBack(const std::string& name, std::function<bool(QVGPixelBuffer*)> read) {
    Add(name, [=]() -> Outcome {
      ReadBack back;
      if (!read(&back.buffer)) return {};
      if (back->plane[1] == nullptr) return {nullptr, PixelsOf(back.buffer)};
      Planes planes = PlanesOf(back.buffer);
      std::vector<Color>& all = planes.luma.texels;
      for (const Image& plane : planes.chroma) all.insert(all.end(), plane.texels.begin(), plane.texels.end());
      planes.luma.width = static_cast<int>(all.size());
      planes.luma.height = 1;
      return {nullptr, planes.luma};
    });
  }

  void AddUploads(int width, int height) {
    for (const int code : {QVG_FORMAT_NV12, QVG_FORMAT_YUV16_SP, QVG_FORMAT_J422, QVG_FORMAT_RGB, QVG_FORMAT_RGBA})
      AddUpload(std::string("upload of ") + FormatOf(code).name, Layouts(code, width, height)[0], false);
    for (const int stride : {1, 2}) {
      const Layout layout = Layouts(QVG_FORMAT_RGBA, width, height)[stride];
      AddUpload("upload of " + layout.name, layout, stride == 2);
    }
  }

  void AddReadBacks(int width, int height) {
    const std::string size = Size(width, height) + ' ';
    const std::shared_ptr<QVGTexture> source = Upload(Picture(width, height, 1));
    AddReadBack(size + "NV12", [=, this](auto* out) { return gl_.TextureToNV12PixelBuffer(source.get(), out, true); });
    AddReadBack(size + "I420",
                [=, this](auto* out) { return gl_.TextureToYUV420PixelBuffer(source.get(), false, false, out); });
    for (const bool flip : {false, true})
      AddReadBack(size + (flip ? "BGRA" : "RGBA"), [=, this](auto* out) {
        return flip ? gl_.TextureToBGRAPixelBuffer(source.get(), out, true)
                    : gl_.TextureToRGBAPixelBuffer(source.get(), out, false);
      });
  }

  void AddDraws(int width, int height) {
    const std::shared_ptr<QVGTexture> source = Upload(Picture(width, height, 1)), matte = Upload(Picture(40, 40, 2));
    Add("draws", [=, this]() -> Outcome {
      TexturePtr target = TexturePtr(gl_.AcquireTexture(80, 60));
      const FrameBufferPtr frameBuffer = Target(target.get(), nullptr, true);
      const double color[4] = {0.3, 0.6, 0.9, 0.7};
      EXPECT_TRUE(gl_.ClearFrameBuffer(frameBuffer.get(), color));
      QVGDrawTextureParams params = DefaultParams();
      params.depthTest = true;
      params.rotation[1] = 30;  // the draws cross
      EXPECT_TRUE(gl_.DrawTexture(source.get(), frameBuffer.get(), &params));
      params.rotation[1] = -30;
      params.scale[0] = -0.9;
      params.opacity = 0.6;
      params.blendType = QVG_BLEND_SCREEN;
      params.matteTexture = matte.get();
      params.matteType = QVG_MATTE_ALPHA;
      EXPECT_TRUE(gl_.DrawTexture(source.get(), frameBuffer.get(), &params));
      return {std::move(target), {}};
    });
    Add("effect", [=, this]() -> Outcome {
      const EffectPtr effect(gl_.CreateEffect("general_eff"));
      for (const char* key : {"enable_key", "enable_beauty", "blur"}) {
        const QVGParamValue value = {QVG_PARAM_INTEGER, {.integer = 9}};
        EXPECT_TRUE(gl_.SetEffectParameter(effect.get(), key, &value));
      }
      return {TexturePtr(gl_.ApplyEffect(effect.get(), source.get())), {}};
    });
    Add("clone", [=, this]() -> Outcome { return {TexturePtr(gl_.CloneTexture(source.get())), {}}; });
    Add("clear", [=, this]() -> Outcome {
      TexturePtr texture(gl_.AcquireTexture(width, height));
      const double color[4] = {0.3, 0.6, 0.9, 0.7};
      EXPECT_TRUE(gl_.ClearTexture(texture.get(), color));
      return {std::move(texture), {}};
    });
  }
};

TEST_F(StateTest, WhatAHostLeavesChangesNoPicture) {
  unsigned buffer = 0, sampler = 0;
  glGenBuffers(1, &buffer);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
  glBufferData(GL_PIXEL_PACK_BUFFER, 1 << 20, nullptr, GL_STATIC_DRAW);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  glGenSamplers(1, &sampler);  // asks for mipmaps, which no texture here has
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
      Outcome outcome = operations_[i].run();
      EXPECT_EQ(glGetError(), 0u);
      gl_.Finish();
      ASSERT_TRUE(gl_.MakeCurrentContext(context_->handle, nullptr));
      if (outcome.texture != nullptr) outcome.read = Content(outcome.texture.get());
      ASSERT_FALSE(outcome.read.empty());
      if (expected.size() == i) expected.push_back(outcome.read);
      EXPECT_EQ(Difference(expected[i], outcome.read, 0), "");
    }
    gl_.DestroySharedContext(&context);
  }
  glDeleteBuffers(1, &buffer);
  glDeleteSamplers(1, &sampler);
  glDeleteProgram(program);
}

// As the header says. A texture that stays bound lives on when it is deleted.
TEST_F(StateTest, NothingStaysBoundOrSwitchedOn) {
  const struct {
    const char* name;
    unsigned state;
    int left;
  } states[] = {
      {"active texture", GL_ACTIVE_TEXTURE, GL_TEXTURE0},
      {"program", GL_CURRENT_PROGRAM, 0},
      {"vertex array", GL_VERTEX_ARRAY_BINDING, 0},
      {"array buffer", GL_ARRAY_BUFFER_BINDING, 0},
      {"pack buffer", GL_PIXEL_PACK_BUFFER_BINDING, 0},
      {"unpack buffer", GL_PIXEL_UNPACK_BUFFER_BINDING, 0},
      {"drawn frame buffer", GL_DRAW_FRAMEBUFFER_BINDING, 0},
      {"read frame buffer", GL_READ_FRAMEBUFFER_BINDING, 0},
      {"blending", GL_BLEND, 0},
      {"scissor", GL_SCISSOR_TEST, 0},
      {"depth test", GL_DEPTH_TEST, 0},
      {"pack row length", GL_PACK_ROW_LENGTH, 0},
      {"pack skip rows", GL_PACK_SKIP_ROWS, 0},
      {"unpack row length", GL_UNPACK_ROW_LENGTH, 0},
      {"unpack skip rows", GL_UNPACK_SKIP_ROWS, 0},
  };
  for (int frame = 0; frame < 2; ++frame) {
    for (const Operation& operation : operations_) {
      operation.run();
      for (const auto& [name, state, left] : states) {
        int value = -1;
        glGetIntegerv(state, &value);
        EXPECT_EQ(value, left) << operation.name << " leaves " << name;
      }
      for (int unit = 0; unit < 12; ++unit) {
        int texture = 0, sampler = 0;
        glActiveTexture(GL_TEXTURE0 + unit);
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &texture);
        glGetIntegerv(GL_SAMPLER_BINDING, &sampler);
        EXPECT_TRUE(texture == 0 && sampler == 0) << operation.name << " leaves unit " << unit << " bound";
      }
      glActiveTexture(GL_TEXTURE0);
    }
  }
}

}  // namespace
}  // namespace qvg::test
