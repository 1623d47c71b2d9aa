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
constexpr int kSizes[][2] = {{48, 32}, {37, 23}};

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
  image->width = found->second.width;
  image->height = found->second.height;
  ++host.lent;
  return image;
}

void Free(const char* path, QVGHostImage* image) {
  EXPECT_EQ(host.images.count(path), 1u);
  auto* lent = static_cast<LentImage*>(image);
  std::fill(lent->bytes.begin(), lent->bytes.end(), 0xEE);
  delete lent;
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

  Tuned& Number(const std::string& key, int value) {
    Set(effect, key.c_str(), Integer(value));
    settings.*kNumbers.at(key).member = value / kNumbers.at(key).divisor;
    return *this;
  }
  Tuned& Switch(const std::string& key, bool on = true) {
    Set(effect, key.c_str(), Boolean(on));
    settings.*kSwitches.at(key) = on;
    return *this;
  }
  Tuned& Change(const std::string& key, int value) {
    return kSwitches.count(key) != 0 ? Switch(key, value != 0) : Number(key, value);
  }
  Tuned& Key(const Triple& rgb) {
    Set(effect, "color", Rgb(rgb));
    settings.keyChroma = KeyChroma(rgb);
    return *this;
  }
  Tuned& Under(const Image& image) {
    background = image;
    Set(effect, "bgfile", Text(NewImage(image).c_str()));
    return Switch("enable_bg");
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
    return output;
  }

  Image Shown(const Tuned& tuned, const Image& picture) { return Content(Apply(tuned.effect, Upload(picture)).get()); }

  /// Draws the frame, which holds the picture, and compares.
  void Check(const Tuned& tuned, const TexturePtr& frame, const Image& picture, Errors& errors) {
    const EffectScene scene = {tuned.settings, picture, static_cast<int>(gl_.GetTextureRotation(frame.get()) % 4),
                               gl_.GetTextureFlipped(frame.get()), tuned.background};
    EXPECT_EQ(CompareEffect(ExpectedEffect(scene), Content(Apply(tuned.effect, frame).get()), errors), "");
  }
  void Check(const Tuned& tuned, const Image& picture, Errors& errors) {
    Check(tuned, Upload(picture), picture, errors);
  }

  /// With even and odd sizes, in fresh and in recycled larger storage.
  void CheckSizes(const Tuned& tuned, Errors& errors) {
    for (const auto& [width, height] : kSizes) {
      for (const bool recycled : {false, true}) {
        SCOPED_TRACE(Size(width, height) + (recycled ? ", recycled" : ""));
        ClearPools();
        if (recycled) LeaveGarbageTwice(width, height);
        Check(tuned, Scene(width, height, recycled ? 2 : 1), errors);
      }
    }
  }
};

// ---- What is drawn

TEST_F(EffectTest, Key) {
  Errors errors;
  const auto check = [&](const Triple& color, int similarity, int smoothness, int spill) {
    SCOPED_TRACE(std::to_string(similarity) + ", " + std::to_string(smoothness) + ", " + std::to_string(spill));
    Tuned tuned;
    tuned.Switch("enable_key").Key(color);
    tuned.Number("similarity", similarity).Number("smoothness", smoothness).Number("anti-spill", spill);
    CheckSizes(tuned, errors);
  };
  check(kGreen, 400, 80, 100);
  for (const int similarity : {1, 280, 340, 480, 1000}) check(kGreen, similarity, 80, 100);
  for (const int smoothness : {1, 2, 20, 500, 1000}) check(kGreen, 360, smoothness, 100);
  for (const int spill : {1, 20, 500, 1000}) check(kGreen, 360, 200, spill);
  check(kGreen, 360, 1, 1);
  check(kBlue, 100, 120, 150);
  CheckSizes(Tuned().Switch("enable_key"), errors);  // a key colour that was not set is no colour
  // The darkest colours are encoded by another formula.
  Image dark = Picture(40, 30, 6, true);
  for (Color& color : dark.texels)
    for (int c = 0; c < 3; ++c) color[c] *= 0.04;
  Tuned black;
  Check(black.Switch("enable_key").Key({0, 0, 0}).Number("similarity", 1).Number("smoothness", 200), Quantised(dark),
        errors);
  Report("key", errors);
}

TEST_F(EffectTest, Beauty) {
  Errors errors;
  const int cases[][2] = {{0, 0}, {1, 0},  {50, 0}, {100, 0}, {0, 1},  {0, 2},
                          {0, 6}, {0, 15}, {0, 51}, {0, 100}, {60, 40}};
  for (const auto& [whitten, blur] : cases) {
    SCOPED_TRACE(Size(whitten, blur));
    Tuned tuned;
    CheckSizes(tuned.Switch("enable_beauty").Number("whitten", whitten).Number("blur", blur), errors);
  }
  Report("beauty", errors);
  Errors whitened;
  for (const int whitten : {30, 100})
    Check(Tuned().Switch("enable_beauty").Number("whitten", whitten), Cube(), whitened);
  Report("whitening, all colours", whitened);
}

TEST_F(EffectTest, Colour) {
  Errors errors;
  const struct {
    const char* key;
    std::vector<int> values;
  } cases[] = {{"bright", {-100, -40, 0, 1, 35, 100}},
               {"temperature", {-100, -30, 1, 50, 100}},
               {"highlight", {1, 60, 100}},
               {"shadow", {1, 40, 100}}};
  for (const auto& [key, values] : cases)
    for (const int value : values) {
      SCOPED_TRACE(key + (' ' + std::to_string(value)));
      Tuned tuned;
      CheckSizes(tuned.Switch("enable_color").Number(key, value), errors);
      Check(tuned, Cube(), errors);
    }
  Report("colour", errors);
}

TEST_F(EffectTest, BackgroundOfAnySizeUnderTranslucentFrames) {
  Errors errors;
  const int sizes[][2] = {{48, 32}, {1, 1}, {5, 3}, {64, 21}, {131, 97}};
  for (const auto& [width, height] : sizes) {
    for (const bool opaque : {true, false}) {
      SCOPED_TRACE(Size(width, height));
      CheckSizes(Tuned().Under(Picture(width, height, 5, opaque)), errors);
    }
  }
  Report("background", errors);
}

TEST_F(EffectTest, AllStagesTogether) {
  Errors errors;
  for (const bool opaque : {true, false}) {
    Tuned tuned;
    tuned.Switch("enable_key").Switch("enable_beauty").Switch("enable_color").Key(kGreen).Number("similarity", 360);
    tuned.Number("smoothness", 200).Number("anti-spill", 300).Number("whitten", 40).Number("blur", 20);
    tuned.Number("bright", 15).Number("temperature", -25).Number("highlight", 30).Number("shadow", 20);
    CheckSizes(tuned, errors);
    CheckSizes(tuned.Under(Picture(41, 33, 6, opaque)), errors);
    CheckSizes(tuned.Number("bright", -30).Number("temperature", 60).Number("blur", 70).Key(kBlue), errors);
    // Taken back one by one, everything is as before.
    CheckSizes(tuned.Switch("enable_beauty", false).Switch("enable_bg", false).Number("temperature", 0), errors);
    CheckSizes(tuned.Switch("enable_key", false).Number("shadow", 0), errors);
  }
  Report("all stages", errors);
}

TEST_F(EffectTest, EveryChangeShowsInTheNextFrame) {
  Errors errors;
  const std::pair<const char*, int> steps[] = {
      {"enable_key", 1},    {"similarity", 340}, {"enable_beauty", 1}, {"blur", 30},       {"smoothness", 1},
      {"blur", 0},          {"whitten", 40},     {"blur", 1},          {"blur", 20},       {"enable_key", 0},
      {"whitten", 0},       {"enable_color", 1}, {"bright", 20},       {"blur", 0},        {"temperature", -30},
      {"bright", 0},        {"shadow", 30},      {"temperature", 40},  {"highlight", 20},  {"shadow", 0},
      {"enable_beauty", 0}, {"enable_bg", 1},    {"highlight", 0},     {"temperature", 0}, {"enable_key", 1},
      {"anti-spill", 1},    {"smoothness", 200}, {"enable_color", 0},  {"enable_bg", 0},   {"enable_key", 0}};
  const Image picture = Scene(40, 30, 7);
  const TexturePtr frame = Upload(picture);
  // One after the other, at different steps.
  Tuned both[2];
  for (Tuned& tuned : both) tuned.Key(kGreen).Under(Picture(16, 12, 2)).Switch("enable_bg", false);
  for (size_t i = 0; i < 2 * std::size(steps); ++i) {
    for (const size_t shift : {0, 13}) {
      const auto& [key, value] = steps[(i + shift) % std::size(steps)];
      SCOPED_TRACE(std::to_string(i) + ": " + key + ' ' + std::to_string(value));
      Tuned& tuned = both[shift != 0];
      const EffectSettings& now = tuned.Change(key, value).settings;
      if (now.key || now.beauty || now.color || now.background) {
        Check(tuned, frame, picture, errors);
        if (HasFailure()) {
          auto pix = [&](const char* what) {
            const Image im = Content(Apply(tuned.effect, frame).get());
            std::printf("%s %.3f %.3f %.3f\n", what, im.at(15, 0)[0] * 255, im.at(15, 0)[1] * 255,
                        im.at(15, 0)[2] * 255);
          };
          pix("again");
          pix("again2");
          for (int b : {0, 1, 2, 10, 20, 29, 30, 31, 50, 30}) {
            tuned.Change("blur", b);
            pix(std::to_string(b).c_str());
          }
          return;
        }
      } else {
        EXPECT_EQ(gl_.ApplyEffect(tuned.effect.get(), frame.get()), nullptr);
      }
    }
  }
  Report("changes between frames", errors);
}

TEST_F(EffectTest, TurnedAndFlippedFramesPresentUprightOverAnUprightBackground) {
  Errors errors;
  const Image picture = Scene(37, 22, 3);
  Tuned tuned;
  tuned.Switch("enable_key").Key(kGreen).Number("similarity", 340).Number("smoothness", 300).Switch("enable_beauty");
  tuned.Number("blur", 12).Under(Picture(29, 31, 7));
  for (const uint32_t rotation : {0u, 1u, 2u, 3u, 5u, ~0u}) {
    for (const bool flipped : {false, true}) {
      SCOPED_TRACE(std::to_string(rotation) + (flipped ? ", flipped" : ""));
      const TexturePtr frame = Upload(picture), upright = Upload(flipped ? FlippedRows(picture) : picture);
      for (const TexturePtr* texture : {&frame, &upright})
        EXPECT_TRUE(gl_.SetTextureRotation(texture->get(), rotation));
      EXPECT_TRUE(gl_.SetTextureFlipped(frame.get(), flipped));
      Check(tuned, frame, picture, errors);

      // With nothing to change it shows what a draw of the frame shows.
      const TexturePtr output = Apply(Tuned().Switch("enable_color").effect, frame);
      EXPECT_EQ(gl_.GetTextureRotation(output.get()), 0u);
      EXPECT_FALSE(gl_.GetTextureFlipped(output.get()));
      const TexturePtr drawn(gl_.AcquireTexture(gl_.GetTextureWidth(output.get()), gl_.GetTextureHeight(output.get())));
      EXPECT_TRUE(gl_.DrawTexture(upright.get(), Target(drawn.get()).get(), nullptr));
      EXPECT_EQ(Difference(Content(drawn.get()), Content(output.get())), "");
    }
  }
  Report("turns and flips", errors);
}

TEST_F(EffectTest, KeyedPicturesLieOverColoursWithoutARim) {
  const TexturePtr frame = Upload(Scene(48, 32, 1));
  for (const int smoothness : {1, 80, 500}) {
    Tuned tuned;
    tuned.Switch("enable_key").Key(kGreen).Number("similarity", 340).Number("smoothness", smoothness);
    const TexturePtr keyed = Apply(tuned.effect, frame);
    const Image stored = Content(keyed.get());
    for (const Color& color : {Color{1, 1, 1, 1}, {0, 0, 0, 1}, {0.8, 0.2, 0.6, 1}}) {
      for (const double opacity : {1.0, 0.5}) {
        const Image expected = MakeImage(48, 32, [&](int x, int y) -> Color {
          Color over = stored.at(x, y);
          for (int c = 0; c < 4; ++c) over[c] = opacity * over[c] + (1 - opacity * stored.at(x, y)[3]) * color[c];
          return over;
        });
        const TexturePtr target = Upload(Image(48, 32, color));
        QVGDrawTextureParams params = DefaultParams();
        params.blendType = QVG_BLEND_NORMAL;
        params.opacity = opacity;
        EXPECT_TRUE(gl_.DrawTexture(keyed.get(), Target(target.get()).get(), &params));
        EXPECT_EQ(Difference(expected, Content(target.get()), 1), "") << smoothness << ", " << opacity;
      }
    }
    // Another effect takes it as it is.
    EXPECT_EQ(Difference(stored, Content(Apply(Tuned().Switch("enable_color").effect, keyed).get())), "");
  }
}

TEST_F(EffectTest, OnlyTheContentIsReadWhateverItsChannelOrder) {
  Errors errors;
  const Image whole = Scene(60, 40, 4);
  Tuned tuned;
  tuned.Switch("enable_key").Key(kGreen).Number("similarity", 340).Switch("enable_beauty").Number("blur", 30);
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
  Check(tuned, frame, Crop(whole, 7, 18, 31, 19), errors);
  Report("content", errors);
}

TEST_F(EffectTest, ValuesWhereAFormulaHasNone) {
  const Color nothing = {}, black = {0, 0, 0, 1}, white = {1, 1, 1, 1}, red = {1, 0, 0, 1}, clear = {0.4, 0.2, 0.6, 0};
  const auto shown = [&](const Tuned& tuned, const Color& color) {
    const Color exact = Quantised(Image(1, 1, color)).texels[0];
    const Image output = Shown(tuned, Image(5, 4, exact));
    for (const Color& texel : output.texels) EXPECT_EQ(texel, output.texels[0]);
    return output.texels[0];
  };
  Tuned key, color;
  key.Switch("enable_key").Key(kGreen);
  for (const auto& [similarity, smoothness] : {std::pair(400, 80), {1, 1}, {1000, 1}}) {
    key.Number("similarity", similarity).Number("smoothness", smoothness).Number("anti-spill", smoothness);
    EXPECT_EQ(shown(key, nothing), nothing) << "alpha 0";
    EXPECT_EQ(shown(key, clear), nothing) << "colour of alpha 0";
    EXPECT_EQ(shown(key, red), similarity == 1000 ? nothing : red) << similarity;
    EXPECT_EQ(shown(key, {0, 1, 0, 1}), nothing) << similarity;
  }
  EXPECT_EQ(shown(color.Switch("enable_color"), clear), Quantised(Image(1, 1, clear)).texels[0]);
  for (const char* name : {"shadow", "highlight"}) {
    color.Number(name, 100);
    EXPECT_EQ(shown(color, black), black) << name;
    EXPECT_EQ(shown(color, nothing), nothing) << name;
    EXPECT_EQ(shown(color, white)[3], 1) << name;
  }
  color.Number("temperature", 100).Number("bright", -100);
  EXPECT_EQ(shown(color, white), black);
  EXPECT_EQ(shown(Tuned().Under(Image(2, 2, nothing)), clear), Quantised(Image(1, 1, clear)).texels[0]);
  // Nothing keyed over nothing.
  EXPECT_EQ(shown(key.Under(Image(2, 2, nothing)), {0, 1, 0, 1}), nothing);
}

TEST_F(EffectTest, ParametersOutOfRangeCountAsTheNearestInRange) {
  const TexturePtr frame = Upload(Scene(40, 30, 5));
  const QVGParamDescriptor* rows = nullptr;
  uint32_t count = 0;
  ASSERT_TRUE(gl_.GetEffectParameterTable(kName, &rows, &count));
  const auto draw = [&](const EffectPtr& effect) { return Content(Apply(effect, frame).get()); };
  Tuned far, near;
  for (Tuned* tuned : {&far, &near})
    tuned->Switch("enable_key").Switch("enable_beauty").Switch("enable_color").Key(kGreen).Number("similarity", 340);
  for (uint32_t i = 0; i < count; ++i) {
    if (rows[i].valueType != QVG_PARAM_INTEGER) continue;
    SCOPED_TRACE(rows[i].name);
    for (const int64_t beyond : {rows[i].minimum.value.integer - 1, rows[i].maximum.value.integer + 1,
                                 std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max()}) {
      Set(far.effect, rows[i].name, Integer(beyond));
      Set(near.effect, rows[i].name, beyond < 1 ? rows[i].minimum : rows[i].maximum);
      EXPECT_EQ(Difference(draw(near.effect), draw(far.effect)), "") << beyond;
    }
    for (Tuned* tuned : {&far, &near}) Set(tuned->effect, rows[i].name, rows[i].defaultValue);
  }
  const double infinity = std::numeric_limits<double>::infinity(), none = std::numeric_limits<double>::quiet_NaN();
  for (const auto& [beyond, within] :
       {std::pair(Triple{-3, 7, -0.1}, kGreen), {{-infinity, infinity, 0}, kGreen}, {{none, 1, none}, kGreen}}) {
    Set(far.effect, "color", Rgb(beyond));
    Set(near.effect, "color", Rgb(within));
    EXPECT_EQ(Difference(draw(near.effect), draw(far.effect)), "") << beyond[0];
  }
}

TEST_F(EffectTest, NothingIsDrawnWithoutAStageOrAFrame) {
  const TexturePtr frame = Upload(Scene(20, 10, 1));
  Tuned tuned;
  EXPECT_EQ(gl_.ApplyEffect(tuned.effect.get(), frame.get()), nullptr);
  tuned.Switch("enable_bg");
  EXPECT_EQ(gl_.ApplyEffect(tuned.effect.get(), frame.get()), nullptr) << "a background that is none";
  for (const char* path : {static_cast<const char*>(nullptr), "", "no such image"}) {
    Set(tuned.effect, "bgfile", Text(path));
    EXPECT_EQ(gl_.ApplyEffect(tuned.effect.get(), frame.get()), nullptr);
  }
  EXPECT_EQ(host.decoded, (std::map<std::string, int>{{"no such image", 1}}));
  tuned.Switch("enable_bg", false).Under(Picture(4, 4, 1)).Switch("enable_bg", false);
  EXPECT_EQ(gl_.ApplyEffect(tuned.effect.get(), frame.get()), nullptr) << "a background that is off";
  Errors errors;
  tuned.background = {};
  CheckSizes(tuned.Switch("enable_color").Number("bright", 20), errors);
  EXPECT_EQ(gl_.ApplyEffect(tuned.effect.get(), nullptr), nullptr);
}

TEST_F(EffectTest, ImagesAreDecodedOnceAPath) {
  const std::string path = NewImage(Picture(6, 4, 1, true)), broken = "broken";
  Tuned first, second;
  for (int i = 0; i < 2; ++i) {
    for (const Tuned* tuned : {&first, &second}) Set(tuned->effect, "bgfile", Text(path.c_str()));
    EXPECT_EQ(host.lent, 0);
    Set(first.effect, "bgfile", Text(i == 0 ? nullptr : ""));
    Set(second.effect, "bgfile", Text(broken.c_str()));
  }
  Tuned().Under(Picture(1, 1, 1));
  EXPECT_EQ(host.decoded[path], 1);
  EXPECT_EQ(host.decoded[broken], 2) << "what failed is tried again";
  // Without a callback there are no new images, but still the old ones.
  QVG_GetGLRendererInterface(nullptr);
  const Image green(6, 4, {0, 1, 0, 1});
  first.Switch("enable_key").Key(kGreen).Switch("enable_bg");
  Set(first.effect, "bgfile", Text(NewImage(Picture(3, 3, 3)).c_str()));
  EXPECT_EQ(Shown(first, green).at(0, 0)[3], 0);
  Set(first.effect, "bgfile", Text(path.c_str()));
  // The background's top row is the output's last one.
  EXPECT_EQ(Difference(FlippedRows(Picture(6, 4, 1, true)), Shown(first, green)), "");
}

TEST_F(EffectTest, FramesReuseEverythingButTheOutput) {
  const std::vector<size_t> before = NameCounts();
  {
    Tuned tuned;
    tuned.Switch("enable_color").Number("bright", 10);
    const TexturePtr frame = Upload(Scene(24, 16, 1)), tall = Upload(Scene(16, 24, 1));
    TexturePtr outputs[] = {Apply(tuned.effect, frame), Apply(tuned.effect, frame)};
    const Image kept = Content(outputs[0].get());
    EXPECT_NE(gl_.GetTextureId(outputs[0].get()), gl_.GetTextureId(outputs[1].get()));
    std::vector<size_t> names = NameCounts();
    for (const TexturePtr* input : {&frame, &tall, &frame}) {
      outputs[1].reset();
      outputs[1] = Apply(tuned.effect, *input);
      EXPECT_EQ(gl_.GetTextureWidth(outputs[1].get()), gl_.GetTextureWidth(input->get()));
    }
    // One more for the other size, and what it is drawn through.
    for (const Names kind : {kTextures, kFrameBuffers}) names[kind] = LiveNames(kind).size();
    EXPECT_EQ(NameCounts(), names);
    EXPECT_EQ(Difference(kept, Content(outputs[0].get())), "") << "an output that is the host's changed";
    EXPECT_EQ(Difference(kept, Content(outputs[1].get())), "");
  }
  ClearPools();
  std::vector<size_t> after = NameCounts();
  // The program stays in its cache.
  for (const Names kind : {kPrograms, kShaders, kBuffers, kVertexArrays}) after[kind] = before[kind];
  EXPECT_EQ(after, before);
}

TEST_F(EffectTest, WorksOnTwoContextsInTurn) {
  const size_t frameBuffers = LiveNames(kFrameBuffers).size();
  const Image picture = Scene(30, 20, 2);
  Tuned tuned;
  tuned.Switch("enable_key").Key(kGreen).Under(Picture(10, 10, 3));
  Errors errors;
  QVGGLContext* other = gl_.GetSharedContext();
  gl_.Finish();
  gl_.MakeCurrentContext(nullptr, nullptr);
  // Each value is set on one context, in turn, before it is used on both.
  QVGGLContext* contexts[] = {context_->handle, other};
  const std::pair<const char*, int> steps[] = {{"similarity", 340}, {"enable_beauty", 1}, {"blur", 20},
                                               {"smoothness", 200}, {"enable_bg", 0},     {"blur", 0},
                                               {"enable_color", 1}, {"bright", 30},       {"enable_key", 0}};
  for (const auto& [key, value] : steps) {
    for (const bool set : {true, false}) {
      SCOPED_TRACE(::testing::Message() << key << ' ' << value << (contexts[0] == other ? ", other" : ", own"));
      std::thread([&, key = key, value = value] {
        ASSERT_TRUE(gl_.MakeCurrentContext(contexts[0], nullptr));
        if (set) tuned.Change(key, value);
        Check(tuned, picture, errors);
        gl_.Finish();
        gl_.MakeCurrentContext(nullptr, nullptr);
      }).join();
      if (set) std::swap(contexts[0], contexts[1]);
    }
  }
  tuned.effect.reset();
  for (QVGGLContext* context : {other, context_->handle}) {
    gl_.MakeCurrentContext(context, nullptr);
    ClearPools();
  }
  gl_.MakeCurrentContext(other, nullptr);
  gl_.MakeCurrentContext(context_->handle, nullptr);
  EXPECT_EQ(LiveNames(kFrameBuffers).size(), frameBuffers);
  gl_.ReleaseSharedContext(&other);
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
  }
}

TEST_F(EffectTest, NamesMatchExactlyAndSpeakTheLocale) {
  EXPECT_TRUE(gl_.HasEffect(kName));
  EXPECT_EQ(gl_.GetEffectType(kName), 1u);
  for (const char* name :
       {"general_ef", "general_eff ", "General_eff", "general_eff2", "genaralEffect", "colorEffect"}) {
    EXPECT_FALSE(gl_.HasEffect(name)) << name;
    EXPECT_EQ(gl_.CreateEffect(name), nullptr) << name;
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

TEST_F(EffectTest, ParameterTable) {
  const QVGParamDescriptor* table = nullptr;
  uint32_t count = 0;
  EXPECT_TRUE(gl_.GetEffectParameterTable(kName, nullptr, &count));
  EXPECT_FALSE(gl_.GetEffectParameterTable(kName, &table, nullptr));
  EXPECT_EQ(table, nullptr);
  ASSERT_TRUE(gl_.GetEffectParameterTable(kName, &table, &count));
  ASSERT_EQ(count, std::size(kRows));
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
      const QVGParamValue* const values[] = {&actual.minimum, &actual.maximum, &actual.step};
      const int64_t expected[] = {row.minimum, row.maximum, 1};
      EXPECT_EQ(standard.integer, row.defaultValue);
      for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(values[i]->type == QVG_PARAM_INTEGER && values[i]->value.integer == expected[i]) << i;
    }
    const Triple color = {standard.color[0], standard.color[1], standard.color[2]};
    EXPECT_TRUE(row.type != QVG_PARAM_COLOR || color == kGreen);
    EXPECT_TRUE(row.type != QVG_PARAM_TEXT || standard.text == nullptr);
    EXPECT_TRUE(row.type != QVG_PARAM_BOOLEAN || !standard.boolean);
  }
}

TEST_F(EffectTest, ParametersTakeTheirTypesOnly) {
  const Tuned tuned;
  const TexturePtr frame = Upload(Scene(8, 8, 1));
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.key);
    for (const int32_t type : {-1, 0, 1, 2, 3, 4, 5, 6}) {
      const QVGParamValue value = {type, {}};
      const bool accepted = type == row.type || (row.type == QVG_PARAM_BOOLEAN && type == QVG_PARAM_INTEGER);
      EXPECT_EQ(gl_.SetEffectParameter(tuned.effect.get(), row.key, &value), accepted) << type;
    }
    EXPECT_FALSE(gl_.SetEffectParameter(tuned.effect.get(), row.key, nullptr));
    const QVGParamValue value = {row.type, {}};
    EXPECT_FALSE(gl_.SetEffectParameter(tuned.effect.get(), row.key + 1, &value));
    EXPECT_FALSE(gl_.SetEffectParameter(tuned.effect.get(), (row.key + std::string(" ")).c_str(), &value));
  }
  const QVGParamValue one = Integer(1);
  for (const char* key : {static_cast<const char*>(nullptr), "", "saturation", "contrast", "hue", "Blur"})
    EXPECT_FALSE(gl_.SetEffectParameter(tuned.effect.get(), key, &one)) << (key != nullptr ? key : "null");
  // Switches are the first byte of what they are given.
  const std::pair<QVGParamValue, bool> states[] = {{Integer(1), true},    {Integer(256), false},
                                                   {Boolean(true), true}, {Boolean(false), false},
                                                   {Integer(-1), true},   {Integer(0), false}};
  for (const auto& [value, on] : states) {
    Set(tuned.effect, "enable_color", value);
    EXPECT_EQ(TexturePtr(gl_.ApplyEffect(tuned.effect.get(), frame.get())) != nullptr, on);
  }
}

TEST_F(EffectTest, InstancesLiveOnce) {
  const TexturePtr first = Upload(Scene(8, 8, 1)), second = Upload(Scene(8, 8, 2));
  Tuned other;
  QVGEffect* effect = Tuned().Switch("enable_color").effect.release();
  EXPECT_NE(effect, other.effect.get());
  EXPECT_EQ(gl_.ApplyEffectWith(effect, first.get(), second.get(), 0.5f), first.get());
  EXPECT_EQ(gl_.ApplyEffectWith(effect, nullptr, second.get(), 0.5f), nullptr);
  EXPECT_EQ(gl_.ApplyEffect(other.effect.get(), first.get()), nullptr) << "each has its own switches";
  QVGEffect* again = effect;
  EXPECT_TRUE(gl_.DestroyEffect(&effect));
  EXPECT_EQ(effect, nullptr);
  EXPECT_TRUE(gl_.DestroyEffect(&effect));
  EXPECT_FALSE(gl_.DestroyEffect(&again));
  EXPECT_NE(again, nullptr);
  const QVGParamValue value = Boolean(true);
  EXPECT_FALSE(gl_.SetEffectParameter(again, "enable_key", &value));
  EXPECT_EQ(gl_.ApplyEffect(again, first.get()), nullptr);
  EXPECT_EQ(gl_.ApplyEffectWith(again, first.get(), second.get(), 1), nullptr);
}

}  // namespace
}  // namespace qvg::test
