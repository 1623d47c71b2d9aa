// Effects through the table: their registry, and the general effect's pictures, compared with a CPU reference.
#include <algorithm>
#include <cstring>
#include <limits>
#include <map>

#include "reference/effectScenes.h"
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

void Set(const Effect& effect, const char* key, const QVGParamValue& value) {
  EXPECT_TRUE(Table().SetEffectParameter(effect.get(), key, &value)) << key;
}

/// An effect, and its parameters for the reference.
struct Tuned {
  Effect effect{Table().CreateEffect(kName)};
  EffectSettings settings;
  Image background;

  Tuned& With(const std::string& key, int value = 1) {
    Set(effect, key.c_str(), IsSwitch(key) ? Boolean(value != 0) : Integer(value));
    SetParameter(settings, key, value);
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

  Texture Apply(const Effect& effect, const Texture& frame) {
    Texture output(gl_.ApplyEffect(effect.get(), frame.get()));
    EXPECT_NE(output, nullptr);
    EXPECT_NE(output.get(), frame.get());
    EXPECT_TRUE(gl_.GetTextureRotation(output.get()) == 0 && !gl_.GetTextureFlipped(output.get()));
    return output;
  }

  /// Draws the frame, which holds the picture, and compares.
  void Check(const Tuned& tuned, const Texture& frame, const Image& picture) {
    const EffectScene scene = {tuned.settings, picture, static_cast<int>(gl_.GetTextureRotation(frame.get()) % 4),
                               gl_.GetTextureFlipped(frame.get()), tuned.background};
    EXPECT_EQ(CompareEffect(ExpectedEffect(scene), Content(Apply(tuned.effect, frame).get()), errors_), "");
  }
  void Check(const Tuned& tuned, const Image& picture) { Check(tuned, Upload(picture), picture); }

  /// With an even size in fresh storage and an odd one in recycled larger storage.
  void CheckSizes(const Tuned& tuned) {
    ClearPools();
    Check(tuned, EffectPicture(48, 32, 1));
    ClearPools();
    {  // one for the frame, one for the output
      const Texture first = Upload(Picture(64, 45, 71)), second = Upload(Picture(63, 44, 72));
    }
    Check(tuned, EffectPicture(37, 23, 2));
  }
};

// ---- What is drawn

TEST_F(EffectTest, EveryParameter) {
  for (const EffectCase& told : EffectCases()) {
    SCOPED_TRACE(told.row + ": " + Text(told));
    Tuned tuned;
    for (const auto& [key, value] : told.values) tuned.With(key, value);
    if (told.key) tuned.Key(*told.key);
    if (!told.background.empty()) tuned.Under(told.background);
    if (told.dark) Check(tuned, DarkPicture(40, 30, 6));
    CheckSizes(tuned);
  }
}

TEST_F(EffectTest, EveryContextSeesWhatWasSetLast) {
  Tuned tuned;
  tuned.With("enable_key").With("enable_beauty").With("enable_color").Key(kGreen).With("similarity", 360);
  tuned.With("whitten", 40).With("blur", 20).With("bright", 15).Under(Picture(41, 33, 6));
  CheckSizes(tuned);
  tuned.With("bright", -30).With("blur", 70).Key(kBlue).Under(Picture(20, 33, 7));  // replaces the other background
  CheckSizes(tuned);
  // Parameters are state of the program, which all contexts share: each has to see what another one set.
  const Image picture = EffectPicture(40, 30, 7);
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
  const Image whole = EffectPicture(60, 40, 4);
  const Texture frame = Upload(MakeFrame(QVG_FORMAT_BGRA, whole));
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
  // Another effect takes the result of one as it is.
  const Texture keyed = Apply(tuned.effect, frame), again = Apply(Tuned().With("enable_color").effect, keyed);
  EXPECT_EQ(Difference(Content(keyed.get()), Content(again.get())), "");
}

TEST_F(EffectTest, ParametersOutOfRangeCountAsTheNearestInRange) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const Texture frame = Upload(EffectPicture(40, 30, 5));
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
  const Texture frame = Upload(EffectPicture(20, 10, 1));
  Tuned tuned;
  const auto draws = [&] { return Texture(gl_.ApplyEffect(tuned.effect.get(), frame.get())) != nullptr; };
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
  const Texture first = Upload(EffectPicture(8, 8, 1)), second = Upload(EffectPicture(8, 8, 2));
  const QVGParamValue on = Boolean(true);
  QVGEffect *effect = gl_.CreateEffect(kName), *destroyed = effect;
  EXPECT_EQ(gl_.ApplyEffectWith(effect, first.get(), second.get(), 0.5f), first.get());
  EXPECT_TRUE(gl_.DestroyEffect(&effect));
  EXPECT_EQ(effect, nullptr);
  EXPECT_FALSE(gl_.DestroyEffect(&destroyed));
  EXPECT_NE(destroyed, nullptr);
  for (QVGEffect* const none : {effect, destroyed}) {
    QVGTexture* const passed = none == nullptr ? first.get() : nullptr;  // passed through: the effect is null
    EXPECT_FALSE(gl_.SetEffectParameter(none, "enable_key", &on));
    EXPECT_EQ(gl_.ApplyEffect(none, first.get()), passed);
    EXPECT_EQ(gl_.ApplyEffectWith(none, first.get(), second.get(), 0.5f), passed);
  }
  EXPECT_TRUE(gl_.DestroyEffect(&effect));
  EXPECT_TRUE(gl_.DestroyEffect(nullptr));
}

}  // namespace
}  // namespace qvg::test
