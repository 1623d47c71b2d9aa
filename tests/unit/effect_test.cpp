// The colour effect's program, which no effect of the table uses: its stages beyond the general effect's.
#include "effect/effect.h"
#include "base/content.h"
#include "effect/colorEffect.h"
#include "effect/generalEffect.h"
#include "reference/effect.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

using EffectTest = GLTest;

/// An effect as it could be added: the colour effect's program on the base class of all effects.
class ColourTestEffect : public TextureEffect {
 public:
  explicit ColourTestEffect(const EffectServices& services) : TextureEffect("colour test", services) {}

  using TextureEffect::Process;
  Texture* Process(Texture* frame) override {
    using Program = ColorEffectProgram;
    const EffectSettings& s = settings;
    const uint32_t variant =
        (s.kernel ? Program::kSharpen : 0u) | (s.saturation != 0 || s.hue != 0 ? Program::kHSV : 0u) |
        (s.contrast != 0 ? Program::kHasContrast : 0u) | (s.temperature != 0 ? Program::kHasTemperature : 0u) |
        (s.shadow != 0 ? Program::kLight : 0u);
    return _Draw(*frame, Program::kKind, variant, 0, [&](Pass& pass) {
      const ContentRect& content = frame->Content();
      pass.Set(Program::kTextureSize, glm::vec2(content.storageWidth, content.storageHeight));
      pass.Set(Program::kTextureBounds, content.SampleBounds());
      pass.Set(Program::kKelvinHigh, KelvinToRGB(40000));
      pass.Set(Program::kKelvinLow, KelvinToRGB(1000));
      for (const auto& [uniform, value] : {std::pair(Program::kBrightness, s.brightness),
                                           {Program::kSaturation, s.saturation},
                                           {Program::kContrast, s.contrast},
                                           {Program::kHue, s.hue},
                                           {Program::kTemperature, s.temperature},
                                           {Program::kHighlight, s.highlight},
                                           {Program::kShadow, s.shadow}})
        pass.Set(uniform, static_cast<float>(value));
      const auto rows = s.kernel.value_or(std::array<Triple, 3>{});
      for (int i = 0; i < 3; ++i) pass.Set(Program::kSharpFilter1 + i, glm::vec3(rows[i][0], rows[i][1], rows[i][2]));
    });
  }

  EffectSettings settings;
};

TEST_F(EffectTest, ColourProgram) {
  Image storage = Picture(50, 40, 3);
  const Color exact[] = {{0, 0, 0, 1},       {1, 1, 1, 1}, {1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1},
                         {0.2, 0.2, 0.2, 1}, {1, 1, 0, 1}, {0, 1, 1, 1}, {1, 0, 1, 1}, {0.6, 0.2, 0, 0}};
  for (int i = 0; i < 10; ++i) storage.at(10 + 3 * i, 15) = exact[i];
  Texture frame;
  Fill(frame, storage);
  SetContent(frame, 7, 5, 37, 23);
  const Image picture = Crop(storage, 7, 5, 37, 23);

  std::vector<EffectSettings> cases(1);
  for (const auto& [member, values] : {std::pair(&EffectSettings::saturation, std::vector{-1.0, 0.5}),
                                       {&EffectSettings::contrast, {-0.5, 2}},
                                       {&EffectSettings::hue, {-0.5, 0.25}}})
    for (const double value : values) cases.emplace_back().*member = value;
  EffectSettings& all = cases.emplace_back();
  all.kernel = {{{0.1, 0.3, 0}, {-0.2, 0.5, 0.15}, {0.05, -0.1, 0.2}}};
  all.saturation = 0.4, all.contrast = 0.2, all.hue = -0.1, all.temperature = 0.3, all.shadow = 0.2;
  ColourTestEffect effect({runtime_->programs, runtime_->surfaces, runtime_->images});
  Errors errors;
  for (EffectSettings& settings : cases) {
    SCOPED_TRACE(&settings - cases.data());
    settings.color = true;
    effect.settings = settings;
    Texture* output = effect.Process(&frame);
    ASSERT_NE(output, nullptr);
    const ContentRect& content = output->Content();
    const Image drawn = Crop(StorageOf(*output), content.x, content.y, content.width, content.height);
    EXPECT_EQ(CompareEffect(ExpectedEffect({settings, picture, 0, false, {}}), drawn, errors), "");
    runtime_->textures.Release(output);
  }
}

}  // namespace
}  // namespace qvg
