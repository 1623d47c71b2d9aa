#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "commands/command.h"
#include "commands/options.h"
#include "media/filters.h"
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

// What is swept: the value, in words, and how far apart the columns lie, as a factor.
struct Sweep {
  const char* name;
  int64_t KeyValues::*value;
  double factor;
};
constexpr Sweep kSweeps[] = {{"similarity", &KeyValues::similarity, 1.35},
                             {"smoothness", &KeyValues::smoothness, 2.0},
                             {"anti-spill", &KeyValues::spill, 2.0}};

// Of a premultiplied picture: over grey, over a check pattern, and its alpha, one below the other.
FramePtr Tile(const AVFrame& keyed, int width, int height) {
  const std::string chain = fmt::format(
      "scale={0}:{1}:flags=area,split=3[a][b][c];"
      "color=0x808080:size={0}x{1}:duration=1:rate=1,format=gbrp[grey];"
      "color=black:size={0}x{1}:duration=1:rate=1,format=gbrp,"
      "geq=r='170-70*mod(floor(X/12)+floor(Y/12),2)':g='170-70*mod(floor(X/12)+floor(Y/12),2)'"
      ":b='170-70*mod(floor(X/12)+floor(Y/12),2)'[check];"
      "[grey][a]overlay=alpha=premultiplied:format=gbrp,format=rgb24[x];"
      "[check][b]overlay=alpha=premultiplied:format=gbrp,format=rgb24[y];"
      "[c]colorchannelmixer=0:0:0:1:0:0:0:1:0:0:0:1,format=rgb24[z];"
      "[x][y][z]vstack=3",
      width, height);
  FramePtr tile = Filtered(keyed, chain);
  if (!tile) throw Error("FFmpeg's filters for the contact sheet are missing: " + FfmpegError(AVERROR(EINVAL)));
  return tile;
}

std::string Tune(const TuneOptions& options, LogCapture& log) {
  const std::vector<FramePtr> samples = SamplesOf(options.input, {.from = options.from, .sound = false});
  // One from the middle of the clip is drawn.
  const FramePtr& frame = samples[samples.size() / 2];

  const Renderer renderer;
  if (!renderer.Ready()) throw Error(NoContextReason(log));
  log.Forward(false);
  const KeyValues found = KeyTuner(samples, options.key).Find();
  const Texture texture = renderer.Upload(*frame);

  const int tileHeight = std::clamp(
      static_cast<int>(std::lround(static_cast<double>(kTileWidth) * frame->height / frame->width)), 40, 600);
  const int rowHeight = 3 * tileHeight + kLabelHeight + kGap;
  constexpr int kRows = static_cast<int>(std::size(kSweeps));
  Sheet sheet(kColumns * (kTileWidth + kGap) + kGap, kTitleHeight + kRows * rowHeight + kGap);
  sheet.Label(kGap, 12, "found   " + found.OptionLine(), 20);
  for (int row = 0; row < kRows; ++row) {
    const Sweep& sweep = kSweeps[row];
    for (int column = 0; column < kColumns; ++column) {
      KeyValues values = found;
      const int step = column - kColumns / 2;
      values.*sweep.value = std::clamp<int64_t>(
          std::llround(static_cast<double>(found.*sweep.value) * std::pow(sweep.factor, step)), 1, 1000);
      const int x = kGap + column * (kTileWidth + kGap), y = kTitleHeight + kGap + row * rowHeight;
      const Texture keyed = Effect(renderer, values.Settings()).Apply(texture);
      sheet.Paste(*Tile(*renderer.ReadBack(keyed, AV_PIX_FMT_RGBA, true), kTileWidth, tileHeight), x, y);
      sheet.Label(x + 2, y + 3 * tileHeight + 7,
                  fmt::format("{} {}{}", sweep.name, values.*sweep.value, step == 0 ? "   (found)" : ""), 16);
    }
  }
  sheet.Save(options.sheet);
  return found.OptionLine();
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
