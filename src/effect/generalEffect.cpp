#include "effect/generalEffect.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string_view>

#include "base/content.h"
#include "base/contextState.h"
#include "base/programCache.h"
#include "base/surfaceSource.h"
#include "base/texture.h"
#include "effect/shaders.h"
#include "utils/slotCall.h"

namespace qvg {

namespace {

constexpr char kGroupName[] = "general_eff";
constexpr double kHighKelvin = 40000;
constexpr double kLowKelvin = 1000;
constexpr int kTrialSize = 6;  // no power of two, as frames are

/// What an integer in percent or per mille is divided by.
constexpr float kPerMille = 1000;
constexpr float kPercent = 100;

enum Uniform {
  kTextureSize = Pass::kFirstOwnUniform,
  kTextureBounds,
  kChromaKeyColor,
  kSimilarity,
  kSmoothness,
  kSpill,
  kKeyUVFactor,
  kKeyBGBounds,
  kWhitten,
  kBlur,
  kBlurSumWeight,
  kBlurRadius,
  kBlurSingleOffset,
  kKelvinHigh,
  kKelvinLow,
  kBrightness,
  kTemperature,
  kHighlight,
  kShadow,
  kSaturation,
  kContrast,
  kHue
};
enum Sampler { kMainTexture, kBackgroundTexture };

constexpr ProgramKind kKind = {
    .name = "genaralEffect",
    .vertex = {shaders::effect_vert},
    .fragment = {shaders::frame_glsl, shaders::key_glsl, shaders::beauty_glsl, shaders::color_glsl,
                 shaders::generalEffect_frag},
    .uniforms = {"mvpMat",        "texcoordMat", "texture_size",     "texture_bounds",  "chromaKeyColor", "similarity",
                 "smoothness",    "spill",       "keyUVFactor",      "keyBGBounds",     "whitten",        "blur",
                 "blurSumWeight", "blurRadius",  "blurSingleOffset", "kelvin_rgb_high", "kelvin_rgb_low", "brightness",
                 "temperature",   "highlight",   "shadow",           "saturation",      "contrast",       "hue"},
    .samplers = {{"main_texture", 1}, {"keyBGTexure", 3}},
    .switches = {{"KEY"}, {"BLUR"}, {"WHITTEN"}, {"HSV"}, {"CONTRAST"}, {"TEMPERATURE"}, {"LIGHT"}, {"BACKGROUND"}}};

/// Maps texture coordinates of the frame to those of a background that is upright in the presented frame and stretched
/// over it. For row vectors: (u, v, 1) * matrix.
glm::mat3 BackgroundMapping(const Texture& frame, const Texture& background) {
  const auto ofPresented = [](const Texture& texture) {
    return ContentTexMatrix(texture.Content(), QuarterTurns(texture.presentation.rotation),
                            texture.presentation.flipped);
  };
  // Written for column vectors, from right to left, and transposed.
  return glm::transpose(ofPresented(background) * glm::inverse(ofPresented(frame)));
}

/// Whether the background's texels coincide with the frame's.
bool MeetsTexels(const Texture& frame, const Texture& background) {
  const auto presented = [](const Texture& texture) {
    const glm::ivec2 size(texture.Content().width, texture.Content().height);
    return IsOddTurn(texture.presentation.rotation) ? glm::ivec2(size.y, size.x) : size;
  };
  return presented(frame) == presented(background);
}

}  // namespace

/// One row of the parameter table: what the host sees, and what setting it does.
struct GeneralEffect::Parameter {
  const char* key;
  const char* label;
  int32_t controlKind;
  int32_t valueType;
  int64_t defaultValue;
  int64_t minimum;
  int64_t maximum;
  float divisor;                 // Integers: of the value that is kept.
  float GeneralEffect::*number;  // Where integers are kept.
  bool GeneralEffect::*enabled;  // Where switches are kept.
};

// Checked in this order; the first row with the key decides.
const GeneralEffect::Parameter GeneralEffect::kParameters[] = {
    {"color", "背景色", 2, QVG_PARAM_COLOR, 0, 0, 0, 0, nullptr, nullptr},
    {"similarity", "相似度", 0, QVG_PARAM_INTEGER, 400, 1, 1000, kPerMille, &GeneralEffect::similarity_, nullptr},
    {"smoothness", "平滑", 0, QVG_PARAM_INTEGER, 80, 1, 1000, kPerMille, &GeneralEffect::smoothness_, nullptr},
    {"anti-spill", "背景色溢出抑制", 0, QVG_PARAM_INTEGER, 100, 1, 1000, kPerMille, &GeneralEffect::spill_, nullptr},
    {"bgfile", "背景图", 2, QVG_PARAM_TEXT, 0, 0, 0, 0, nullptr, nullptr},
    {"whitten", "美白", 0, QVG_PARAM_INTEGER, 0, 0, 100, kPercent, &GeneralEffect::whitten_, nullptr},
    {"blur", "磨皮", 0, QVG_PARAM_INTEGER, 0, 0, 100, kPercent, &GeneralEffect::blur_, nullptr},
    {"bright", "曝光", 0, QVG_PARAM_INTEGER, 0, -100, 100, kPercent, &GeneralEffect::brightness_, nullptr},
    {"temperature", "色温", 0, QVG_PARAM_INTEGER, 0, -100, 100, kPercent, &GeneralEffect::temperature_, nullptr},
    {"highlight", "高光", 0, QVG_PARAM_INTEGER, 0, 0, 100, kPercent, &GeneralEffect::highlight_, nullptr},
    {"shadow", "阴影", 0, QVG_PARAM_INTEGER, 0, 0, 100, kPercent, &GeneralEffect::shadow_, nullptr},
    {"enable_key", "是否抠像", 2, QVG_PARAM_BOOLEAN, 0, 0, 0, 0, nullptr, &GeneralEffect::enableKey_},
    {"enable_beauty", "是否美颜", 2, QVG_PARAM_BOOLEAN, 0, 0, 0, 0, nullptr, &GeneralEffect::enableBeauty_},
    {"enable_color", "是否调整颜色", 2, QVG_PARAM_BOOLEAN, 0, 0, 0, 0, nullptr, &GeneralEffect::enableColor_},
    {"enable_bg", "是否叠加背景", 2, QVG_PARAM_BOOLEAN, 0, 0, 0, 0, nullptr, &GeneralEffect::enableBg_},
};

const EffectGroup& GeneralEffect::Group() {
  constexpr size_t kCount = std::size(kParameters);
  static const auto descriptors = [] {
    std::array<QVGParamDescriptor, kCount> table = {};
    for (size_t i = 0; i < kCount; ++i) {
      const Parameter& row = kParameters[i];
      QVGParamDescriptor& descriptor = table[i];
      std::strncpy(descriptor.name, row.key, sizeof descriptor.name - 1);
      std::strncpy(descriptor.label, row.label, sizeof descriptor.label - 1);
      descriptor.controlKind = row.controlKind;
      descriptor.valueType = descriptor.valueType2 = row.valueType;
      for (QVGParamValue* value :
           {&descriptor.defaultValue, &descriptor.minimum, &descriptor.maximum, &descriptor.step}) {
        value->type = row.valueType;
      }
      if (row.valueType == QVG_PARAM_INTEGER) {
        descriptor.defaultValue.value.integer = row.defaultValue;
        descriptor.minimum.value.integer = row.minimum;
        descriptor.maximum.value.integer = row.maximum;
        descriptor.step.value.integer = 1;
      } else if (row.valueType == QVG_PARAM_COLOR) {
        descriptor.defaultValue.value.color[1] = 1;
      }
    }
    return table;
  }();
  static const EffectGroup group = {
      kGroupName,
      1,
      descriptors.data(),
      static_cast<uint32_t>(kCount),
      [](const EffectServices& services) -> Effect* { return new GeneralEffect(services); },
      [](const char* locale) {
        const std::string_view name = locale;
        return name.empty() || name == "zh_CN" || name == "zh" ? "画面特效" : kGroupName;
      }};
  return group;
}

glm::vec3 KelvinToRGB(double kelvin) {
  const double t = std::clamp(kelvin, kLowKelvin, kHighKelvin) / 100;
  double red = 1;
  double green = 0;
  double blue = 1;
  if (t <= 66) {
    green = std::log(t) * 0.3900815787690196 - 0.6318414437886275;
  } else {
    red = 1.292936186062745 * std::pow(t - 60, -0.1332047592);
    green = 1.1298908608952942 * std::pow(t - 60, -0.0755148492);
  }
  if (t <= 19) {
    blue = 0;
  } else if (t < 66) {
    blue = std::log(t - 10) * 0.543206789110196 - 1.19625408914;
  }
  return glm::clamp(glm::vec3(red, green, blue), 0.0f, 1.0f);
}

GeneralEffect::GeneralEffect(const EffectServices& services)
    : TextureEffect(kGroupName, services),
      kelvinRgbHigh_(KelvinToRGB(kHighKelvin)),
      kelvinRgbLow_(KelvinToRGB(kLowKelvin)) {}

GeneralEffect::~GeneralEffect() { _ReleaseBackground(); }

void GeneralEffect::_SetKeyColor(const ParamValue& value) {
  const double(&c)[3] = value.value.color;
  // Not std::clamp, which lets NaN through.
  const auto unit = [](double part) { return part > 0 ? std::min(part, 1.0) : 0.0; };
  const double r = unit(c[0]);
  const double g = unit(c[1]);
  const double b = unit(c[2]);
  keyChroma_ = {-0.100644 * r - 0.338572 * g + 0.439216 * b + 0.501961,
                0.439216 * r - 0.398942 * g - 0.040274 * b + 0.501961};
}

void GeneralEffect::_SetBlur(float blur) {
  blur_ = blur;
  // The percentage as it was set: as a fraction it may have lost its last bit.
  const int radius = static_cast<int>(std::lround(blur * kPercent));
  blurRadius_ = static_cast<float>(radius);
  blurSumWeight_ = 0;
  if (radius < 1) return;
  const double sigma = radius / 3.0;
  const double norm = 1 / std::sqrt(6.283185307179586 * sigma * sigma);
  double sum = 0;
  for (int i = 0; i < radius; ++i) {
    sum += std::exp(-double(i) * i / (2 * sigma * sigma)) * norm * (i == 0 ? 1 : 2);
  }
  blurSumWeight_ = static_cast<float>(sum);
}

void GeneralEffect::_ReleaseBackground() {
  if (background_ != nullptr) services_.images.Release(background_);
  background_ = nullptr;
}

void GeneralEffect::_SetBackground(const char* path) {
  const std::string wanted = path != nullptr ? path : "";
  if (wanted != backgroundPath_) _ReleaseBackground();
  backgroundPath_ = wanted;
  if (background_ == nullptr) background_ = services_.images.Acquire(backgroundPath_);
}

bool GeneralEffect::SetParam(const std::string& key, const ParamValue* value) {
  if (value == nullptr) return false;
  const auto* row = std::find_if(std::begin(kParameters), std::end(kParameters),
                                 [&](const Parameter& candidate) { return key == candidate.key; });
  if (!Expect(row != std::end(kParameters), "key", "one of the effect's parameter table (slot 58)")) return false;
  const bool isSwitch = row->enabled != nullptr;
  const bool fits = value->type == row->valueType || (isSwitch && value->type == QVG_PARAM_INTEGER);
  if (!Expect(fits, "value->type", "the key's type")) return false;
  if (isSwitch) {
    // Both accepted types are read by their first byte.
    this->*row->enabled = *reinterpret_cast<const uint8_t*>(&value->value) != 0;
  } else if (row->valueType == QVG_PARAM_COLOR) {
    _SetKeyColor(*value);
  } else if (row->valueType == QVG_PARAM_TEXT) {
    _SetBackground(value->value.text);
  } else {
    const float number =
        static_cast<float>(std::clamp(value->value.integer, row->minimum, row->maximum)) / row->divisor;
    if (row->number != &GeneralEffect::blur_) {
      this->*row->number = number;
    } else if (std::abs(number - blur_) > 0.001f) {
      _SetBlur(number);
    }
  }
  _Prepare();
  return true;
}

void GeneralEffect::_Prepare() {
  const uint32_t variant = _Variant();
  if (_Stages() == 0 || CurrentContext() == nullptr || services_.programs.HasReady(kKind, variant)) return;
  // Some drivers do most of the compiling at the first draw, for each way of sampling. These draws are not shown.
  const TextureLoan frame(services_.surfaces, kTrialSize, kTrialSize, GL_RGBA8);
  if (!frame) return;
  for (const Sampling sampling : {Sampling::kNearest, Sampling::kAsSet}) {
    Texture* output = _Apply(*frame, sampling);
    // Which values the program has received is unknown then: it is not offered to other contexts.
    if (output == nullptr) return;
    services_.surfaces.ReleaseTexture(output);
    if ((_Stages() & kBackground) == 0) break;
  }
  services_.programs.Offer(kKind, variant);
}

int32_t GeneralEffect::_Stages() const {
  int32_t stages = 0;
  if (enableKey_) stages |= kKey;
  if (enableBeauty_) stages |= kBeauty;
  if (enableColor_) stages |= kColor;
  if (enableBg_ && background_ != nullptr) stages |= kBackground;
  return stages;
}

uint32_t GeneralEffect::_Variant() const {
  const int32_t stages = _Stages();
  const bool beauty = (stages & kBeauty) != 0;
  const bool color = (stages & kColor) != 0;
  // In the order of the kind's switches. A blur that reaches one texel changes nothing.
  const bool parts[] = {(stages & kKey) != 0,
                        beauty && blurRadius_ > 1,
                        beauty && whitten_ > 0,
                        color && (hue_ != 0 || saturation_ != 0 || brightness_ != 0),
                        color && contrast_ != 0,
                        color && temperature_ != 0,
                        color && (shadow_ != 0 || highlight_ != 0),
                        (stages & kBackground) != 0};
  uint32_t variant = 0;
  uint32_t bit = 1;
  for (const bool part : parts) {
    if (part) variant |= bit;
    bit <<= 1;
  }
  return variant;
}

void GeneralEffect::_SetUniforms(Pass& pass, const Texture& frame, Sampling ofBackground) const {
  const ContentRect& content = frame.Content();
  // Steps to neighbours are in texels of the storage.
  const glm::vec2 size(content.storageWidth, content.storageHeight);
  pass.Set(kTextureSize, size);
  pass.Set(kTextureBounds, content.SampleBounds());
  pass.Set(kChromaKeyColor, keyChroma_);
  pass.Set(kSimilarity, similarity_);
  pass.Set(kSmoothness, smoothness_);
  pass.Set(kSpill, spill_);
  if ((_Stages() & kBackground) != 0) {
    const Texture& background = *background_->Get();
    pass.SetTexture(kBackgroundTexture, background, ofBackground);
    pass.Set(kKeyUVFactor, BackgroundMapping(frame, background));
    pass.Set(kKeyBGBounds, background.Content().SampleBounds());
  }
  pass.Set(kWhitten, whitten_);
  pass.Set(kBlur, blur_);
  pass.Set(kBlurSumWeight, blurSumWeight_);
  pass.Set(kBlurRadius, blurRadius_);
  pass.Set(kBlurSingleOffset, 1.0f / size);
  pass.Set(kKelvinHigh, kelvinRgbHigh_);
  pass.Set(kKelvinLow, kelvinRgbLow_);
  pass.Set(kBrightness, brightness_);
  pass.Set(kTemperature, temperature_);
  pass.Set(kHighlight, highlight_);
  pass.Set(kShadow, shadow_);
  pass.Set(kSaturation, saturation_);
  pass.Set(kContrast, contrast_);
  pass.Set(kHue, hue_);
}

Texture* GeneralEffect::_Apply(const Texture& frame, Sampling ofBackground) {
  return _Draw(frame, kKind, _Variant(), kMainTexture, [&](Pass& pass) { _SetUniforms(pass, frame, ofBackground); });
}

Texture* GeneralEffect::Process(Texture* frame) {
  if (frame == nullptr || !Expect(_Stages() != 0, "effect", "one with at least one stage switched on")) return nullptr;
  const bool meets = background_ != nullptr && MeetsTexels(*frame, *background_->Get());
  return _Apply(*frame, meets ? Sampling::kNearest : Sampling::kAsSet);
}

}  // namespace qvg
