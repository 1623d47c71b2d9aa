#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "commands/command.h"
#include "commands/options.h"
#include "media/colorConversion.h"
#include "media/frameSamples.h"
#include "picture/keyTuner.h"
#include "picture/logCapture.h"
#include "picture/sheet.h"

namespace qvgtool {
namespace {

struct TuneOptions {
  std::string input;
  std::string sheet = "tune.png";
  std::string key;  // Empty: found in the picture.
  double from = 0;  // Seconds.
};

constexpr int kColumns = 5, kTileWidth = 300, kGap = 14, kLabelHeight = 30, kTitleHeight = 34;

// A value that is varied: which one, its name, and the factor from one column to the next.
struct Sweep {
  const char* name;
  int64_t KeyValues::*value;
  double factor;
};
constexpr Sweep kSweeps[] = {{"similarity", &KeyValues::similarity, 1.35},
                             {"smoothness", &KeyValues::smoothness, 2.0},
                             {"anti-spill", &KeyValues::spill, 2.0}};

// A premultiplied picture over grey, over a check pattern, and its alpha, one below the other.
FramePtr Tile(const Frame& keyed, int width, int height) {
  ColorConverter converter;
  const Frame& small = converter.Convert(keyed, PixelFormat::kRGBA, width, height, kRgbColors);
  FramePtr tile = NewPackedFrame(PixelFormat::kRGB, width, 3 * height);
  for (int y = 0; y < height; ++y) {
    const uint8_t* in = Row(small, y);
    uint8_t *grey = Row(*tile, y), *check = Row(*tile, height + y), *alpha = Row(*tile, 2 * height + y);
    for (int x = 0; x < width; ++x, in += 4) {
      const int square = 170 - 70 * ((x / 12 + y / 12) % 2);
      for (int i = 0; i < 3; ++i) {
        const auto over = [&](int behind) {
          return static_cast<uint8_t>(std::min(255, in[i] + (behind * (255 - in[3]) + 127) / 255));
        };
        *grey++ = over(128);
        *check++ = over(square);
        *alpha++ = in[3];
      }
    }
  }
  return tile;
}

std::string Tune(const TuneOptions& options, LogCapture& log) {
  const std::vector<FramePtr> samples = SamplesOf(options.input, {.from = options.from, .sound = false});
  // The sheet shows a frame from the middle of the clip.
  const FramePtr& frame = samples[samples.size() / 2];

  const Renderer renderer;
  if (!renderer.Ready()) throw Error(NoContextReason(log));
  log.Forward(false);
  const KeyValues found = TuneKey(samples, options.key);
  const Texture texture = renderer.Upload(*frame);

  const int tileHeight = std::clamp(
      static_cast<int>(std::lround(static_cast<double>(kTileWidth) * frame->height / frame->width)), 40, 600);
  const int rowHeight = 3 * tileHeight + kLabelHeight + kGap;
  constexpr int kRows = static_cast<int>(std::size(kSweeps));
  Sheet sheet(kColumns * (kTileWidth + kGap) + kGap, kTitleHeight + kRows * rowHeight + kGap);
  sheet.Label(kGap, 12, "found   " + OptionLine(found), 20);
  for (int row = 0; row < kRows; ++row) {
    const Sweep& sweep = kSweeps[row];
    for (int column = 0; column < kColumns; ++column) {
      KeyValues values = found;
      const int step = column - kColumns / 2;
      values.*sweep.value = std::clamp<int64_t>(
          std::llround(static_cast<double>(found.*sweep.value) * std::pow(sweep.factor, step)), 1, 1000);
      const int x = kGap + column * (kTileWidth + kGap), y = kTitleHeight + kGap + row * rowHeight;
      const Texture keyed = Effect(SettingsOf(values)).Apply(texture);
      sheet.Paste(*Tile(*renderer.ReadBack(keyed, PixelFormat::kRGBA, true), kTileWidth, tileHeight), x, y);
      sheet.Label(x + 2, y + 3 * tileHeight + 7,
                  fmt::format("{} {}{}", sweep.name, values.*sweep.value, step == 0 ? "   (found)" : ""), 16);
    }
  }
  sheet.Save(options.sheet);
  return OptionLine(found);
}

class TuneCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override {
    app.description(
        "Finds the colour of the screen along the pictures' borders and values with which it disappears,\n"
        "draws what they and their neighbours give, and prints the options to paste.");
    app.add_option("INPUT", options_.input, "Video or image")->required();
    app.add_option("-o,--output", options_.sheet, "The contact sheet")->type_name("PNG")->capture_default_str();
    app.add_option("--key", options_.key, "Colour of the screen; else found")->type_name("COLOUR");
    AddTime(app, "--from", options_.from, "Looks at frames from there on");
  }
  void Complete(const CLI::App& app) override { RefuseEmptyInput(app, options_.input); }

  int Run() override {
    std::string line;
    {
      LogCapture log;
      line = Tune(options_, log);
    }
    fmt::print("{}: each value and its neighbours\n{}\n", options_.sheet, line);
    return kDone;
  }

 private:
  TuneOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeTune() { return std::make_unique<TuneCommand>(); }

}  // namespace qvgtool
