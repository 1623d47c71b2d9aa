#include "effect/effect.h"

#include <vector>

#include "base/camera.h"
#include "base/content.h"
#include "base/framebuffer.h"
#include "base/program.h"
#include "base/programCache.h"
#include "base/surfaceSource.h"
#include "base/texture.h"
#include "base/vao.h"

namespace qvg {

namespace {

constexpr char kVersion[] = "#version 410 core\n";

glm::ivec2 PresentedSize(const Texture& frame) {
  return IsOddTurn(frame.rotation) ? glm::ivec2(frame.loadedHeight, frame.loadedWidth)
                                   : glm::ivec2(frame.loadedWidth, frame.loadedHeight);
}

}  // namespace

Effect::Effect(const char* typeName, const EffectServices& services) : typeName_(typeName), services_(services) {}

Effect::~Effect() {
  Unbind();
  frameBuffer_.reset();
  _ReleaseOutput();
}

bool Effect::SetParam(const std::string& /*key*/, const ParamValue* /*value*/) { return false; }

Texture* Effect::Process(Texture* first, Texture* /*second*/, float /*value*/) { return first; }

Texture* Effect::Process(Texture* frame) { return frame; }

void Effect::_ModelMatrix(glm::mat4& model) const { model = ModelTransform().Matrix(); }

bool Effect::LoadProgram(const char* name, const std::string& vertexSource, const std::string& fragmentSource) {
  if (program_ != nullptr) return true;
  program_ = services_.programs.Get(name, kVersion + vertexSource, kVersion + fragmentSource);
  return program_ != nullptr && program_->Bind();
}

bool Effect::PrepareTarget(const Texture* frame) {
  if (frame == nullptr) return false;
  const glm::ivec2 size = PresentedSize(*frame);
  if (output_ != nullptr && (output_->loadedWidth != size.x || output_->loadedHeight != size.y)) _ReleaseOutput();
  if (output_ == nullptr) output_ = services_.surfaces.AcquireTexture(size.x, size.y, GL_RGBA8);
  if (output_ == nullptr) return false;
  // A frame buffer's name belongs to one context: on another one the effect needs a new one.
  if (frameBuffer_ == nullptr || targetSize_ != size || !frameBuffer_->OnCurrentContext()) {
    frameBuffer_ = std::make_unique<FrameBuffer>(services_.surfaces);
    frameBuffer_->camera = Camera::ForCanvas(size.x, size.y);
    FrameBufferSetting setting;
    setting.width = size.x;
    setting.height = size.y;
    if (!frameBuffer_->Allocate(setting)) {
      frameBuffer_.reset();
      return false;
    }
    targetSize_ = size;
    glm::mat4 model;
    _ModelMatrix(model);
    mvp_ = frameBuffer_->camera.Projection() * frameBuffer_->camera.View() * model;
  }
  return frameBuffer_->BindColorTexture(output_) && frameBuffer_->Bind();
}

bool Effect::Unbind() {
  if (frameBuffer_ != nullptr) frameBuffer_->UnBind();
  if (program_ != nullptr) {
    program_->UnBind();
    services_.programs.Return(program_);
    program_ = nullptr;
  }
  return true;
}

bool Effect::_LoadVertices(const Texture& frame) {
  const glm::vec2 half = glm::vec2(PresentedSize(frame)) / 2.0f;
  std::vector<float> texCoords;
  for (const glm::vec2& coord : ContentTexCoords(ContentRect::Of(frame), QuarterTurns(frame.rotation), frame.flipped)) {
    texCoords.insert(texCoords.end(), {coord.x, coord.y});
  }
  const bool positions =
      vbo_.SetPositions({-half.x, half.y, 0, -half.x, -half.y, 0, half.x, -half.y, 0, half.x, half.y, 0});
  return vbo_.SetTexCoords(texCoords) && positions;
}

bool Effect::_LoadIndices() {
  ebo_.mode = GL_TRIANGLES;
  return ebo_.LoadIndices({0, 1, 2, 2, 3, 0});
}

bool Effect::_Draw(VBO* vbo, EBO* ebo) { return DrawElements(*vbo, *ebo); }

Texture* Effect::_TakeOutput() {
  frameBuffer_->UnbindColorTexture();
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  Texture* output = output_;
  output_ = nullptr;
  return output;
}

void Effect::_ReleaseOutput() {
  if (output_ == nullptr) return;
  if (frameBuffer_ != nullptr && frameBuffer_->OnCurrentContext()) frameBuffer_->UnbindColorTexture();
  services_.surfaces.ReleaseTexture(output_);
}

}  // namespace qvg
