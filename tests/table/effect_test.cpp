// Effects through the table: their registry, and what the general effect draws, compared with a CPU reference.
#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <thread>

#include "support/effectReference.h"
#include "support/table_test.h"

namespace qvg::test {
namespace {

constexpr char kName[] = "general_eff";

// ---- The host's images, by path

struct HostImages {
  std::map<std::string, Image> images;  // top row first
  std::map<std::string, int> decoded;
  int lent = 0;
};
HostImages host;

struct LentImage : QVGHostImage {
  std::vector<uint8_t> bytes;
};

QVGHostImage* Decode(const char* path) {
  ++host.decoded[path];
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

/// Every colour in 16 levels, so that every branch of a decision about colour is taken.
Image Cube() {
  return MakeImage(64, 64, [](int x, int y) -> Color {
    return {x % 16 / 15.0, y % 16 / 15.0, (x / 16 + y / 16 * 4) / 15.0, 1};
  });
}

/// Two larger textures full of something else: for a frame and for the output.
void LeaveGarbageTwice(int width, int height) {
  const TexturePtr first = Upload(Picture(width + 27, height + 22, 71));
  const TexturePtr second = Upload(Picture(width + 26, height + 21, 72));
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
    host.decoded.clear();
  }

  TexturePtr Apply(const EffectPtr& effect, const TexturePtr& frame) {
    TexturePtr output(gl_.ApplyEffect(effect.get(), frame.get()));
    EXPECT_NE(output, nullptr);
    EXPECT_NE(output, frame);
    EXPECT_TRUE(gl_.GetTextureRotation(output.get()) == 0 && !gl_.GetTextureFlipped(output.get()));
    return output;
  }

  Image Shown(const Tuned& tuned, const Image& picture) { return Content(Apply(tuned.effect, Upload(picture)).get()); }

  /// Draws the frame, which holds the picture, and compares.
  void Check(const Tuned& tuned, const TexturePtr& frame, const Image& picture) {
    const EffectScene scene = {tuned.settings, picture, static_cast<int>(gl_.GetTextureRotation(frame.get()) % 4),
                               gl_.GetTextureFlipped(frame.get()), tuned.background};
    EXPECT_EQ(CompareEffect(ExpectedEffect(scene), Content(Apply(tuned.effect, frame).get()), errors_), "");
  }
  void Check(const Tuned& tuned, const Image& picture) { Check(tuned, Upload(picture), picture); }

  /// With even and odd sizes, in fresh and in recycled larger storage.
  void CheckSizes(const Tuned& tuned) {
    for (const auto& [width, height] : {std::pair(48, 32), {37, 23}}) {
      for (const bool recycled : {false, true}) {
        SCOPED_TRACE(Size(width, height) + (recycled ? ", recycled" : ""));
        ClearPools();
        if (recycled) LeaveGarbageTwice(width, height);
        Check(tuned, Scene(width, height, recycled ? 2 : 1));
      }
    }
  }
};

// ---- What is drawn

TEST_F(EffectTest, Key) {
  const struct {
    Triple color;
    int similarity, smoothness, spill;
  } cases[] = {{kGreen, 400, 80, 100}, {kGreen, 1, 80, 100},    {kGreen, 280, 80, 100},   {kGreen, 340, 80, 100},
               {kGreen, 480, 80, 100}, {kGreen, 1000, 80, 100}, {kGreen, 360, 1, 100},    {kGreen, 360, 2, 100},
               {kGreen, 360, 20, 100}, {kGreen, 360, 500, 100}, {kGreen, 360, 1000, 100}, {kGreen, 360, 200, 1},
               {kGreen, 360, 200, 20}, {kGreen, 360, 200, 500}, {kGreen, 360, 200, 1000}, {kGreen, 360, 1, 1},
               {kGreen, 1, 1, 1},      {kGreen, 1000, 1, 1},    {kBlue, 100, 120, 150}};
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
  } cases[] = {{"enable_beauty", "whitten", {0, 1, 30, 50, 100}},
               {"enable_beauty", "blur", {1, 2, 6, 15, 51, 100}},
               {"enable_color", "bright", {-100, -40, 0, 1, 35, 100}},
               {"enable_color", "temperature", {-100, -30, 1, 50, 100}},
               {"enable_color", "highlight", {1, 60, 100}},
               {"enable_color", "shadow", {1, 40, 100}}};
  for (const auto& [stage, key, values] : cases)
    for (const int value : values) {
      SCOPED_TRACE(key + (' ' + std::to_string(value)));
      Tuned tuned;
      CheckSizes(tuned.With(stage).With(key, value));
      if (key != std::string("blur")) Check(tuned, Cube());
    }
  CheckSizes(Tuned().With("enable_beauty").With("whitten", 60).With("blur", 40));
}

TEST_F(EffectTest, BackgroundOfAnySizeUnderTranslucentFrames) {
  for (const auto& [width, height] : {std::pair(48, 32), {1, 1}, {5, 3}, {64, 21}, {131, 97}})
    for (const bool opaque : {true, false}) {
      SCOPED_TRACE(Size(width, height));
      CheckSizes(Tuned().Under(Picture(width, height, 5, opaque)));
    }
  CheckSizes(Tuned().With("enable_key").Key(kGreen).Under(Image(2, 2)));  // what is keyed out over nothing
}

TEST_F(EffectTest, AllStagesTogether) {
  Tuned tuned;
  tuned.With("enable_key").With("enable_beauty").With("enable_color").Key(kGreen).With("similarity", 360);
  tuned.With("smoothness", 200).With("anti-spill", 300).With("whitten", 40).With("blur", 20).With("bright", 15);
  CheckSizes(tuned.With("temperature", -25).With("highlight", 30).With("shadow", 20));
  CheckSizes(tuned.Under(Picture(41, 33, 6)));
  CheckSizes(tuned.With("bright", -30).With("temperature", 60).With("blur", 70).Key(kBlue));
}

// Parameters are state of the program, which all contexts share: each has to see what another one set last.
TEST_F(EffectTest, EveryChangeShowsInTheNextFrameOfEveryContext) {
  const std::pair<const char*, int> steps[] = {
      {"enable_key", 1},    {"similarity", 340}, {"enable_beauty", 1}, {"blur", 30},       {"smoothness", 1},
      {"blur", 0},          {"whitten", 40},     {"blur", 1},          {"blur", 20},       {"enable_key", 0},
      {"whitten", 0},       {"enable_color", 1}, {"bright", 20},       {"blur", 0},        {"temperature", -30},
      {"bright", 0},        {"shadow", 30},      {"temperature", 40},  {"highlight", 20},  {"shadow", 0},
      {"enable_beauty", 0}, {"enable_bg", 1},    {"highlight", 0},     {"temperature", 0}, {"enable_key", 1},
      {"anti-spill", 1},    {"smoothness", 200}, {"enable_color", 0},  {"enable_bg", 0},   {"enable_key", 0}};
  const Image picture = Scene(40, 30, 7);
  const TexturePtr frame = Upload(picture);
  const size_t frameBuffers = LiveNames(kFrameBuffers).size();
  // One after the other, at different steps.
  Tuned both[2];
  for (Tuned& tuned : both) tuned.Key(kGreen).Under(Picture(16, 12, 2)).With("enable_bg", 0);
  const auto check = [&](const Tuned& tuned) {
    const EffectSettings& now = tuned.settings;
    if (now.key || now.beauty || now.color || now.background) return Check(tuned, frame, picture);
    EXPECT_EQ(gl_.ApplyEffect(tuned.effect.get(), frame.get()), nullptr);
  };
  QVGGLContext* other = gl_.GetSharedContext();
  gl_.Finish();
  for (size_t i = 0; i < 2 * std::size(steps); ++i) {
    SCOPED_TRACE(i);
    ASSERT_TRUE(gl_.MakeCurrentContext(i % 2 == 0 ? context_->handle : other, nullptr));
    for (const size_t shift : {0, 13}) {
      const auto& [key, value] = steps[(i + shift) % std::size(steps)];
      SCOPED_TRACE(key + (' ' + std::to_string(value)));
      both[shift != 0].With(key, value);
      check(both[shift != 0]);
    }
    gl_.Finish();
    gl_.MakeCurrentContext(nullptr, nullptr);
    std::thread([&] {
      ASSERT_TRUE(gl_.MakeCurrentContext(i % 2 == 0 ? other : context_->handle, nullptr));
      check(both[0]);
      gl_.Finish();
      gl_.MakeCurrentContext(nullptr, nullptr);
    }).join();
  }
  for (Tuned& tuned : both) tuned.effect.reset();
  for (QVGGLContext* context : {other, context_->handle, other, context_->handle}) {
    gl_.MakeCurrentContext(context, nullptr);
    ClearPools();
  }
  EXPECT_EQ(LiveNames(kFrameBuffers).size(), frameBuffers);
  gl_.ReleaseSharedContext(&other);
}

TEST_F(EffectTest, TurnedAndFlippedFramesPresentUprightOverAnUprightBackground) {
  const Image picture = Scene(37, 22, 3);
  const TexturePtr frame = Upload(picture);
  Tuned tuned;
  tuned.With("enable_key").Key(kGreen).With("similarity", 340).With("smoothness", 300).With("enable_beauty");
  tuned.With("blur", 12).Under(Picture(29, 31, 7));
  for (const uint32_t rotation : {0u, 1u, 2u, 3u, 5u, ~0u}) {
    for (const bool flipped : {false, true}) {
      SCOPED_TRACE(std::to_string(rotation) + (flipped ? ", flipped" : ""));
      EXPECT_TRUE(gl_.SetTextureRotation(frame.get(), rotation));
      EXPECT_TRUE(gl_.SetTextureFlipped(frame.get(), flipped));
      Check(tuned, frame, picture);
    }
  }
}

TEST_F(EffectTest, OnlyTheContentIsReadWhateverItsChannelOrder) {
  const Image whole = Scene(60, 40, 4);
  Tuned tuned;
  tuned.With("enable_key").Key(kGreen).With("similarity", 340).With("enable_beauty").With("blur", 30);
  tuned.Under(Picture(30, 20, 8));
  const TexturePtr frame = Upload(MakeFrame(QVG_FORMAT_BGRA, whole));
  EXPECT_TRUE(gl_.SetTextureSize(frame.get(), 31, 19));
  EXPECT_TRUE(gl_.SetTextureOrigin(frame.get(), 7, 18));
  // What a draw leaves behind must not show either.
  const TexturePtr target = Upload(Picture(50, 40, 9));
  QVGDrawTextureParams params = DefaultParams();
  params.blendType = QVG_BLEND_MULTIPLY;
  params.depthTest = true;
  EXPECT_TRUE(gl_.DrawTexture(frame.get(), Target(target.get(), nullptr, true).get(), &params));
  Check(tuned, frame, Crop(whole, 7, 18, 31, 19));
  // Another effect takes what one gives as it is.
  const TexturePtr keyed = Apply(tuned.effect, frame), again = Apply(Tuned().With("enable_color").effect, keyed);
  EXPECT_EQ(Difference(Content(keyed.get()), Content(again.get())), "");
}

TEST_F(EffectTest, ParametersOutOfRangeCountAsTheNearestInRange) {
  using Limits = std::numeric_limits<int64_t>;
  const TexturePtr frame = Upload(Scene(40, 30, 5));
  const QVGParamDescriptor* rows = nullptr;
  uint32_t count = 0;
  ASSERT_TRUE(gl_.GetEffectParameterTable(kName, &rows, &count));
  Tuned far, near;
  for (Tuned* tuned : {&far, &near})
    tuned->With("enable_key").With("enable_beauty").With("enable_color").Key(kGreen).With("similarity", 340);
  const auto expectSame = [&](const char* key, const QVGParamValue& beyond, const QVGParamValue& within) {
    Set(far.effect, key, beyond);
    Set(near.effect, key, within);
    EXPECT_EQ(Difference(Content(Apply(near.effect, frame).get()), Content(Apply(far.effect, frame).get())), "") << key;
  };
  for (const QVGParamDescriptor* row = rows; row != rows + count; ++row) {
    if (row->valueType != QVG_PARAM_INTEGER) continue;
    for (const int64_t beyond : {row->minimum.value.integer - 1, Limits::min()})
      expectSame(row->name, Integer(beyond), row->minimum);
    for (const int64_t beyond : {row->maximum.value.integer + 1, Limits::max()})
      expectSame(row->name, Integer(beyond), row->maximum);
    expectSame(row->name, row->defaultValue, row->defaultValue);
  }
  const double infinity = std::numeric_limits<double>::infinity(), none = std::numeric_limits<double>::quiet_NaN();
  for (const Triple& beyond : {Triple{-3, 7, -0.1}, {-infinity, infinity, 0}, {none, 1, none}})
    expectSame("color", Rgb(beyond), Rgb(kGreen));
}

TEST_F(EffectTest, NothingIsDrawnWithoutAStageOrAFrame) {
  const TexturePtr frame = Upload(Scene(20, 10, 1));
  Tuned tuned;
  const auto draws = [&] { return TexturePtr(gl_.ApplyEffect(tuned.effect.get(), frame.get())) != nullptr; };
  EXPECT_FALSE(draws());
  tuned.With("enable_bg");
  EXPECT_FALSE(draws()) << "a background that is none";
  for (const char* path : {static_cast<const char*>(nullptr), "", "no such image"}) {
    Set(tuned.effect, "bgfile", Text(path));
    EXPECT_FALSE(draws());
  }
  EXPECT_EQ(host.decoded, (std::map<std::string, int>{{"no such image", 1}}));
  tuned.Under(Picture(4, 4, 1)).With("enable_bg", 0);
  EXPECT_FALSE(draws()) << "a background that is off";
  tuned.background = {};
  CheckSizes(tuned.With("enable_color").With("bright", 20));
  EXPECT_EQ(gl_.ApplyEffect(tuned.effect.get(), nullptr), nullptr);
}

TEST_F(EffectTest, ImagesAreDecodedOnceAPath) {
  const std::string path = NewImage(Picture(6, 4, 1, true)), broken = "broken";
  Tuned first, second;
  for (const Tuned* tuned : {&first, &second, &first}) {
    Set(tuned->effect, "bgfile", Text(path.c_str()));
    EXPECT_EQ(host.lent, 0);
    Set(first.effect, "bgfile", Text(broken.c_str()));
  }
  EXPECT_EQ(host.decoded, (std::map<std::string, int>{{path, 1}, {broken, 3}})) << "what failed is tried again";
  // Without a callback there are no new images, but still the old ones.
  QVG_GetGLRendererInterface(nullptr);
  const Image green(6, 4, {0, 1, 0, 1});
  first.With("enable_key").Key(kGreen).With("enable_bg");
  Set(first.effect, "bgfile", Text(NewImage(Picture(3, 3, 3)).c_str()));
  EXPECT_EQ(Shown(first, green).at(0, 0)[3], 0);
  Set(first.effect, "bgfile", Text(path.c_str()));
  // The background's top row is the output's last one.
  EXPECT_EQ(Difference(FlippedRows(Picture(6, 4, 1, true)), Shown(first, green)), "");
}

TEST_F(EffectTest, FramesReuseEverythingButTheOutputAndLeaveNothing) {
  const auto work = [&] {
    Tuned tuned;
    tuned.With("enable_color").With("bright", 10);
    const TexturePtr frames[] = {Upload(Scene(24, 16, 1)), Upload(Scene(16, 24, 1))};
    const TexturePtr kept = Apply(tuned.effect, frames[0]);
    const Image content = Content(kept.get());
    std::vector<size_t> names;
    for (int i = 0; i < 6; ++i) {
      Apply(tuned.effect, frames[i % 2]);
      if (i == 1) names = NameCounts();
    }
    EXPECT_EQ(NameCounts(), names);
    EXPECT_EQ(Difference(content, Content(kept.get())), "") << "an output that is the host's changed";
  };
  work();
  ClearPools();
  const std::vector<size_t> names = NameCounts();  // the program stays in its cache
  work();
  ClearPools();
  EXPECT_EQ(NameCounts(), names);
}

// ---- The registry

TEST_F(EffectTest, NamesAreCountedByTypeAndWrittenAll) {
  constexpr int32_t kOwnType = 1, kNoType = 7;
  const struct {
    int32_t type, capacity;
    bool written;
  } cases[] = {{kOwnType, 1, true}, {kOwnType, 9, true},  {kOwnType, 0, false},
               {kNoType, 0, true},  {kNoType, -1, false}, {0, 3, true}};
  for (const auto& [type, capacity, written] : cases) {
    SCOPED_TRACE(std::to_string(type) + ", " + std::to_string(capacity));
    const char* names[2] = {nullptr, nullptr};
    int32_t count = -5;
    EXPECT_EQ(gl_.GetEffectNames(type, names, capacity, &count), written);
    EXPECT_EQ(count, type == kOwnType ? 1 : 0);
    EXPECT_STREQ(names[0], written ? kName : nullptr);
    EXPECT_EQ(names[1], nullptr);
    EXPECT_FALSE(gl_.GetEffectNames(type, names, capacity, nullptr));
  }
  int32_t count = -1;
  EXPECT_FALSE(gl_.GetEffectNames(kOwnType, nullptr, 16, &count));
  EXPECT_EQ(count, 1);
}

TEST_F(EffectTest, NamesMatchExactlyAndSpeakTheLocale) {
  EXPECT_TRUE(gl_.HasEffect(kName));
  EXPECT_EQ(gl_.GetEffectType(kName), 1u);
  const QVGParamDescriptor* parameters = nullptr;
  uint32_t rows = 0;
  for (const char* name : {static_cast<const char*>(nullptr), "", "general_ef", "general_eff ", "General_eff",
                           "general_eff2", "genaralEffect", "colorEffect"}) {
    SCOPED_TRACE(name == nullptr ? "null" : name);
    EXPECT_FALSE(gl_.HasEffect(name));
    EXPECT_EQ(gl_.GetEffectType(name), 0u);
    EXPECT_EQ(gl_.QueryEffect(name, nullptr), nullptr);
    EXPECT_FALSE(gl_.GetEffectParameterTable(name, &parameters, &rows));
    EXPECT_EQ(gl_.CreateEffect(name), nullptr);
  }
  const std::pair<const char*, bool> locales[] = {{nullptr, true}, {"", true},       {"zh", true},      {"zh_CN", true},
                                                  {"en", false},   {"zh_TW", false}, {"zh_CN ", false}, {"ZH", false}};
  for (const auto& [locale, chinese] : locales)
    EXPECT_STREQ(gl_.QueryEffect(kName, locale), chinese ? "画面特效" : kName) << (locale != nullptr ? locale : "null");
}

struct Row {
  const char *key, *label;
  int control, type;
  int64_t defaultValue, minimum, maximum;
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
  EXPECT_EQ(table, nullptr);
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
    const auto& standard = actual.defaultValue.value;
    if (row.type == QVG_PARAM_INTEGER) {
      EXPECT_EQ(standard.integer, row.defaultValue);
      for (const auto& [value, expected] :
           {std::pair(actual.minimum, row.minimum), {actual.maximum, row.maximum}, {actual.step, 1}})
        EXPECT_TRUE(value.type == QVG_PARAM_INTEGER && value.value.integer == expected) << expected;
    }
    const Triple color = {standard.color[0], standard.color[1], standard.color[2]};
    EXPECT_TRUE(row.type != QVG_PARAM_COLOR || color == kGreen);
    EXPECT_TRUE(row.type != QVG_PARAM_TEXT || standard.text == nullptr);
    EXPECT_TRUE(row.type != QVG_PARAM_BOOLEAN || !standard.boolean);

    for (const int32_t type : {-1, 0, 1, 2, 3, 4, 5, 6}) {
      const QVGParamValue value = {type, {}};
      const bool accepted = type == row.type || (row.type == QVG_PARAM_BOOLEAN && type == QVG_PARAM_INTEGER);
      EXPECT_EQ(takes(row.key, &value), accepted) << type;
    }
    EXPECT_FALSE(takes(row.key, nullptr));
    EXPECT_FALSE(takes(row.key + 1, &actual.defaultValue));
    EXPECT_FALSE(takes((row.key + std::string(" ")).c_str(), &actual.defaultValue));
  }
  const QVGParamValue one = Integer(1);
  for (const char* key : {static_cast<const char*>(nullptr), "", "saturation", "contrast", "hue", "Blur"})
    EXPECT_FALSE(takes(key, &one)) << (key != nullptr ? key : "null");
}

TEST_F(EffectTest, SwitchesAreTheFirstByteOfTheirValue) {
  const Tuned tuned;
  const TexturePtr frame = Upload(Scene(8, 8, 1));
  const std::pair<QVGParamValue, bool> states[] = {{Integer(1), true},    {Integer(256), false},
                                                   {Boolean(true), true}, {Boolean(false), false},
                                                   {Integer(-1), true},   {Integer(0), false}};
  for (const auto& [value, on] : states) {
    Set(tuned.effect, "enable_color", value);
    EXPECT_EQ(TexturePtr(gl_.ApplyEffect(tuned.effect.get(), frame.get())) != nullptr, on);
  }
}

TEST_F(EffectTest, InstancesLiveOnceAndNullOnesDoNothing) {
  gl_.MakeCurrentContext(nullptr, nullptr);
  EXPECT_EQ(gl_.CreateEffect(kName), nullptr) << "without a context; nothing unusable is left for later ones";
  gl_.MakeCurrentContext(context_->handle, nullptr);
  const Image picture = Scene(8, 8, 1);
  const TexturePtr first = Upload(picture), second = Upload(Scene(8, 8, 2));
  const QVGParamValue on = Boolean(true);
  Tuned one, other;
  Check(one.With("enable_color"), first, picture);
  EXPECT_EQ(gl_.ApplyEffect(other.effect.get(), first.get()), nullptr) << "each has its own switches";
  QVGEffect *effect = one.effect.release(), *destroyed = effect;
  EXPECT_EQ(gl_.ApplyEffectWith(effect, first.get(), second.get(), 0.5f), first.get());
  EXPECT_EQ(gl_.ApplyEffectWith(effect, nullptr, second.get(), 0.5f), nullptr);
  EXPECT_TRUE(gl_.DestroyEffect(&effect));
  EXPECT_EQ(effect, nullptr);
  EXPECT_FALSE(gl_.DestroyEffect(&destroyed));
  EXPECT_NE(destroyed, nullptr);
  for (QVGEffect* const none : {effect, destroyed}) {
    QVGTexture* const passed = none == nullptr ? first.get() : nullptr;  // through an effect that is null
    EXPECT_FALSE(gl_.SetEffectParameter(none, "enable_key", &on));
    EXPECT_EQ(gl_.ApplyEffect(none, first.get()), passed);
    EXPECT_EQ(gl_.ApplyEffect(none, nullptr), nullptr);
    EXPECT_EQ(gl_.ApplyEffectWith(none, first.get(), second.get(), 0.5f), passed);
  }
  EXPECT_TRUE(gl_.DestroyEffect(&effect));
  EXPECT_TRUE(gl_.DestroyEffect(nullptr));
}

}  // namespace
}  // namespace qvg::test
