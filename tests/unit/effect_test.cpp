// Parts of the effects that the table doesn't show: the base, the colour effect's program, the formulas on their own.
#include "effect/effect.h"

#include "base/content.h"
#include "base/programCache.h"
#include "effect/colorEffect.h"
#include "effect/generalEffect.h"
#include "effect/imageSource.h"
#include "support/effectReference.h"
#include "unit_support.h"

namespace qvg {
namespace {

using namespace test;

struct NoImages : ImageSource {
  Image* Acquire(const std::string&) override { return nullptr; }
  void Release(Image*) override {}
};

class EffectTest : public GLTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(surfaces_.lent, 0);
    programs_.reset();
    EXPECT_EQ(Live(glIsProgram) + Live(glIsFramebuffer), 0);
    GLTest::TearDown();
  }

  std::optional<ProgramCache> programs_{std::in_place};
  Surfaces surfaces_;
  NoImages images_;
  EffectServices services_ = {*programs_, surfaces_, images_};
};

glm::vec3 Vec(const Triple& t) { return {t[0], t[1], t[2]}; }

/// An effect as it could be added: the colour effect's program on the base of all effects.
class ColourTestEffect : public TextureEffect {
 public:
  explicit ColourTestEffect(const EffectServices& services) : TextureEffect("colour test", services) {}

  using TextureEffect::Process;
  Texture* Process(Texture* frame) override {
    using Program = ColorEffectProgram;
    const EffectSettings& s = settings;
    const uint32_t variant = (s.kernel ? Program::kSharpen : 0u) |
                             (s.brightness != 0 || s.saturation != 0 || s.hue != 0 ? Program::kHSV : 0u) |
                             (s.contrast != 0 ? Program::kHasContrast : 0u) |
                             (s.temperature != 0 ? Program::kHasTemperature : 0u) |
                             (s.shadow != 0 || s.highlight != 0 ? Program::kLight : 0u);
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
      pass.Set(Program::kSharpFilter1, Vec(rows[0]));
      pass.Set(Program::kSharpFilter4, Vec(rows[1]));
      pass.Set(Program::kSharpFilter7, Vec(rows[2]));
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
  ColourTestEffect effect(services_);
  const auto draw = [&] {
    Texture* output = effect.Process(&frame);
    const Image drawn = output != nullptr ? StorageOf(*output) : Image();
    surfaces_.ReleaseTexture(output);
    return drawn;
  };
  EXPECT_EQ(Difference(picture, draw()), "") << "with every uniform 0";

  Errors errors;
  const struct {
    double EffectSettings::*member;
    std::vector<double> values;
  } cases[] = {{&EffectSettings::saturation, {-1, -0.3, 0.5, 3}},
               {&EffectSettings::contrast, {-1.5, -0.5, 0.4, 2}},
               {&EffectSettings::hue, {-0.5, 0.25, 1}},
               {&EffectSettings::brightness, {-1, 0.3}},
               {&EffectSettings::temperature, {-0.7, 0.4}},
               {&EffectSettings::shadow, {0.5}},
               {&EffectSettings::highlight, {1}}};
  const auto check = [&] {
    EXPECT_EQ(CompareEffect(ExpectedEffect({effect.settings, picture, 0, false, {}}), draw(), errors), "");
  };
  effect.settings.color = true;
  for (const auto& [member, values] : cases) {
    for (const double value : values) {
      SCOPED_TRACE(std::to_string(&member - &cases[0].member) + ", " + std::to_string(value));
      effect.settings.*member = value;
      check();
    }
    effect.settings.*member = 0;
  }
  for (const double a : {0.2, 1.0}) {
    effect.settings.kernel = {{{0, -a, 0}, {-a, 1 + 4 * a, -a}, {0, -a, 0}}};
    check();
  }
  effect.settings.kernel = {{{0.1, 0.3, 0}, {-0.2, 0.5, 0.15}, {0.05, -0.1, 0.2}}};
  check();
  effect.settings.saturation = 0.4, effect.settings.contrast = 0.2, effect.settings.hue = -0.1;
  effect.settings.temperature = 0.3, effect.settings.shadow = 0.2;
  check();
  std::printf("             colour program: largest error %.3f/255 in %zu values\n", errors.largest, errors.compared);
}

TEST_F(EffectTest, FailureToGetAnOutputDrawsNothing) {
  class Refusing : public Surfaces {
    Texture* AcquireTexture(int, int, GLenum) override { return nullptr; }
  } refusing;
  GeneralEffect effect({*programs_, refusing, images_});
  ParamValue on = {QVG_PARAM_BOOLEAN, {.boolean = true}};
  EXPECT_TRUE(effect.SetParam("enable_color", &on));
  Texture frame;
  Fill(frame, Picture(4, 4, 1));
  EXPECT_EQ(effect.Process(&frame), nullptr);
}

}  // namespace
}  // namespace qvg
