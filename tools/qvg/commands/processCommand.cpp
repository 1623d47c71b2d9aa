#include <fmt/format.h>

#include "commands/command.h"
#include "commands/keying.h"
#include "commands/processOptions.h"
#include "commands/progress.h"
#include "commands/signals.h"
#include "media/backgroundClip.h"
#include "media/complain.h"
#include "media/demoClip.h"
#include "media/fixedRate.h"
#include "media/frameEdits.h"
#include "media/imageFiles.h"
#include "media/sequence.h"
#include "picture/contactSheet.h"
#include "picture/logCapture.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "window/previewWindow.h"

namespace qvgtool {
namespace {

void RefuseToOverwrite(const ProcessOptions& options) {
  std::error_code error;
  for (const std::string& input : options.inputs) {
    if (!std::filesystem::equivalent(PathOf(input), PathOf(options.output), error)) continue;
    throw Error(fmt::format("{} is the input: choose another name for the output", options.output));
  }
  if (!options.overwrite && std::filesystem::is_regular_file(PathOf(options.output), error)) {
    throw Error(fmt::format("{} exists, and --no-overwrite was given", options.output));
  }
}

// The output's format, from the source's and the options.
VideoFormat OutputFormat(const VideoFormat& source, const ProcessOptions& options, const MediaWriter& writer) {
  VideoFormat format = source;
  if (source.quarterTurns % 2 != 0) {
    std::swap(format.width, format.height);
    if (format.pixelAspect.num > 0) format.pixelAspect = Inverse(format.pixelAspect);
  }
  if (options.size) std::tie(format.width, format.height) = *options.size;
  if (writer.EvenSizesOnly()) {
    format.width = std::max(2, format.width & ~1);
    format.height = std::max(2, format.height & ~1);
  }
  const Layout& layout = options.layout;
  const bool bare = layout.background.empty() && layout.backgroundColor.a < 1;
  const bool uncovered = layout.scale < 1 || layout.rotate != 0 || layout.move[0] != 0 || layout.move[1] != 0 ||
                         layout.opacity < 1 || options.size.has_value() || KeysOut(options.effect);
  format.alpha = writer.KeepsAlpha() && bare && (source.alpha || uncovered);
  return format;
}

bool LosesARow(const VideoFormat& in, const VideoFormat& out) {
  const bool lying = in.quarterTurns % 2 != 0;
  return (lying ? in.height : in.width) != out.width || (lying ? in.width : in.height) != out.height;
}

// What is reported when everything is closed and standard output is the user's again.
struct Outcome {
  std::vector<std::string> summary, complaints;
  int exitCode = kDone;
};

std::string Summary(const std::string& path, const MediaWriter& writer, const VideoFormat& format, int64_t frames,
                    double seconds) {
  std::string line = fmt::format("{}: {} x {}, ", path, format.width, format.height);
  if (writer.SingleImage()) {
    line += "1 image";
  } else {
    line += fmt::format("{} frames, {:.2f} s, in {:.1f} s ({:.1f} frames/s)", frames, writer.Seconds(), seconds,
                        static_cast<double>(frames) / std::max(1e-6, seconds));
  }
  line += ", " + writer.EncoderName();
  for (const std::string& told : writer.Told()) line += ", " + told;
  return line;
}

/// One run of the command.
class Processing {
 public:
  Processing(ProcessOptions options, LogCapture& log, Progress& progress)
      : options_(std::move(options)), log_(log), progress_(progress) {}

  Outcome Run() {
    _OpenInput();
    _ChooseKey();
    _OpenOutput();
    _ReadFirst();
    _StartLibrary();
    _SetUpPicture();
    const bool complete = _DrawAll();
    _Finish(complete);
    return outcome_;
  }

 private:
  void _OpenInput() {
    if (options_.input.empty()) {
      const auto [width, height] = options_.size.value_or(std::pair(1280, 720));
      source_ = std::make_unique<DemoClip>(width, height);
    } else if (options_.inputs.size() > 1) {
      source_ = std::make_unique<Sequence>(options_.inputs, options_.read);
      // Their rates may differ, and not every container takes uneven times.
      if (options_.fps <= 0) options_.fps = Value(source_->Format().frameRate);
    } else {
      source_ = OpenMedia(options_.input, options_.read);
    }
    RefuseToOverwrite(options_);
  }

  void _ChooseKey() {
    const std::string found = FindKey(options_.key, options_.effect, options_.input, options_.read, source_);
    if (found.empty()) return;
    outcome_.summary.push_back(found);
    if (!options_.read.capture) return;
    // By now the frames that were looked at are too old; and a device can be opened only once.
    source_.reset();
    source_ = OpenMedia(options_.input, options_.read);
  }

  void _OpenOutput() {
    WriteOptions write = options_.write;
    const Layout& layout = options_.layout;
    write.alpha = KeysOut(options_.effect) && layout.background.empty() && layout.backgroundColor.a < 1;
    if (options_.output == kStandardOutput) {
      write.standardOutput = log_.StandardOutput();
      if (IsTerminal(write.standardOutput)) throw Error("standard output is a terminal: pipe it on, or name a file");
    }
    writer_ = MakeWriter(options_.output, write);
    if (!layout.background.empty()) background_.emplace(layout.background);
    if (options_.input.empty()) ProvideImage(kDemoBackground, DemoBackground(source_->Format()));
    if (options_.fps > 0) source_ = std::make_unique<FixedRate>(std::move(source_), options_.fps);
  }

  void _ReadFirst() {
    first_ = source_->Read();
    if (first_) return;
    if (Interrupted()) throw Error("interrupted");
    const std::string damage = source_->Damage();
    if (!damage.empty()) throw Error(damage);
    if (options_.read.from <= 0) throw Error(options_.input + ": no picture could be decoded");
    if (options_.inputs.size() > 1) {
      throw Error(fmt::format("nothing is left of the inputs from {:.2f} s on", options_.read.from));
    }
    // A stream can't be opened twice.
    if (std::error_code error; !std::filesystem::is_regular_file(PathOf(options_.input), error)) {
      throw Error(fmt::format("{}: nothing is left from {:.2f} s on", options_.input, options_.read.from));
    }
    const VideoFormat format = OpenMedia(options_.input, {.sound = false})->Format();
    throw Error(fmt::format("{}: nothing is left from {:.2f} s on: it ends at {:.2f} s", options_.input,
                            options_.read.from,
                            static_cast<double>(format.frameCount) * Value(Inverse(format.frameRate))));
  }

  void _StartLibrary() {
    renderer_.emplace();
    if (!renderer_->Ready()) throw Error(NoContextReason(log_));
    log_.Forward(options_.verbose);
  }

  void _SetUpPicture() {
    const VideoFormat& in = source_->Format();
    out_ = OutputFormat(in, options_, *writer_);
    if (AnyStage(options_.effect)) {
      const bool lying = in.quarterTurns % 2 != 0;
      CutImagesTo(lying ? in.height : in.width, lying ? in.width : in.height);
      effect_.emplace(options_.effect);
    }
    Layout layout = options_.layout;
    if (!out_.alpha) layout.backgroundColor.a = 1;
    compositor_.emplace(*renderer_, layout, out_.width, out_.height, options_.upload);
    if (effect_) compositor_->SetEffect(&*effect_);
    if (options_.preview) {
      const std::string name = options_.input.empty() ? "own clip" : options_.input;
      window_.emplace(*renderer_, name, out_.width, out_.height, !options_.maxSpeed, Interrupted);
      if (effect_) window_->SetEffect(*effect_);
    }
    const double rate = Value(in.frameRate);
    limit_ = writer_->SingleImage() ? 1 : options_.frames;
    total_ = in.frameCount;
    for (const double most : {static_cast<double>(limit_), options_.End() * rate}) {
      const bool ends = most > 0 && std::isfinite(most);
      if (ends && (total_ == 0 || most < static_cast<double>(total_))) total_ = std::llround(most);
    }
    if (IsOn(options_.effect, "enable_key")) {
      keyWatch_.emplace(options_.effect, AskEffectTable(), total_);
    }
    if (!options_.sheet.empty()) sheet_.emplace(options_.sheet, out_, total_);
  }

  double _Seconds(const Frame& frame) const {
    return static_cast<double>(frame.pts) * Value(source_->Format().timeBase);
  }

  const Texture& _Draw(const Frame& frame) {
    const VideoFormat& in = source_->Format();
    return compositor_->Draw(frame, in.quarterTurns, in.alpha);
  }

  /// @return false when it stopped before the input's end.
  bool _DrawAll() {
    FramePtr frame = std::move(first_), before;
    progress_.Begin(total_);
    const double frames = limit_ > 0 ? static_cast<double>(limit_) : HUGE_VAL;
    writer_->Open(out_, *frame, source_.get(), std::min(options_.End(), frames * Value(Inverse(out_.frameRate))));
    if (window_) window_->SetTasks({.redraw = [&] { _Draw(*before); }});
    // A file that was begun gets at least one frame: nothing could read it without.
    while (frame && (!Interrupted() || done_ == 0) && _Seconds(*frame) < options_.End() - 1e-6) {
      if (window_ && before && window_->WaitFor(_Seconds(*frame)) == Served::kEnd) break;
      if (background_) {
        if (const FramePtr behind = background_->At(_Seconds(*frame))) compositor_->SetBackground(*behind);
      }
      _Write(*frame);
      progress_.Update(++done_, _Seconds(*frame));
      before = std::move(frame);  // The preview may have to draw it again.
      if (limit_ > 0 && done_ >= limit_) break;
      frame = source_->Read();
      writer_->TakeAlong();
    }
    const bool complete = !frame && (limit_ == 0 || done_ < limit_);
    writer_->Finish(complete);
    progress_.Clear();
    elapsed_ = progress_.Seconds();
    if (window_ && writer_->SingleImage() && !options_.maxSpeed && !Interrupted()) window_->Hold("written");
    return complete;
  }

  void _Write(const Frame& frame) {
    if (keyWatch_) keyWatch_->Look(frame, done_);
    const Texture& picture = _Draw(frame);
    if (window_) window_->Show(picture, _Seconds(frame));
    FramePtr result = renderer_->ReadBack(picture, writer_->FrameFormat());
    result->pts = frame.pts;
    if (sheet_ && sheet_->Wants(done_)) {
      sheet_->Add(*Upright(frame, source_->Format().quarterTurns), *result, _Seconds(frame));
    }
    writer_->Write(std::move(result));
  }

  void _Finish(bool complete) {
    const auto tell = [](std::vector<std::string>& lines, bool when, const std::string& line) {
      if (when) lines.push_back(line);
    };
    const std::string& path = options_.output;
    const bool sheetSaved = sheet_ && sheet_->Save();
    outcome_.summary.push_back(Summary(path, *writer_, out_, done_, elapsed_));
    tell(outcome_.summary, window_ && window_->Closed(),
         fmt::format("window closed: {} ends after {} frames", path, done_));
    tell(outcome_.summary, sheetSaved, fmt::format("{}: contact sheet, before and after", options_.sheet));
    const std::string oddKey = keyWatch_ ? keyWatch_->Complaint() : std::string();
    tell(outcome_.complaints, !oddKey.empty(), oddKey);
    tell(outcome_.complaints, LosesARow(source_->Format(), out_) && !options_.size,
         fmt::format("{} lacks the odd row or column: its encoder takes even sizes only", path));
    for (const std::string& line : writer_->LeftOut()) {
      outcome_.complaints.push_back(fmt::format("{}, which {} can't hold", line, path));
    }
    // A capture has no other end than an interruption.
    if (Interrupted() && !options_.read.capture) {
      outcome_.complaints.push_back(fmt::format("interrupted: {} holds {} frames", path, done_));
      outcome_.exitCode = kInterrupted;
    } else if (const std::string damage = complete ? source_->Damage() : std::string(); !damage.empty()) {
      outcome_.complaints.push_back(damage);
      outcome_.exitCode = kFailed;
    }
  }

  ProcessOptions options_;
  LogCapture& log_;
  Progress& progress_;
  Outcome outcome_;
  std::optional<Renderer> renderer_;  // Outlives the writer, whose encoder may hold frames lent by the library.
  std::unique_ptr<FrameSource> source_;
  std::unique_ptr<MediaWriter> writer_;
  std::optional<BackgroundClip> background_;
  FramePtr first_;
  VideoFormat out_;
  std::optional<Effect> effect_;
  std::optional<Compositor> compositor_;
  std::optional<PreviewWindow> window_;
  std::optional<KeyWatch> keyWatch_;
  std::optional<ContactSheet> sheet_;
  int64_t limit_ = 0, total_ = 0, done_ = 0;
  double elapsed_ = 0;
};

class ProcessCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override { AddProcessOptions(app, options_); }
  void Complete(const CLI::App& app) override { CompleteProcessOptions(app, options_); }
  bool Verbose() const override { return options_.verbose; }

  int Run() override {
    CatchSignals();
    Progress progress(options_.progress);
    Outcome outcome;
    try {
      LogCapture log;
      outcome = Processing(options_, log, progress).Run();
    } catch (const std::exception& error) {
      progress.Clear();
      progress.End(kFailed, error.what());
      throw;
    }
    progress.End(outcome.exitCode, outcome.exitCode == kDone ? "" : outcome.complaints.back());
    std::FILE* const told = options_.output == kStandardOutput ? stderr : stdout;
    if (options_.quiet) outcome.summary.clear();
    for (const std::string& line : outcome.summary) fmt::print(told, "{}\n", line);
    std::fflush(told);
    for (const std::string& line : outcome.complaints) Complain(line);
    return outcome.exitCode;
  }

 private:
  ProcessOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeProcess() { return std::make_unique<ProcessCommand>(); }

}  // namespace qvgtool
