#include <fmt/format.h>

#include <atomic>
#include <csignal>
#include <filesystem>

#include "backgroundClip.h"
#include "commands.h"
#include "contactSheet.h"
#include "demoClip.h"
#include "frameSamples.h"
#include "imageFiles.h"
#include "keyTuner.h"
#include "logCapture.h"
#include "previewWindow.h"
#include "progress.h"
#include "sheet.h"

namespace qvgtool {
namespace {

std::atomic<bool> interrupted = false;

void OnSignal(int number) {
  interrupted = true;
  // A second one ends a program that hangs.
  std::signal(number, SIG_DFL);
}

void RefuseToOverwrite(const std::string& input, const std::string& output) {
  std::error_code error;
  if (std::filesystem::equivalent(input, output, error)) {
    throw Error(fmt::format("{} is the input: choose another name for the output", output));
  }
}

// What the output is like, for the source and the wishes.
VideoFormat OutputFormat(const VideoFormat& source, const ProcessOptions& options, const MediaWriter& writer) {
  VideoFormat format = source;
  if (source.quarterTurns % 2 != 0) {
    std::swap(format.width, format.height);
    if (format.pixelAspect.num > 0) format.pixelAspect = av_inv_q(format.pixelAspect);
  }
  if (options.size) std::tie(format.width, format.height) = *options.size;
  if (writer.EvenSizesOnly()) {
    format.width = std::max(2, format.width & ~1);
    format.height = std::max(2, format.height & ~1);
  }
  const Layout& layout = options.layout;
  const bool bare = layout.background.empty() && layout.backgroundColor[3] < 1;
  const bool uncovered = layout.scale < 1 || layout.rotate != 0 || layout.move[0] != 0 || layout.move[1] != 0 ||
                         layout.opacity < 1 || options.size.has_value() || KeysOut(options.effect);
  format.alpha = writer.KeepsAlpha() && bare && (source.alpha || uncovered);
  return format;
}

// What is told when everything is closed and standard output is the user's again.
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
  if (writer.SoundStreams() > 0) line += ", sound copied";
  return line;
}

// Leaves those of the wanted stages on that the preview's keys have not switched off. False when none is left.
bool LeaveOn(Effect& effect, const EffectSettings& wanted, const StageSwitches& stages) {
  constexpr struct {
    bool StageSwitches::*stage;
    const char* parameter;
  } kStages[] = {{&StageSwitches::key, "enable_key"},
                 {&StageSwitches::beauty, "enable_beauty"},
                 {&StageSwitches::color, "enable_color"},
                 {&StageSwitches::background, "enable_bg"}};
  bool any = false;
  for (const auto& [stage, parameter] : kStages) {
    const bool on = stages.*stage && IsOn(wanted, parameter);
    effect.Set(parameter, ParamSetting::Switch(on));
    any = any || on;
  }
  return any;
}

// Values for the key, where the user left them open. Says in a line what they are.
std::string TuneKey(const std::vector<FramePtr>& samples, const std::string& key, EffectSettings& effect) {
  KeyValues found = KeyTuner(samples, key == kAutomaticKey ? std::string() : key).Find();
  const std::pair<const char*, int64_t*> values[] = {
      {"similarity", &found.similarity}, {"smoothness", &found.smoothness}, {"anti-spill", &found.spill}};
  for (const auto& [name, value] : values) {
    if (const auto given = effect.find(name); given != effect.end()) *value = given->second.value.value.integer;
  }
  for (auto& [name, setting] : found.Settings()) effect.insert_or_assign(name, setting);
  return "the screen is keyed out by " + found.OptionLine();
}

// What is odd about the share of the picture that a key takes; empty when nothing is.
std::string KeyComplaint(double share) {
  if (share > 0.005 && share < 0.98) return {};
  return fmt::format("the key takes nearly {} ({:.1f} %): qvg tune shows what other values would",
                     share < 0.5 ? "nothing of the picture" : "all of the picture", 100 * share);
}

Outcome Process(const ProcessOptions& wanted, LogCapture& log) {
  ProcessOptions options = wanted;
  std::optional<Renderer> renderer;  // Outlives the writer, whose encoder may hold frames that the library lent.
  std::unique_ptr<FrameSource> source;
  if (options.input.empty()) {
    const auto [width, height] = options.size.value_or(std::pair(1280, 720));
    source = std::make_unique<DemoClip>(width, height);
  } else {
    source = std::make_unique<MediaReader>(options.input, options.read);
    RefuseToOverwrite(options.input, options.output);
  }
  Outcome outcome;
  std::vector<FramePtr> samples;
  if (IsOn(options.effect, "enable_key") && !options.input.empty()) {
    if (std::error_code error; std::filesystem::is_regular_file(options.input, error)) {
      samples = SamplesOf(options.input, options.read);
    } else {
      auto ahead = std::make_unique<ReadAhead>(std::move(source));
      samples = ahead->Samples();
      source = std::move(ahead);
    }
    const bool open = !options.key.empty() && (options.key == kAutomaticKey || !options.effect.contains("similarity"));
    if (open && !samples.empty()) outcome.summary.push_back(TuneKey(samples, options.key, options.effect));
  }
  WriteOptions write = options.write;
  write.alpha = KeysOut(options.effect) && options.layout.background.empty() && options.layout.backgroundColor[3] < 1;
  MediaWriter writer(options.output, write);
  std::optional<BackgroundClip> background;
  if (!options.layout.background.empty()) background.emplace(options.layout.background);
  if (options.input.empty()) ProvideImage(kDemoBackground, DemoBackground(source->Format()));

  FramePtr frame = source->Read();
  if (!frame) {
    const std::string damage = source->Damage();
    throw Error(damage.empty() ? fmt::format("{}: no picture could be decoded", options.input) : damage);
  }
  renderer.emplace();
  if (!renderer->Ready()) throw Error(NoContextReason(log));
  log.Forward(options.verbose);

  const VideoFormat& in = source->Format();
  const VideoFormat out = OutputFormat(in, options, writer);
  std::optional<Effect> effect;
  if (AnyStage(options.effect)) {
    const bool lying = in.quarterTurns % 2 != 0;
    CutImagesTo(lying ? in.height : in.width, lying ? in.width : in.height);
    effect.emplace(*renderer, options.effect);
  }
  Layout layout = options.layout;
  if (!out.alpha) layout.backgroundColor[3] = 1;
  Compositor compositor(*renderer, layout, out.width, out.height, options.upload);
  if (!samples.empty()) {
    const std::string complaint = KeyComplaint(KeyedShare(samples, options.effect, AskEffectTable(renderer->Table())));
    if (!complaint.empty()) outcome.complaints.push_back(complaint);
    samples.clear();
  }
  if (effect) compositor.SetEffect(&*effect);
  StageSwitches stages;
  std::optional<PreviewWindow> window;
  if (options.preview) {
    const std::string name = options.input.empty() ? "own clip" : options.input;
    window.emplace(*renderer, name, out.width, out.height, !options.maxSpeed, Interrupted);
    if (effect) window->SetStages(&stages);
  }

  int64_t limit = writer.SingleImage() ? 1 : options.frames;
  const int64_t total = limit > 0 && (in.frameCount == 0 || limit < in.frameCount) ? limit : in.frameCount;
  std::optional<ContactSheet> sheet;
  if (!options.sheet.empty()) sheet.emplace(options.sheet, out, total);

  Progress progress(total);
  int64_t done = 0;
  FramePtr before;
  const AVFrame* current = nullptr;
  const auto draw = [&]() -> const Texture& {
    if (window && effect) compositor.SetEffect(LeaveOn(*effect, options.effect, stages) ? &*effect : nullptr);
    return compositor.Draw(*current, in.quarterTurns, in.alpha);
  };
  const auto redraw = [&] { draw(); };
  const auto seconds = [&](const FramePtr& of) { return static_cast<double>(of->pts) * av_q2d(in.timeBase); };
  writer.Open(out, *frame, source->SoundStreams());
  while (frame && !interrupted) {
    if (window && current && !window->WaitFor(seconds(frame), redraw)) break;
    current = frame.get();
    if (background) {
      if (const FramePtr behind = background->At(seconds(frame))) compositor.SetBackground(*behind);
    }
    const Texture& picture = draw();
    if (window) window->Show(picture, seconds(frame));
    FramePtr result = renderer->ReadBack(picture, writer.FrameFormat());
    result->pts = frame->pts;
    if (sheet && sheet->Wants(done)) {
      sheet->Add(*Upright(*frame, in.quarterTurns), *result, seconds(frame));
    }
    writer.Write(std::move(result));
    progress.Update(++done);
    if (limit > 0 && done >= limit) break;
    before = std::move(frame);  // The preview may draw it again.
    frame = source->Read();
    while (PacketPtr sound = source->TakeSound()) writer.AddSound(std::move(sound));
  }
  const bool complete = !frame;
  writer.Finish(complete);
  progress.Clear();
  const double elapsed = progress.Seconds();
  const bool sheetSaved = sheet && sheet->Save();
  const bool closed = window && window->Closed();
  if (window && writer.SingleImage() && !options.maxSpeed && !interrupted) window->Hold("written", redraw);

  outcome.summary.push_back(Summary(options.output, writer, out, done, elapsed));
  if (closed) {
    outcome.summary.push_back(fmt::format("window closed: {} ends after {} frames", options.output, done));
  }
  if (sheetSaved) outcome.summary.push_back(fmt::format("{}: contact sheet, before and after", options.sheet));
  if (!writer.SoundLeftOut().empty()) {
    outcome.complaints.push_back(
        fmt::format("sound left out: {} can't hold {}", options.output, writer.SoundLeftOut()));
  }
  if (interrupted) {
    outcome.complaints.push_back(fmt::format("interrupted: {} holds {} frames", options.output, done));
    outcome.exitCode = kInterrupted;
  } else if (const std::string damage = complete ? source->Damage() : std::string(); !damage.empty()) {
    outcome.complaints.push_back(damage);
    outcome.exitCode = kFailed;
  }
  return outcome;
}

}  // namespace

bool Interrupted() { return interrupted; }

void CatchSignals() {
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
  // A reader that leaves a pipe shows as a failed write.
  std::signal(SIGPIPE, SIG_IGN);
}

int RunProcess(const ProcessOptions& options) {
  Outcome outcome;
  {
    LogCapture log;
    outcome = Process(options, log);
  }
  for (const std::string& line : outcome.summary) fmt::print("{}\n", line);
  std::fflush(stdout);
  for (const std::string& line : outcome.complaints) fmt::print(stderr, "qvg: {}\n", line);
  return outcome.exitCode;
}

}  // namespace qvgtool
