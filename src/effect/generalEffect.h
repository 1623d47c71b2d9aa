#pragma once

#include <cstdint>
#include <glm/glm.hpp>
#include <string>

#include "effect/effect.h"
#include "effect/effectGroup.h"
#include "effect/imageSource.h"

namespace qvg {

/// Keys out a coloured background, smooths and whitens skin, corrects colour and lays the picture over a background
/// image, in this order and in one pass. Every stage has a switch; with all of them off nothing is drawn. A part that a
/// parameter of 0 switches off is left out of the program: there are at most 128 programs, compiled when a parameter
/// asks for one.
class GeneralEffect : public TextureEffect {
 public:
  /// The record by which the registry offers the effect.
  static const EffectGroup& Group();

  explicit GeneralEffect(const EffectServices& services);
  ~GeneralEffect() override;

  using TextureEffect::Process;
  bool SetParam(const std::string& key, const ParamValue* value) override;
  Texture* Process(Texture* frame) override;

 private:
  enum Stage : int32_t { kKey = 1, kBeauty = 2, kColor = 4, kBackground = 8 };

  struct Parameter;
  static const Parameter kParameters[];

  void _SetKeyColor(const ParamValue& value);
  void _SetBlur(float blur);
  void _SetBackground(const char* path);
  void _ReleaseBackground();
  int32_t _Stages() const;
  /// The program that does what the parameters ask for, and no more than that.
  uint32_t _Variant() const;
  /// Compiles that program now rather than with the next frame.
  void _Prepare();
  /// @param ofBackground how the background is read.
  void _SetUniforms(Pass& pass, const Texture& frame, Sampling ofBackground) const;
  Texture* _Apply(const Texture& frame, Sampling ofBackground);

  bool enableBeauty_ = false;
  bool enableKey_ = false;
  bool enableColor_ = false;
  bool enableBg_ = false;
  float whitten_ = 0;
  float blur_ = 0;
  float blurSumWeight_ = 0;
  float blurRadius_ = 0;
  glm::vec2 keyChroma_ = {0, 0};  // Cb, Cr.
  float similarity_ = 0.4f;
  float smoothness_ = 0.08f;
  float spill_ = 0.1f;
  std::string backgroundPath_;
  ImageSource::Image* background_ = nullptr;
  float brightness_ = 0;
  float temperature_ = 0;
  float highlight_ = 0;
  float shadow_ = 0;
  // No key sets these.
  float saturation_ = 0;
  float contrast_ = 0;
  float hue_ = 0;
  glm::vec3 kelvinRgbHigh_;
  glm::vec3 kelvinRgbLow_;
};

/// White of a black body at a temperature of 1000 to 40000 K, relative to daylight; values 0..1. A fit by T. Helland to
/// M. Charity's table of black-body colours.
glm::vec3 KelvinToRGB(double kelvin);

}  // namespace qvg
