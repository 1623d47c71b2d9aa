#include "effect/effect.h"

#include "base/surfaceSource.h"
#include "base/texture.h"

namespace qvg {

Texture* TextureEffect::_Draw(const Texture& frame, const ProgramKind& kind, uint32_t variant, int sampler,
                              const std::function<void(Pass&)>& setUp) {
  const ContentRect& content = frame.Content();
  if (!content.IsInside()) return nullptr;
  const Presentation& look = frame.presentation;
  const bool odd = IsOddTurn(look.rotation);
  TextureLoan output(services_.surfaces, odd ? content.height : content.width, odd ? content.width : content.height,
                     GL_RGBA8);
  if (!output) return nullptr;
  Pass pass(services_.programs, kind, variant, RenderTarget::On(*output));
  if (!pass.Ready()) return nullptr;
  pass.SetTexture(sampler, frame, Sampling::kNearest);
  setUp(pass);
  // Untransformed, the quad covers the output.
  pass.Draw(glm::mat4(1), ContentTexMatrix(content, QuarterTurns(look.rotation), look.flipped));
  if (!pass.End()) return nullptr;
  output->presentation.alpha = AlphaForm::kPremultiplied;
  return output.Take();
}

}  // namespace qvg
