#include "bench/bareGL.h"

#include <glad/gl.h>

#include <array>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/bareShaders.h"

namespace bench {

namespace {

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error("bare GL: " + what); }

GLuint Compile(GLenum type, const std::string& source) {
  const GLuint shader = glCreateShader(type);
  const char* text = source.c_str();
  glShaderSource(shader, 1, &text, nullptr);
  glCompileShader(shader);
  GLint done = 0;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &done);
  if (done == 0) {
    char log[2000] = "";
    glGetShaderInfoLog(shader, sizeof log, nullptr, log);
    Fail(log);
  }
  return shader;
}

/// Bound when it is made, as all things here, so that its uniforms can be set.
class Program {
 public:
  Program() = default;
  Program(const char* vertex, const char* fragment, const std::string& switches = "") : name_(glCreateProgram()) {
    const std::string head = "#version 410 core\n" + switches;
    for (const GLuint shader :
         {Compile(GL_VERTEX_SHADER, head + vertex), Compile(GL_FRAGMENT_SHADER, head + fragment)}) {
      glAttachShader(name_, shader);
      glDeleteShader(shader);
    }
    glLinkProgram(name_);
    GLint linked = 0;
    glGetProgramiv(name_, GL_LINK_STATUS, &linked);
    if (linked == 0) Fail("a program does not link");
    glUseProgram(name_);
  }

  void Use() const { glUseProgram(name_); }
  GLint Find(const char* uniform) const { return glGetUniformLocation(name_, uniform); }
  void Set(const char* uniform, int value) const { glUniform1i(Find(uniform), value); }
  void Set(const char* uniform, float value) const { glUniform1f(Find(uniform), value); }
  void Set(const char* uniform, float x, float y) const { glUniform2f(Find(uniform), x, y); }
  void Set(const char* uniform, float x, float y, float z) const { glUniform3f(Find(uniform), x, y, z); }

 private:
  GLuint name_ = 0;
};

struct Texture {
  GLuint name = 0;
  int width = 0;
  int height = 0;

  Texture() = default;
  Texture(GLenum format, GLint filter, int itsWidth, int itsHeight) : width(itsWidth), height(itsHeight) {
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glTexStorage2D(GL_TEXTURE_2D, 1, format, width, height);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  }

  void Bind(int unit) const {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    glBindTexture(GL_TEXTURE_2D, name);
  }

  /// To the unit that is active.
  void Load(GLenum format, const uint8_t* pixels) const {
    glBindTexture(GL_TEXTURE_2D, name);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, format, GL_UNSIGNED_BYTE, pixels);
  }
};

/// A frame buffer with its textures.
struct Target {
  GLuint name = 0;
  std::vector<Texture> textures;

  Target() = default;
  Target(const std::vector<GLenum>& formats, int width, int height) {
    glGenFramebuffers(1, &name);
    glBindFramebuffer(GL_FRAMEBUFFER, name);
    std::vector<GLenum> buffers;
    for (const GLenum format : formats) {
      buffers.push_back(GL_COLOR_ATTACHMENT0 + static_cast<GLenum>(buffers.size()));
      textures.emplace_back(format, GL_NEAREST, width, height);
      glFramebufferTexture2D(GL_FRAMEBUFFER, buffers.back(), GL_TEXTURE_2D, textures.back().name, 0);
    }
    glDrawBuffers(static_cast<GLsizei>(buffers.size()), buffers.data());
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) Fail("a frame buffer is not complete");
  }

  const Texture& First() const { return textures.front(); }
  void Bind() const {
    glBindFramebuffer(GL_FRAMEBUFFER, name);
    glViewport(0, 0, First().width, First().height);
  }
};

/// A context in which the state that all works share is set once.
class Bare : public Renderer {
 public:
  Bare(std::unique_ptr<BareContext> context, Size size)
      : context_(std::move(context)), size_(size), pictures_(PicturesOf(size)) {
    context_->MakeCurrent();
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glDisable(GL_DITHER);
    GLuint vertexArray = 0;
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
    glBufferData(GL_PIXEL_PACK_BUFFER, static_cast<GLsizeiptr>(size.Pixels() * 4), nullptr, GL_DYNAMIC_READ);
  }

  void MakeCurrent() override { context_->MakeCurrent(); }

 protected:
  /// rowLength 0: as wide as the part.
  static void _Transfer(const Texture& part, GLenum attachment, GLenum format, int rowLength, size_t offset) {
    glReadBuffer(attachment);
    glPixelStorei(GL_PACK_ROW_LENGTH, rowLength);
    glReadPixels(0, 0, part.width, part.height, format, GL_UNSIGNED_BYTE, reinterpret_cast<void*>(offset));
  }

  static int _Look(size_t bytes, std::vector<uint8_t>* result) {
    const auto* mapped = static_cast<const uint8_t*>(
        glMapBufferRange(GL_PIXEL_PACK_BUFFER, 0, static_cast<GLsizeiptr>(bytes), GL_MAP_READ_BIT));
    if (mapped == nullptr) Fail("the result can't be mapped");
    const int seen = mapped[0] + mapped[bytes - 1];
    if (result != nullptr) result->assign(mapped, mapped + bytes);
    glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
    return seen;
  }

  /// RGBA, of the frame buffer that is bound.
  int _ReadRGBA(const Texture& picture, std::vector<uint8_t>* result) const {
    _Transfer(picture, GL_COLOR_ATTACHMENT0, GL_RGBA, 0, 0);
    return _Look(size_.Pixels() * 4, result);
  }

  static void _DrawScreen() { glDrawArrays(GL_TRIANGLES, 0, 3); }

  const std::unique_ptr<BareContext> context_;
  const Size size_;
  const Pictures& pictures_;
};

class UpAndDown : public Bare {
 public:
  UpAndDown(std::unique_ptr<BareContext> context, Size size)
      : Bare(std::move(context), size), picture_({GL_RGBA8}, size.width, size.height) {}

  int Frame(std::vector<uint8_t>* result) override {
    picture_.First().Load(GL_RGBA, pictures_.rgba.data());
    return _ReadRGBA(picture_.First(), result);
  }

 private:
  Target picture_;
};

/// YUV into RGBA, perhaps the effect, and back.
class Video : public Bare {
 public:
  Video(std::unique_ptr<BareContext> context, Work work, Size size)
      : Bare(std::move(context), size),
        work_(work),
        planar_(work == Work::kI420ToI420),
        effect_(work == Work::kKeyToNV12 || work == Work::kAllToNV12),
        rgb_({GL_RGBA8}, size.width, size.height) {
    if (effect_) _MakeEffect(work == Work::kAllToNV12 ? kAllStages : kKeyOnly);
    _MakeUpload();
    if (work != Work::kNV12ToRGBA) _MakeReadBack();
  }

  int Frame(std::vector<uint8_t>* result) override {
    _Upload();
    rgb_.Bind();
    toRGB_.Use();
    _DrawScreen();
    if (work_ == Work::kNV12ToRGBA) return _ReadRGBA(rgb_.First(), result);
    if (effect_) {
      rgb_.First().Bind(0);
      shown_.Bind();
      effectProgram_.Use();
      _DrawScreen();
    }
    (effect_ ? shown_ : rgb_).First().Bind(0);
    blocks_.Bind();
    to420_.Use();
    _DrawScreen();
    return _Read420(result);
  }

 private:
  std::string _Switches() const { return "#define PLANAR " + std::to_string(planar_ ? 1 : 0) + "\n"; }

  void _MakeUpload() {
    const int width = size_.width / 2;
    const int height = size_.height / 2;
    luma_ = Texture(GL_R8, GL_LINEAR, size_.width, size_.height);
    chroma_ = Texture(planar_ ? GL_R8 : GL_RG8, GL_LINEAR, width, height);
    chromaV_ = Texture(GL_R8, GL_LINEAR, width, height);
    toRGB_ = Program(kToRGBVertex, kToRGB, _Switches());
    toRGB_.Set("chroma", 1);
    if (planar_) toRGB_.Set("chromaV", 2);
    const auto rate = [](int texels) { return static_cast<float>(texels - 1) / static_cast<float>(texels); };
    toRGB_.Set("lumaRate", rate(size_.width), rate(size_.height));
    toRGB_.Set("chromaRate", rate(width), rate(height));
  }

  void _MakeReadBack() {
    const std::vector<GLenum> packed = {GL_RGBA8, GL_RGBA8, GL_RGBA8};
    const std::vector<GLenum> planes = {GL_RGBA8, GL_RGBA8, GL_RG8, GL_RG8};
    blocks_ = Target(planar_ ? planes : packed, size_.width / 4, size_.height / 2);
    to420_ = Program(kScreenVertex, kTo420, _Switches());
  }

  void _MakeEffect(const EffectSettings& settings) {
    const bool all = settings.blur > 0;
    shown_ = Target({GL_RGBA8}, size_.width, size_.height);
    // Stays bound to a unit that nothing else uses.
    background_ = Texture(GL_RGBA8, GL_NEAREST, size_.width, size_.height);
    background_.Bind(3);
    background_.Load(GL_BGRA, pictures_.background.data());
    glActiveTexture(GL_TEXTURE0);
    const Program& p = effectProgram_ =
        Program(kScreenVertex, kEffect, "#define ALL " + std::to_string(all ? 1 : 0) + "\n");
    p.Set("background", 3);
    p.Set("keyOffset", 0.338572f, 0.398942f);
    p.Set("similarity", static_cast<float>(settings.similarity) / 1000);
    p.Set("perSmoothness", 1000 / static_cast<float>(settings.smoothness));
    p.Set("perSpill", 1000 / static_cast<float>(settings.spill));
    if (!all) return;
    const auto share = [](int percent) { return static_cast<float>(percent) / 100; };
    _SetBlur(settings.blur);
    p.Set("blurLevel", share(settings.blur));
    p.Set("whiten", share(settings.whitten), 255 / std::log2(1 + share(settings.whitten)));
    p.Set("brightness", share(settings.bright));
    p.Set("temperature", share(settings.temperature));
    // The white of 1000 K; bluer ones are for negative temperatures.
    p.Set("kelvin", 1, std::log(10.0f) * 0.3900815788f - 0.6318414438f, 0);
    p.Set("lightPowers", 1 / (1 + share(settings.shadow)), 1 / (1 - share(settings.highlight)));
  }

  // A Gauss curve's weights, each the one before times a ratio that itself shrinks by a fixed one.
  void _SetBlur(int radius) const {
    const double sigma = radius / 3.0;
    double sum = 0;
    for (int i = 0; i < radius; ++i) sum += std::exp(-i * i / (2 * sigma * sigma)) * (i == 0 ? 1 : 2);
    effectProgram_.Set("blurTaps", radius);
    effectProgram_.Set("blurWeights", static_cast<float>(1 / sum),
                       static_cast<float>(std::exp(-1 / (2 * sigma * sigma))),
                       static_cast<float>(std::exp(-1 / (sigma * sigma))));
  }

  void _Upload() const {
    const uint8_t* bytes = (planar_ ? pictures_.i420 : pictures_.nv12).data();
    if (planar_) {
      glActiveTexture(GL_TEXTURE2);
      chromaV_.Load(GL_RED, bytes + size_.Pixels() * 5 / 4);
    }
    glActiveTexture(GL_TEXTURE1);
    chroma_.Load(planar_ ? GL_RED : GL_RG, bytes + size_.Pixels());
    glActiveTexture(GL_TEXTURE0);
    luma_.Load(GL_RED, bytes);
  }

  int _Read420(std::vector<uint8_t>* result) const {
    const size_t pixels = size_.Pixels();
    const auto width = static_cast<size_t>(size_.width);
    // Luma: every second row, whose texels are four bytes each.
    _Transfer(blocks_.textures[0], GL_COLOR_ATTACHMENT0, GL_RGBA, size_.width / 2, 0);
    _Transfer(blocks_.textures[1], GL_COLOR_ATTACHMENT1, GL_RGBA, size_.width / 2, width);
    if (planar_) {
      _Transfer(blocks_.textures[2], GL_COLOR_ATTACHMENT2, GL_RG, 0, pixels);
      _Transfer(blocks_.textures[3], GL_COLOR_ATTACHMENT3, GL_RG, 0, pixels * 5 / 4);
    } else {
      _Transfer(blocks_.textures[2], GL_COLOR_ATTACHMENT2, GL_RGBA, 0, pixels);
    }
    return _Look(pixels * 3 / 2, result);
  }

  const Work work_;
  const bool planar_;
  const bool effect_;
  Texture luma_;
  Texture chroma_;
  Texture chromaV_;
  Texture background_;
  Target rgb_;
  Target shown_;
  Target blocks_;
  Program toRGB_;
  Program effectProgram_;
  Program to420_;
};

class Layers : public Bare {
 public:
  Layers(std::unique_ptr<BareContext> context, Work work, Size size)
      : Bare(std::move(context), size),
        target_({GL_RGBA8}, size.width, size.height),
        program_(kLayerVertex, kLayer, work == Work::kMultiplyLayers ? "#define MULTIPLY 1\n" : "#define MULTIPLY 0\n"),
        opacity_(program_.Find("opacity")),
        layers_(MakeLayers(size)) {
    program_.Set("target", 1);
    target_.First().Bind(1);
    glActiveTexture(GL_TEXTURE0);
    for (int i = 0; i < kLayerPictures; ++i) {
      textures_[static_cast<size_t>(i)] = Texture(GL_RGBA8, GL_NEAREST, kLayerSize, kLayerSize);
      textures_[static_cast<size_t>(i)].Load(GL_RGBA, MakeLayerPicture(i).data());
    }
  }

  int Frame(std::vector<uint8_t>* result) override {
    glClearBufferfv(GL_COLOR, 0, kLayerGround);
    for (size_t i = 0; i < layers_.size(); ++i) {
      const Layer& layer = layers_[i];
      glBindTexture(GL_TEXTURE_2D, textures_[i % kLayerPictures].name);
      glUniform1f(opacity_, layer.opacity);
      glViewport(layer.x, layer.y, kLayerSize, kLayerSize);
      glTextureBarrier();
      glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    }
    glFinish();
    return result != nullptr ? _ReadRGBA(target_.First(), result) : 0;
  }

 private:
  Target target_;
  Program program_;
  const GLint opacity_;
  const std::vector<Layer> layers_;
  std::array<Texture, kLayerPictures> textures_;
};

}  // namespace

std::unique_ptr<Renderer> MakeBareRenderer(std::unique_ptr<BareContext> context, Work work, Size size) {
  switch (work) {
    case Work::kRGBAToRGBA:
      return std::make_unique<UpAndDown>(std::move(context), size);
    case Work::kMultiplyLayers:
    case Work::kNormalLayers:
      return std::make_unique<Layers>(std::move(context), work, size);
    default:
      return std::make_unique<Video>(std::move(context), work, size);
  }
}

}  // namespace bench
