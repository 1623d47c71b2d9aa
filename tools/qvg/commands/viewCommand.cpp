#include <fmt/format.h>

#include <filesystem>

#include "commands/command.h"
#include "commands/options.h"
#include "media/colorConversion.h"
#include "media/demoClip.h"
#include "media/mediaReader.h"
#include "picture/logCapture.h"
#include "window/previewWindow.h"

namespace qvgtool {
namespace {

struct ViewOptions {
  std::string input;  // Empty: the tool's own clip.
  ReadOptions read{.sound = false};
  bool loop = false;
  bool maxSpeed = false;
  bool verbose = false;
};

std::unique_ptr<FrameSource> Open(const ViewOptions& options) {
  if (options.input.empty()) return std::make_unique<DemoClip>(1280, 720);
  return std::make_unique<MediaReader>(options.input, options.read);
}

// What was wrong with the input; empty when nothing was.
std::string View(const ViewOptions& options, LogCapture& log) {
  std::unique_ptr<FrameSource> source = Open(options);
  FramePtr frame = source->Read();
  if (!frame) {
    const std::string damage = source->Damage();
    throw Error(damage.empty() ? fmt::format("{}: no picture could be decoded", options.input) : damage);
  }
  const Renderer renderer;
  if (!renderer.Ready()) throw Error(NoContextReason(log));
  log.Forward(options.verbose);

  const VideoFormat format = source->Format();
  int width = format.width, height = format.height;
  if (format.quarterTurns % 2 != 0) std::swap(width, height);
  const std::string name =
      options.input.empty() ? "own clip" : std::filesystem::path(options.input).filename().string();
  Texture shown;  // The window may show it until it is gone.
  PreviewWindow window(renderer, name, width, height, !options.maxSpeed, Interrupted);
  UploadConverter converter(UploadPath::kSharp);

  const double frameSeconds = av_q2d(av_inv_q(format.frameRate));
  const bool loop = options.loop && !format.still && options.input != "-";
  double start = 0, last = 0;  // In the time of the window, which goes on when the clip begins again.
  while (frame) {
    const double time = start + static_cast<double>(frame->pts) * av_q2d(format.timeBase);
    // The picture stands as it is: no stage can have changed it.
    if (shown && !window.WaitFor(time, [] {})) return {};
    Texture picture = renderer.Upload(converter.Prepare(*frame));
    renderer.Table().SetTextureRotation(picture.get(), static_cast<uint32_t>(format.quarterTurns));
    window.Show(picture, time);
    shown = std::move(picture);
    last = time;
    frame = source->Read();
    if (!frame && loop && source->Damage().empty()) {
      start = last + frameSeconds;
      source = Open(options);
      frame = source->Read();
    }
  }
  window.Hold(format.still ? fmt::format("{} x {}", width, height) : "end", [] {});
  return source->Damage();
}

class ViewCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override {
    app.description("Shows a video or image in a window, through the library. Without INPUT the tool's own clip.");
    app.footer(std::string(kPreviewKeys) + "\nA clip stays on its last frame until the window is closed.");
    AddInput(app, options_.input);
    AddTime(app, "--from", options_.read.from, "Starts there in the input");
    app.add_flag("--loop", options_.loop, "Begins again at the end of a clip");
    app.add_flag("--max-speed", options_.maxSpeed, "Shows frames as fast as it goes, not at the clip's own rate");
    AddVerbose(app, options_.verbose);
  }
  void Complete(const CLI::App& app) override { RefuseEmptyInput(app, options_.input); }
  bool Verbose() const override { return options_.verbose; }

  int Run() override {
    std::string damage;
    {
      LogCapture log;
      damage = View(options_, log);
    }
    if (damage.empty()) return Interrupted() ? kInterrupted : kDone;
    fmt::print(stderr, "qvg: {}\n", damage);
    return kFailed;
  }

 private:
  ViewOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeView() { return std::make_unique<ViewCommand>(); }

}  // namespace qvgtool
