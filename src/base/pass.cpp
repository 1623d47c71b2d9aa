#include "base/pass.h"

#include "base/contextState.h"
#include "base/glError.h"
#include "base/programCache.h"
#include "base/quad.h"
#include "base/texture.h"

namespace qvg {

Pass::Pass(ProgramCache& programs, const ProgramKind& kind, uint32_t variant, const RenderTarget& target)
    : context_(CurrentContext()) {
  if (context_ == nullptr || target.frameBuffer == 0) return;
  FlushContextObjects();
  program_ = programs.Of(kind, variant);
  if (program_ == nullptr) return;
  if (context_->quad == nullptr) context_->quad = std::make_unique<Quad>();
  quad_ = context_->quad.get();
  if (quad_->Ready()) {
    _Begin(target);
  } else {
    context_->quad.reset();
  }
}

Pass::Pass(Program& program, Quad& quad, const RenderTarget& target)
    : context_(CurrentContext()), program_(&program), quad_(&quad) {
  if (context_ != nullptr && quad.Ready()) _Begin(target);
}

Pass::~Pass() {
  if (begun_) End();
}

void Pass::_Begin(const RenderTarget& target) {
  begun_ = true;
  group_.Open(DebugGroupKind::kPass, program_->CacheName().c_str());
  context_->worked = true;
  SetDrawState();
  glBindFramebuffer(GL_FRAMEBUFFER, target.frameBuffer);
  if (target.texture != nullptr) target.texture->NoteDrawn(*context_);
  glViewport(target.content.x, target.content.y, target.content.width, target.content.height);
  ready_ = program_->Bind();
}

void Pass::SetTexture(int sampler, const Texture& texture, Sampling sampling) {
  const int unit = program_->Kind() != nullptr ? program_->Kind()->samplers[sampler].unit : sampler;
  const bool nearest = sampling == Sampling::kNearest;
  texture.NoteSampled(*context_);
  glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
  glBindTexture(texture.Target(), texture.Id());
  glBindSampler(static_cast<GLuint>(unit), nearest ? context_->NearestSampler() : 0);
  textures_[textureCount_++] = {unit, texture.Target(), nearest};
}

void Pass::Draw() { quad_->Draw(); }

void Pass::Draw(const glm::mat4& mvp, const glm::mat3& texcoords) {
  Set(kMvpMat, mvp);
  Set(kTexcoordMat, texcoords);
  Draw();
}

bool Pass::End(SourceLocation where) {
  const bool drawn = ready_;
  _Unbind();
  return CheckGLError(where) && drawn;
}

void Pass::_Unbind() {
  if (!begun_) return;
  begun_ = false;
  ready_ = false;
  // A texture that stays bound to a unit would outlive its deletion.
  while (textureCount_ > 0) {
    const BoundTexture& bound = textures_[--textureCount_];
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(bound.unit));
    glBindTexture(bound.target, 0);
    if (bound.sampler) glBindSampler(static_cast<GLuint>(bound.unit), 0);
  }
  glActiveTexture(GL_TEXTURE0);
  glUseProgram(0);
  glBindVertexArray(0);
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  group_.Close();
}

}  // namespace qvg
