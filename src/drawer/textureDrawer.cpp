#include "drawer/textureDrawer.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "base/surfaceSource.h"
#include "base/texture.h"
#include "drawer/shaders.h"

namespace qvg {

namespace {

using shaders::quadColor_vert;
using shaders::texture_glsl;
using shaders::textureBackground_glsl;
using shaders::textureMatte_glsl;

enum Uniform {
  kMainBounds = Pass::kFirstOwnUniform,
  kOpacity,
  kResolution,
  kTargetOrigin,
  kMatteOrigin,
  kMatteExtent,
  kMatteBounds,
  kSimpleMatte,
  kBgOrigin
};
enum Sampler { kMain, kMatte, kBackground };

// The lowest bits of a variant, in the order of the switches.
enum Variant : uint32_t {
  kMainPremultiplied = 1,
  kVertexColor = 2,
  kCrop = 4,
  kMattePremultiplied = 8,
  kMatteType = 16,
  kBlendType = 16 * 8
};

constexpr ProgramKind TextureKind(const char* name, const char* part2, const char* part3 = nullptr,
                                  const char* part4 = nullptr, const char* part5 = nullptr) {
  return {.name = name,
          .vertex = {quadColor_vert},
          .fragment = {texture_glsl, part2, part3, part4, part5},
          .uniforms = {"mvpMat", "texcoordMat", "mainTextureBounds", "opacity", "resolution", "targetOrigin",
                       "matteTextureOrigin", "matteTextureExtent", "matteTextureBounds", "simpleMatte", "bgOrigin"},
          .samplers = {{"mainTexture", 1}, {"matteTexture", 2}, {"bgTexture", 3}},
          .switches = {
              {"MAIN_PREMULTIPLIED"}, {"VERTEX_COLOR"}, {"CROP"}, {"MATTE_PREMULTIPLIED"}, {"MATTE", 3}, {"BLEND", 6}}};
}

constexpr ProgramKind kSimpleKind = TextureKind("TextureDrawerShaderProgram_Simple", shaders::textureSimple_frag);
constexpr ProgramKind kNoBlendKind =
    TextureKind("TextureDrawerShaderProgram_NoBlend", textureMatte_glsl, shaders::textureNoBlend_frag);
constexpr ProgramKind kSimpleNormalBlendKind = TextureKind(
    "TextureDrawerShaderProgram_SimpleNormalBlend", textureBackground_glsl, shaders::textureSimpleNormalBlend_frag);
constexpr ProgramKind kBlendKind =
    TextureKind("TextureDrawerShaderProgram_Blend", textureMatte_glsl, textureBackground_glsl,
                shaders::textureBlend_glsl, shaders::textureBlend_frag);

// The types with a formula of their own; all others blend normally.
constexpr int32_t kBlendTypes[] = {1, 6, 7, 8, 10, 11, 16, 19, 26, 27, 30, 31, 32, 33, 34, 35};

bool DoesMatte(const TextureDrawer::Parameters& parameters) {
  return parameters.matteTexture != nullptr && parameters.matteType >= 1 && parameters.matteType <= 4;
}

uint32_t VariantOf(const TextureDrawer::Parameters& parameters) {
  const auto premultiplied = [&](const Texture* texture) {
    return texture != nullptr && !parameters.asStored && texture->presentation.alpha == AlphaForm::kPremultiplied;
  };
  uint32_t variant = premultiplied(parameters.mainTexture) ? kMainPremultiplied : 0u;
  if (parameters.mainTexture == nullptr) variant |= kVertexColor;
  if (parameters.simpleMatte) variant |= kCrop;
  if (DoesMatte(parameters)) {
    variant |= static_cast<uint32_t>(parameters.matteType) * kMatteType;
    if (premultiplied(parameters.matteTexture)) variant |= kMattePremultiplied;
  }
  if (std::find(std::begin(kBlendTypes), std::end(kBlendTypes), parameters.blendType) != std::end(kBlendTypes)) {
    variant |= static_cast<uint32_t>(parameters.blendType) * kBlendType;
  }
  return variant;
}

const ProgramKind& KindOf(const TextureDrawer::Parameters& parameters) {
  const bool hasMatte =
      parameters.matteType != 0 && parameters.matteTexture != nullptr;  // also of a type without effect
  const bool simple = parameters.mainTexture != nullptr && !hasMatte && !parameters.simpleMatte;
  if (parameters.blendType == TextureDrawer::kNoBlend) return simple ? kSimpleKind : kNoBlendKind;
  return parameters.blendType == TextureDrawer::kNormalBlend && simple ? kSimpleNormalBlendKind : kBlendKind;
}

// Whether every pixel's centre coincides with a texel's: then the nearest texel is what a linear filter would give, but
// cheaper.
bool MeetsTexels(const glm::mat4& mvp, const ContentRect& target, glm::vec2 picture) {
  constexpr float kTolerance = 1.0f / 1024;
  const auto isWhole = [](float value) { return std::abs(value - std::round(value)) < kTolerance; };
  const glm::vec2 pixels(target.width, target.height);
  const bool flat = mvp[0][3] == 0 && mvp[1][3] == 0 && mvp[3][3] == 1;
  const glm::vec2 size = glm::abs(glm::vec2(mvp[0][0], mvp[1][1])) * pixels;
  const glm::vec2 corner = (glm::vec2(mvp[3]) - glm::abs(glm::vec2(mvp[0][0], mvp[1][1])) + 1.0f) / 2.0f * pixels;
  return flat && mvp[0][1] == 0 && mvp[1][0] == 0 && std::abs(size.x - picture.x) < kTolerance &&
         std::abs(size.y - picture.y) < kTolerance && isWhole(corner.x) && isWhole(corner.y);
}

}  // namespace

bool TextureDrawer::Draw(const Scene* scene, const Parameters& parameters) {
  if (!_HasScene(scene)) return false;
  const RenderTarget& target = scene->target;
  if (target.frameBuffer == 0) return false;
  const ContentRect& content = target.content;
  const bool blends = parameters.blendType != kNoBlend;
  if (blends && !content.IsInside()) return false;
  const bool sampleTarget = blends && target.texture != nullptr && glTextureBarrier != nullptr;
  const TextureLoan copied =
      blends && !sampleTarget ? TextureLoan(surfaces_, content.width, content.height, GL_RGBA8) : TextureLoan();
  if (blends && !sampleTarget && !(copied && CopyContent(target, *copied))) return false;

  const Texture* const main = parameters.mainTexture;
  const ContentRect& picture = main != nullptr ? main->Content() : content;
  const uint32_t rotation = main != nullptr && parameters.applyRotation ? main->presentation.rotation : 0;
  glm::dvec2 size(picture.width, picture.height);
  if (IsOddTurn(rotation)) size = {size.y, size.x};
  const glm::vec2 unscaled = size;
  if (parameters.useSizeFactor) size *= parameters.sizeFactor;
  const glm::mat4 mvp = QuadMatrix(*scene, size, parameters.model, parameters.anchor);

  Pass pass(programs_, KindOf(parameters), VariantOf(parameters), target);
  if (!pass.Ready()) return false;
  pass.Set(kOpacity, parameters.opacity);
  if (main != nullptr) {
    pass.Set(kMainBounds, picture.SampleBounds());
    pass.SetTexture(kMain, *main, MeetsTexels(mvp, content, unscaled) ? Sampling::kNearest : Sampling::kAsSet);
  }
  if (DoesMatte(parameters) || parameters.simpleMatte) {
    pass.Set(kResolution, glm::vec2(content.width, content.height));
    pass.Set(kTargetOrigin, glm::vec2(content.x, content.y));
  }
  if (DoesMatte(parameters)) {
    const ContentRect& matte = parameters.matteTexture->Content();
    pass.Set(kMatteOrigin, matte.Origin());
    pass.Set(kMatteExtent, matte.Extent());
    pass.Set(kMatteBounds, matte.SampleBounds());
    pass.SetTexture(kMatte, *parameters.matteTexture);
  }
  if (parameters.simpleMatte) pass.Set(kSimpleMatte, parameters.simpleMatteSize);
  if (sampleTarget) {
    glTextureBarrier();
    pass.Set(kBgOrigin, glm::vec2(0, 0));
    pass.SetTexture(kBackground, *target.texture);
  } else if (blends) {
    pass.Set(kBgOrigin, glm::vec2(content.x - copied->Content().x, content.y - copied->Content().y));
    pass.SetTexture(kBackground, *copied);
  }
  if (parameters.depthTest) {
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glDepthMask(GL_TRUE);
    glDepthRange(0, 1);
    glDisable(GL_DEPTH_CLAMP);
  }
  pass.Draw(mvp, ContentTexMatrix(picture, QuarterTurns(rotation)));
  if (parameters.depthTest) glDisable(GL_DEPTH_TEST);
  return pass.End();
}

}  // namespace qvg
