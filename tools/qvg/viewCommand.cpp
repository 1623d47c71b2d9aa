#include <fmt/format.h>

#include <filesystem>

#include "commands.h"
#include "demoClip.h"
#include "logCapture.h"
#include "previewWindow.h"

namespace qvgtool {
namespace {

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

}  // namespace

int RunView(const ViewOptions& options) {
  std::string damage;
  {
    LogCapture log;
    damage = View(options, log);
  }
  if (damage.empty()) return Interrupted() ? kInterrupted : kDone;
  fmt::print(stderr, "qvg: {}\n", damage);
  return kFailed;
}

}  // namespace qvgtool
