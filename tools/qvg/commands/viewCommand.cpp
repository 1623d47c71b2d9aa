#include <fmt/format.h>

#include <filesystem>
#include <optional>

#include "commands/command.h"
#include "commands/effectOptions.h"
#include "commands/keying.h"
#include "commands/options.h"
#include "media/colorConversion.h"
#include "media/demoClip.h"
#include "media/imageFiles.h"
#include "media/mediaReader.h"
#include "picture/compositor.h"
#include "picture/logCapture.h"
#include "window/previewWindow.h"

namespace qvgtool {
namespace {

struct ViewOptions {
  std::string input;  // Empty: the tool's own clip.
  ReadOptions read{.sound = false};
  EffectSettings effect;
  std::string key;  // What was given for --key.
  bool loop = false;
  bool maxSpeed = false;
  bool verbose = false;
};

std::unique_ptr<FrameSource> Open(const ViewOptions& options) {
  if (options.input.empty()) return std::make_unique<DemoClip>(1280, 720);
  return std::make_unique<MediaReader>(options.input, options.read);
}

struct Viewed {
  std::string told;    // Of the key, if it was found.
  std::string damage;  // What was wrong with the input; empty when nothing was.
};

class Viewing {
 public:
  Viewing(const ViewOptions& options, LogCapture& log) : options_(options), log_(log), source_(Open(options)) {}

  Viewed Run() {
    Viewed viewed;
    viewed.told = FindKey(options_.key, options_.effect, options_.input, options_.read, source_);
    frame_ = source_->Read();
    if (!frame_) {
      const std::string damage = source_->Damage();
      throw Error(damage.empty() ? fmt::format("{}: no picture could be decoded", options_.input) : damage);
    }
    const Renderer renderer;
    if (!renderer.Ready()) throw Error(NoContextReason(log_));
    log_.Forward(options_.verbose);
    viewed.damage = _Show(renderer);
    return viewed;
  }

 private:
  std::string _Show(const Renderer& renderer) {
    const VideoFormat format = source_->Format();
    int width = format.width, height = format.height;
    if (format.quarterTurns % 2 != 0) std::swap(width, height);
    const std::string name =
        options_.input.empty() ? "own clip" : std::filesystem::path(options_.input).filename().string();
    Layout layout;
    layout.backgroundColor[3] = 1;
    Compositor compositor(renderer, layout, width, height, UploadPath::kSharp);
    std::optional<Effect> effect;
    StageSwitches stages;
    PreviewWindow window(renderer, name, width, height, !options_.maxSpeed, Interrupted);
    if (AnyStage(options_.effect)) {
      CutImagesTo(format.width, format.height);
      effect.emplace(renderer, options_.effect);
      window.SetStages(&stages);
    }
    FramePtr shown;
    const auto draw = [&]() -> const Texture& {
      compositor.SetEffect(effect && LeaveOn(*effect, options_.effect, stages) ? &*effect : nullptr);
      return compositor.Draw(*shown, format.quarterTurns, format.alpha);
    };
    const auto redraw = [&] { draw(); };
    while (frame_) {
      const double time = start_ + static_cast<double>(frame_->pts) * av_q2d(format.timeBase);
      if (shown && !window.WaitFor(time, redraw)) return {};
      shown = std::move(frame_);
      window.Show(draw(), time);
      _Next(time);
    }
    window.Hold(format.still ? fmt::format("{} x {}", width, height) : "end", redraw);
    return source_->Damage();
  }

  // The next frame, at the end the first one again if that is wanted.
  void _Next(double time) {
    const VideoFormat& format = source_->Format();
    frame_ = source_->Read();
    const bool again = options_.loop && !format.still && options_.input != "-" && source_->Damage().empty();
    if (frame_ || !again) return;
    start_ = time + av_q2d(av_inv_q(format.frameRate));
    source_ = Open(options_);
    frame_ = source_->Read();
  }

  ViewOptions options_;
  LogCapture& log_;
  std::unique_ptr<FrameSource> source_;
  FramePtr frame_;
  double start_ = 0;  // In the time of the window, which goes on when the clip begins again.
};

class ViewCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override {
    app.description(
        "Shows a video or image in a window, through the library and its effect. Without INPUT the tool's own clip.");
    app.footer(std::string(kPreviewKeys) + "\nA clip stays on its last frame until the window is closed.");
    AddInput(app, options_.input);
    AddTime(app, "--from", options_.read.from, "Starts there in the input");
    app.add_flag("--loop", options_.loop, "Begins again at the end of a clip");
    app.add_flag("--max-speed", options_.maxSpeed, "Shows frames as fast as it goes, not at the clip's own rate");
    AddVerbose(app, options_.verbose);
    AddEffectOptions(app, LoadEffectTable(), options_.effect, options_.key);
  }
  void Complete(const CLI::App& app) override {
    RefuseEmptyInput(app, options_.input);
    CompleteEffect(options_.effect);
  }
  bool Verbose() const override { return options_.verbose; }

  int Run() override {
    Viewed viewed;
    {
      LogCapture log;
      viewed = Viewing(options_, log).Run();
    }
    if (!viewed.told.empty()) fmt::print("{}\n", viewed.told);
    if (viewed.damage.empty()) return Interrupted() ? kInterrupted : kDone;
    fmt::print(stderr, "qvg: {}\n", viewed.damage);
    return kFailed;
  }

 private:
  ViewOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeView() { return std::make_unique<ViewCommand>(); }

}  // namespace qvgtool
