#include <fmt/format.h>

#include "commands/command.h"
#include "commands/effectOptions.h"
#include "commands/options.h"
#include "commands/signals.h"
#include "commands/viewing.h"
#include "media/complain.h"
#include "window/keys.h"

namespace qvgtool {
namespace {

class ViewCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override {
    app.description(
        "Shows a video or image in a window, through the library and its effect. Without INPUT the tool's own clip.");
    app.footer("Keys:\n" + KeyHelp({.effect = true, .travel = true, .tasks = true}) +
               "\nA clip stays on its last frame until the window is closed.");
    AddInput(app, options_.input);
    AddCapture(app, options_.input, options_.read);
    AddTime(app, "--from", options_.read.from, "Starts there in the input");
    app.add_flag("--loop", options_.loop, "Begins again at the end of a clip");
    app.add_flag("--max-speed", options_.maxSpeed, "Shows frames as fast as it goes, not at the clip's own rate");
    app.add_flag_callback(
        "--no-sound", [this] { options_.read.sound = false; }, "Leaves the sound out, as --max-speed does");
    AddVerbose(app, options_.verbose);
    AddEffectOptions(app, LoadEffectTable(), options_.effect, options_.key);
  }
  void Complete(const CLI::App& app) override {
    RefuseEmptyInput(app, options_.input);
    CompleteEffect(options_.effect);
    if (options_.maxSpeed) options_.read.sound = false;
  }
  bool Verbose() const override { return options_.verbose; }

  int Run() override {
    options_.read.stop = Interrupted;
    CatchSignals();
    Viewed viewed;
    {
      LogCapture log;
      viewed = Viewing(options_, log).Run();
    }
    if (!viewed.told.empty()) fmt::print("{}\n", viewed.told);
    if (viewed.damage.empty()) return Interrupted() ? kInterrupted : kDone;
    Complain(viewed.damage);
    return kFailed;
  }

 private:
  ViewOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeView() { return std::make_unique<ViewCommand>(); }

}  // namespace qvgtool
