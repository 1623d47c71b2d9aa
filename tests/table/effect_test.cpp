// Effects through the table: their registry, and what the general effect draws, compared with a CPU reference.
#include <algorithm>
#include <cstring>
#include <limits>
#include <map>

#include "reference/effect.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

constexpr char kName[] = "general_eff";

// ---- The host's images, by path

struct HostImages {
  std::map<std::string, Image> images;  // top row first
  int lent = 0;
};
HostImages host;

struct LentImage : QVGHostImage {
  std::vector<uint8_t> bytes;
};

QVGHostImage* Decode(const char* path) {
  const auto found = host.images.find(path);
  if (found == host.images.end()) return nullptr;
  auto* image = new LentImage;
  image->bytes = Bytes(found->second, true);
  image->pixels = image->bytes.data();
  image->width = found->second.width, image->height = found->second.height;
  ++host.lent;
  return image;
}

void Free(const char*, QVGHostImage* image) {
  delete static_cast<LentImage*>(image);
  --host.lent;
}

/// A path that no test used before.
std::string NewImage(const Image& image) {
  static int count = 0;
  const std::string path = "image " + std::to_string(++count);
  host.images[path] = image;
  return path;
}

// ---- Effects and their settings

QVGParamValue Integer(int64_t integer) { return {QVG_PARAM_INTEGER, {.integer = integer}}; }
QVGParamValue Text(const char* text) { return {QVG_PARAM_TEXT, {.text = text}}; }
QVGParamValue Rgb(const Triple& rgb) { return {QVG_PARAM_COLOR, {.color = {rgb[0], rgb[1], rgb[2]}}}; }
QVGParamValue Boolean(bool boolean) {
  QVGParamValue value = {QVG_PARAM_BOOLEAN, {}};
  std::memset(&value.value, 0xA5, sizeof value.value);  // only the first byte counts
  value.value.boolean = boolean;
  return value;
}

void Set(const EffectPtr& effect, const char* key, const QVGParamValue& value) {
  EXPECT_TRUE(Table().SetEffectParameter(effect.get(), key, &value)) << key;
}

struct Number {
  double EffectSettings::*member;
  double divisor;
};
const std::map<std::string, Number> kNumbers = {{"similarity", {&EffectSettings::similarity, 1000}},
                                                {"smoothness", {&EffectSettings::smoothness, 1000}},
                                                {"anti-spill", {&EffectSettings::spill, 1000}},
                                                {"whitten", {&EffectSettings::whitten, 100}},
                                                {"blur", {&EffectSettings::blur, 100}},
                                                {"bright", {&EffectSettings::brightness, 100}},
                                                {"temperature", {&EffectSettings::temperature, 100}},
                                                {"highlight", {&EffectSettings::highlight, 100}},
                                                {"shadow", {&EffectSettings::shadow, 100}}};
const std::map<std::string, bool EffectSettings::*> kSwitches = {{"enable_key", &EffectSettings::key},
                                                                 {"enable_beauty", &EffectSettings::beauty},
                                                                 {"enable_color", &EffectSettings::color},
                                                                 {"enable_bg", &EffectSettings::background}};
constexpr Triple kGreen = {0, 1, 0}, kBlue = {0.1, 0.2, 0.8};

/// An effect together with what the reference knows of it.
struct Tuned {
  EffectPtr effect{Table().CreateEffect(kName)};
  EffectSettings settings;
  Image background;

  /// A switch is on with anything but 0.
  Tuned& With(const std::string& key, int value = 1) {
    if (const auto found = kSwitches.find(key); found != kSwitches.end()) {
      Set(effect, key.c_str(), Boolean(value != 0));
      settings.*found->second = value != 0;
    } else {
      Set(effect, key.c_str(), Integer(value));
      settings.*kNumbers.at(key).member = value / kNumbers.at(key).divisor;
    }
    return *this;
  }
  Tuned& Key(const Triple& rgb) {
    Set(effect, "color", Rgb(rgb));
    settings.keyChroma = KeyChroma(rgb);
    return *this;
  }
  Tuned& Under(const Image& image) {
    background = image;
    Set(effect, "bgfile", Text(NewImage(image).c_str()));
    return With("enable_bg");
  }
};

// ---- Pictures

/// What the stages have to tell apart, premultiplied: green with a soft border on the left, skin with detail in the
/// middle, everything else on the right; rows of half alpha and of none, exact black, white, greys and pure hues.
Image Scene(int width, int height, int seed) {
  Image image = MakeImage(width, height, [&](int x, int y) -> Color {
    const auto wave = [&](int c) { return Wave(x, y, c, seed) / 255.0; };
    const double u = static_cast<double>(x) / width;
    const double soft = std::clamp((u - 0.25) * 8, 0.0, 1.0);
    const double skin = u < 0.65 ? 1 : 0;
    const Triple green = {0.1 + 0.15 * wave(0), 0.65 + 0.2 * wave(1), 0.1 + 0.2 * wave(2)};
    const double pores = (3 * x + 5 * y) % 7 * 0.03 - 0.09;
    const Triple face = {0.72 + pores + 0.2 * wave(0), 0.52 + pores + 0.15 * wave(1), 0.4 + pores + 0.2 * wave(2)};
    Color color;
    for (int c = 0; c < 3; ++c) color[c] = skin * ((1 - soft) * green[c] + soft * face[c]) + (1 - skin) * wave(c);
    const int band = y * 12 / height;
    color[3] = band == 3 ? 128 / 255.0 : (band == 8 ? wave(3) : (band == 10 ? 0 : 1));
    for (int c = 0; c < 3; ++c) color[c] *= color[3];
    return color;
  });
  const Color exact[] = {{0, 0, 0, 1}, {1, 1, 1, 1}, {0.5, 0.5, 0.5, 1}, {1, 0, 0, 1}, {0, 1, 0, 1},    {0, 0, 1, 1},
                         {1, 1, 0, 1}, {0, 1, 1, 1}, {1, 0, 1, 1},       {0, 0, 0, 0}, {0.4, 0.2, 0, 0}};
  for (size_t i = 0; i < std::size(exact); ++i)
    if (static_cast<int>(2 * i + 1) < width) image.at(static_cast<int>(2 * i + 1), height / 2) = exact[i];
  return Quantised(image);
}

class EffectTest : public TableTest {
 protected:
  void SetUp() override {
    static QVGConfig config = {{}, Decode, Free};
    QVG_GetGLRendererInterface(&config);
    TableTest::SetUp();
  }
  void TearDown() override {
    TableTest::TearDown();
    QVG_GetGLRendererInterface(nullptr);
    EXPECT_EQ(host.lent, 0) << "images that were not given back";
  }

  TexturePtr Apply(const EffectPtr& effect, const TexturePtr& frame) {
    TexturePtr output(gl_.ApplyEffect(effect.get(), frame.get()));
    EXPECT_NE(output, nullptr);
    EXPECT_NE(output, frame);
    EXPECT_TRUE(gl_.GetTextureRotation(output.get()) == 0 && !gl_.GetTextureFlipped(output.get()));
    return output;
  }

  /// Draws the frame, which holds the picture, and compares.
  void Check(const Tuned& tuned, const TexturePtr& frame, const Image& picture) {
    const EffectScene scene = {tuned.settings, picture, static_cast<int>(gl_.GetTextureRotation(frame.get()) % 4),
                               gl_.GetTextureFlipped(frame.get()), tuned.background};
    EXPECT_EQ(CompareEffect(ExpectedEffect(scene), Content(Apply(tuned.effect, frame).get()), errors_), "");
  }
  void Check(const Tuned& tuned, const Image& picture) { Check(tuned, Upload(picture), picture); }

  /// With an even size in fresh storage and an odd one in recycled larger storage.
  void CheckSizes(const Tuned& tuned) {
    ClearPools();
    Check(tuned, Scene(48, 32, 1));
    ClearPools();
    {  // for the frame and for the output
      const TexturePtr first = Upload(Picture(64, 45, 71)), second = Upload(Picture(63, 44, 72));
    }
    Check(tuned, Scene(37, 23, 2));
  }
};

// ---- What is drawn

TEST_F(EffectTest, Key) {
  const struct {
    Triple color;
    int similarity, smoothness, spill;
  } cases[] = {{kGreen, 400, 80, 100},   {kGreen, 1, 80, 100},  {kGreen, 1000, 80, 100}, {kGreen, 360, 1, 100},
               {kGreen, 360, 1000, 100}, {kGreen, 360, 200, 1}, {kGreen, 360, 200, 500}, {kBlue, 100, 120, 150}};
  for (const auto& [color, similarity, smoothness, spill] : cases) {
    SCOPED_TRACE(::testing::Message() << similarity << ", " << smoothness << ", " << spill);
    Tuned tuned;
    tuned.With("enable_key").Key(color).With("similarity", similarity).With("smoothness", smoothness);
    CheckSizes(tuned.With("anti-spill", spill));
  }
  CheckSizes(Tuned().With("enable_key"));  // a key colour that was not set is no colour
  // The darkest colours are encoded by another formula.
  Image dark = Picture(40, 30, 6, true);
  for (Color& color : dark.texels)
    for (int c = 0; c < 3; ++c) color[c] *= 0.04;
  Check(Tuned().With("enable_key").Key({0, 0, 0}).With("similarity", 1).With("smoothness", 200), Quantised(dark));
}

TEST_F(EffectTest, BeautyAndColour) {
  const struct {
    const char *stage, *key;
    std::vector<int> values;
  } cases[] = {{"enable_beauty", "whitten", {0, 30, 100}},  {"enable_beauty", "blur", {1, 15, 51, 100}},
               {"enable_color", "bright", {-100, 0, 35}},   {"enable_color", "temperature", {-100, 1, 50}},
               {"enable_color", "highlight", {1, 60, 100}}, {"enable_color", "shadow", {1, 40, 100}}};
  for (const auto& [stage, key, values] : cases)
    for (const int value : values) {
      SCOPED_TRACE(key + (' ' + std::to_string(value)));
      Tuned tuned;
      CheckSizes(tuned.With(stage).With(key, value));
    }
}

TEST_F(EffectTest, BackgroundOfAnySizeUnderTranslucentFrames) {
  for (const auto& [width, height] : {std::pair(48, 32), {1, 1}, {131, 97}}) {
    SCOPED_TRACE(Size(width, height));
    CheckSizes(Tuned().Under(Picture(width, height, 5, width == 48)));
  }
  CheckSizes(Tuned().With("enable_key").Key(kGreen).Under(Image(2, 2)));  // what is keyed out over nothing
}

TEST_F(EffectTest, AllStagesTogether) {
  Tuned tuned;
  tuned.With("enable_key").With("enable_beauty").With("enable_color").Key(kGreen).With("similarity", 360);
  tuned.With("smoothness", 200).With("anti-spill", 300).With("whitten", 40).With("blur", 20).With("bright", 15);
  CheckSizes(tuned.With("temperature", -25).With("highlight", 30).With("shadow", 20));
  CheckSizes(tuned.Under(Picture(41, 33, 6)));
  tuned.With("bright", -30).With("blur", 70).Key(kBlue).Under(Picture(20, 33, 7));  // instead of the other one
  CheckSizes(tuned);
  // Parameters are state of the program, which all contexts share: each has to see what another one set last.
  const Image picture = Scene(40, 30, 7);
  QVGGLContext *other = gl_.GetSharedContext(), *const contexts[] = {other, context_->handle};
  for (int i = 0; i < 6; ++i) {
    gl_.Finish();
    ASSERT_TRUE(gl_.MakeCurrentContext(contexts[i % 2], nullptr));
    Check(tuned, picture);
    Check(tuned.With("bright", 10 + i), picture);
  }
  gl_.ReleaseSharedContext(&other);
}

TEST_F(EffectTest, OnlyTheContentIsReadWhateverItsOrderAndPresentsUpright) {
  const Image whole = Scene(60, 40, 4);
  const TexturePtr frame = Upload(MakeFrame(QVG_FORMAT_BGRA, whole));
  EXPECT_TRUE(gl_.SetTextureSize(frame.get(), 31, 19));
  EXPECT_TRUE(gl_.SetTextureOrigin(frame.get(), 7, 18));
  Tuned tuned;
  tuned.With("enable_key").Key(kGreen).With("similarity", 340).With("smoothness", 300).With("enable_beauty");
  tuned.With("blur", 12).Under(Picture(29, 31, 7));
  for (const uint32_t rotation : {0u, 1u, 2u, 3u, ~0u}) {
    for (const bool flipped : {false, true}) {
      SCOPED_TRACE(std::to_string(rotation) + (flipped ? ", flipped" : ""));
      EXPECT_TRUE(gl_.SetTextureRotation(frame.get(), rotation));
      EXPECT_TRUE(gl_.SetTextureFlipped(frame.get(), flipped));
      Check(tuned, frame, Crop(whole, 7, 18, 31, 19));
    }
  }
  // Another effect takes what one gives as it is.
  const TexturePtr keyed = Apply(tuned.effect, frame), again = Apply(Tuned().With("enable_color").effect, keyed);
  EXPECT_EQ(Difference(Content(keyed.get()), Content(again.get())), "");
}

TEST_F(EffectTest, ParametersOutOfRangeCountAsTheNearestInRange) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const TexturePtr frame = Upload(Scene(40, 30, 5));
  const QVGParamDescriptor* rows = nullptr;
  uint32_t count = 0;
  ASSERT_TRUE(gl_.GetEffectParameterTable(kName, &rows, &count));
  Tuned far, near;
  for (Tuned* tuned : {&far, &near}) tuned->With("enable_key").With("enable_beauty").With("enable_color");
  Set(far.effect, "color", Rgb({-kInfinity, 7, std::numeric_limits<double>::quiet_NaN()}));
  near.Key(kGreen);
  for (const bool above : {false, true}) {
    for (const QVGParamDescriptor* row = rows; row != rows + count; ++row) {
      if (row->valueType != QVG_PARAM_INTEGER) continue;
      Set(near.effect, row->name, above ? row->maximum : row->minimum);
      Set(far.effect, row->name, Integer(above ? std::numeric_limits<int64_t>::max() : row->minimum.value.integer - 1));
      EXPECT_EQ(Difference(Content(Apply(near.effect, frame).get()), Content(Apply(far.effect, frame).get())), "")
          << row->name;
    }
  }
}

TEST_F(EffectTest, NothingIsDrawnWithoutAStageOrAFrame) {
  const TexturePtr frame = Upload(Scene(20, 10, 1));
  Tuned tuned;
  const auto draws = [&] { return TexturePtr(gl_.ApplyEffect(tuned.effect.get(), frame.get())) != nullptr; };
  EXPECT_FALSE(draws());
  tuned.With("enable_bg");
  for (const char* path : {static_cast<const char*>(nullptr), "", "no such image"}) {
    Set(tuned.effect, "bgfile", Text(path));
    EXPECT_FALSE(draws());
  }
  tuned.Under(Picture(4, 4, 1)).With("enable_bg", 0);
  EXPECT_FALSE(draws()) << "a background that is off";
  Set(tuned.effect, "enable_color", Integer(256));
  EXPECT_FALSE(draws()) << "a switch is its first byte";
  EXPECT_EQ(gl_.ApplyEffect(tuned.With("enable_color").effect.get(), nullptr), nullptr);
}

// ---- The registry

TEST_F(EffectTest, NamesAreCountedByTypeMatchExactlyAndSpeakTheLocale) {
  constexpr int32_t kOwnType = 1, kNoType = 7;
  const struct {
    int32_t type, capacity;
    bool written;
  } cases[] = {{kOwnType, 9, true}, {kOwnType, 0, false}, {kNoType, 0, true}};
  for (const auto& [type, capacity, written] : cases) {
    SCOPED_TRACE(std::to_string(type) + ", " + std::to_string(capacity));
    const char* names[2] = {nullptr, nullptr};
    int32_t count = -5;
    EXPECT_EQ(gl_.GetEffectNames(type, names, capacity, &count), written);
    EXPECT_EQ(count, type == kOwnType ? 1 : 0);
    EXPECT_STREQ(names[0], written ? kName : nullptr);
    EXPECT_EQ(names[1], nullptr);
    EXPECT_FALSE(gl_.GetEffectNames(type, names, capacity, nullptr));
    EXPECT_FALSE(gl_.GetEffectNames(kOwnType, nullptr, 16, &count));
  }
  EXPECT_TRUE(gl_.HasEffect(kName));
  EXPECT_EQ(gl_.GetEffectType(kName), 1u);
  const QVGParamDescriptor* parameters = nullptr;
  uint32_t rows = 0;
  for (const char* name : {static_cast<const char*>(nullptr), "", "general_ef", "general_eff ", "colorEffect"}) {
    SCOPED_TRACE(name == nullptr ? "null" : name);
    EXPECT_FALSE(gl_.HasEffect(name));
    EXPECT_EQ(gl_.GetEffectType(name), 0u);
    EXPECT_EQ(gl_.QueryEffect(name, nullptr), nullptr);
    EXPECT_FALSE(gl_.GetEffectParameterTable(name, &parameters, &rows));
    EXPECT_EQ(gl_.CreateEffect(name), nullptr);
  }
  const std::pair<const char*, bool> locales[] = {{nullptr, true}, {"zh_CN", true}, {"en", false}, {"zh_TW", false}};
  for (const auto& [locale, chinese] : locales)
    EXPECT_STREQ(gl_.QueryEffect(kName, locale), chinese ? "画面特效" : kName) << (locale != nullptr ? locale : "null");
}

struct Row {
  const char *key, *label;
  int control, type;
  int64_t standard, minimum, maximum;
};
constexpr Row kRows[] = {{"color", "背景色", 2, QVG_PARAM_COLOR, 0, 0, 0},
                         {"similarity", "相似度", 0, QVG_PARAM_INTEGER, 400, 1, 1000},
                         {"smoothness", "平滑", 0, QVG_PARAM_INTEGER, 80, 1, 1000},
                         {"anti-spill", "背景色溢出抑制", 0, QVG_PARAM_INTEGER, 100, 1, 1000},
                         {"bgfile", "背景图", 2, QVG_PARAM_TEXT, 0, 0, 0},
                         {"whitten", "美白", 0, QVG_PARAM_INTEGER, 0, 0, 100},
                         {"blur", "磨皮", 0, QVG_PARAM_INTEGER, 0, 0, 100},
                         {"bright", "曝光", 0, QVG_PARAM_INTEGER, 0, -100, 100},
                         {"temperature", "色温", 0, QVG_PARAM_INTEGER, 0, -100, 100},
                         {"highlight", "高光", 0, QVG_PARAM_INTEGER, 0, 0, 100},
                         {"shadow", "阴影", 0, QVG_PARAM_INTEGER, 0, 0, 100},
                         {"enable_key", "是否抠像", 2, QVG_PARAM_BOOLEAN, 0, 0, 0},
                         {"enable_beauty", "是否美颜", 2, QVG_PARAM_BOOLEAN, 0, 0, 0},
                         {"enable_color", "是否调整颜色", 2, QVG_PARAM_BOOLEAN, 0, 0, 0},
                         {"enable_bg", "是否叠加背景", 2, QVG_PARAM_BOOLEAN, 0, 0, 0}};

TEST_F(EffectTest, ParameterTableAndTypes) {
  const QVGParamDescriptor* table = nullptr;
  uint32_t count = 0;
  EXPECT_TRUE(gl_.GetEffectParameterTable(kName, nullptr, &count));
  EXPECT_FALSE(gl_.GetEffectParameterTable(kName, &table, nullptr));
  ASSERT_TRUE(gl_.GetEffectParameterTable(kName, &table, &count));
  ASSERT_EQ(count, std::size(kRows));
  const Tuned tuned;
  const auto takes = [&](const char* key, const QVGParamValue* value) {
    return gl_.SetEffectParameter(tuned.effect.get(), key, value);
  };
  for (const Row& row : kRows) {
    const QVGParamDescriptor& actual = *table++;
    SCOPED_TRACE(row.key);
    EXPECT_STREQ(actual.name, row.key);
    EXPECT_STREQ(actual.label, row.label);
    EXPECT_EQ(actual.controlKind, row.control);
    for (const int32_t type : {actual.valueType, actual.valueType2, actual.defaultValue.type})
      EXPECT_EQ(type, row.type);
    if (row.type == QVG_PARAM_INTEGER) {
      for (const auto& [value, expected] : {std::pair(actual.defaultValue, row.standard),
                                            {actual.minimum, row.minimum},
                                            {actual.maximum, row.maximum},
                                            {actual.step, 1}})
        EXPECT_TRUE(value.type == QVG_PARAM_INTEGER && value.value.integer == expected) << expected;
    }
    for (const int32_t type : {-1, 0, 1, 2, 3, 4, 5, 6}) {
      const QVGParamValue value = {type, {}};
      const bool accepted = type == row.type || (row.type == QVG_PARAM_BOOLEAN && type == QVG_PARAM_INTEGER);
      EXPECT_EQ(takes(row.key, &value), accepted) << type;
    }
    EXPECT_FALSE(takes(row.key, nullptr));
  }
  const QVGParamValue one = Integer(1);
  for (const char* key : {static_cast<const char*>(nullptr), "", "hue", "blur "}) EXPECT_FALSE(takes(key, &one));
}

TEST_F(EffectTest, InstancesLiveOnceAndNullOnesDoNothing) {
  const TexturePtr first = Upload(Scene(8, 8, 1)), second = Upload(Scene(8, 8, 2));
  const QVGParamValue on = Boolean(true);
  QVGEffect *effect = gl_.CreateEffect(kName), *destroyed = effect;
  EXPECT_EQ(gl_.ApplyEffectWith(effect, first.get(), second.get(), 0.5f), first.get());
  EXPECT_TRUE(gl_.DestroyEffect(&effect));
  EXPECT_EQ(effect, nullptr);
  EXPECT_FALSE(gl_.DestroyEffect(&destroyed));
  EXPECT_NE(destroyed, nullptr);
  for (QVGEffect* const none : {effect, destroyed}) {
    QVGTexture* const passed = none == nullptr ? first.get() : nullptr;  // through an effect that is null
    EXPECT_FALSE(gl_.SetEffectParameter(none, "enable_key", &on));
    EXPECT_EQ(gl_.ApplyEffect(none, first.get()), passed);
    EXPECT_EQ(gl_.ApplyEffectWith(none, first.get(), second.get(), 0.5f), passed);
  }
  EXPECT_TRUE(gl_.DestroyEffect(&effect));
  EXPECT_TRUE(gl_.DestroyEffect(nullptr));
}

}  // namespace
}  // namespace qvg::test
