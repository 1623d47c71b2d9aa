#include "commands/viewing.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "commands/command.h"
#include "commands/effectOptions.h"
#include "commands/keying.h"
#include "commands/signals.h"
#include "media/colorConversion.h"
#include "media/demoClip.h"
#include "media/frameSamples.h"
#include "media/imageFiles.h"
#include "media/mediaWriter.h"
#include "picture/keyTuner.h"
#include "platform/paths.h"

namespace qvgtool {
namespace {

std::unique_ptr<FrameSource> Open(const ViewOptions& options) {
  if (options.input.empty()) return std::make_unique<DemoClip>(1280, 720);
  return OpenMedia(options.input, options.read);
}

bool IsFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(PathOf(path), error);
}

// stem.png, or the first of stem-2.png, stem-3.png ... that doesn't exist.
std::string FreeName(const std::string& stem) {
  std::string name = stem + ".png";
  std::error_code error;
  for (int i = 2; std::filesystem::exists(PathOf(name), error); ++i) name = fmt::format("{}-{}.png", stem, i);
  return name;
}

void WriteLine(int descriptor, const std::string& text) {
  const std::string line = text + "\n";
  if (write(descriptor, line.data(), line.size()) < 0) throw Error("standard output is closed");
}

}  // namespace

Viewed Viewing::Run() {
  Viewed viewed;
  std::unique_ptr<FrameSource> source = Open(options_);
  viewed.told = FindKey(options_.key, options_.effect, options_.input, options_.read, source);
  clip_.emplace(std::move(source));
  if (!clip_->Advance()) {
    const std::string damage = clip_->Source().Damage();
    throw Error(damage.empty() ? fmt::format("{}: no picture could be decoded", options_.input) : damage);
  }
  _SetUp();
  if (_Play()) viewed.damage = clip_->Source().Damage();
  return viewed;
}

void Viewing::_SetUp() {
  renderer_.emplace();
  if (!renderer_->Ready()) throw Error(NoContextReason(log_));
  log_.Forward(options_.verbose);
  const VideoFormat& format = clip_->Source().Format();
  width_ = format.width;
  height_ = format.height;
  if (format.quarterTurns % 2 != 0) std::swap(width_, height_);
  CutImagesTo(width_, height_);
  effect_.emplace(options_.effect);
  compositor_.emplace(*renderer_, Layout(), width_, height_, UploadPath::kSharp);
  compositor_->SetEffect(&*effect_);
  window_.emplace(*renderer_, _Stem(), width_, height_, !options_.maxSpeed, Interrupted);
  window_->SetEffect(*effect_);
  window_->SetTasks(_Tasks());
  window_->Say("h shows the keys");
  _OpenSound();
}

PreviewTasks Viewing::_Tasks() {
  const auto before = [this]() -> const Texture& {
    const VideoFormat& format = clip_->Source().Format();
    if (!plain_) plain_.emplace(*renderer_, Layout(), width_, height_, UploadPath::kSharp);
    return plain_->Draw(*shown_, format.quarterTurns, format.alpha);
  };
  return {.redraw = [this] { _Draw(); },
          .before = before,
          .print = [this] { return _Print(); },
          .save = [this] { return _Save(); },
          .pick = [this](double x, double y) { return _Pick(x, y); },
          .clock =
              [this](std::optional<double> time) {
                if (sound_) sound_->SetClock(time);
              },
          .travel = !clip_->Source().Format().still};
}

void Viewing::_Draw() {
  const VideoFormat& format = clip_->Source().Format();
  picture_ = &compositor_->Draw(*shown_, format.quarterTurns, format.alpha);
}

void Viewing::_Show() {
  shown_ = SharedCopy(*clip_->Current());
  shownTime_ = clip_->TimeOf(*shown_);
  _Draw();
  window_->Show(*picture_, start_ + shownTime_);
}

void Viewing::_OpenSound() {
  sound_ = OpenSound(clip_->Source());
  if (sound_ && !sound_->HasDevice()) window_->Say("h shows the keys; no sound device was found");
  _BeginSound(0);
}

void Viewing::_BeginSound(double time) {
  if (sound_) sound_->Begin(clip_->Source(), time, start_);
}

void Viewing::_TakeSound() {
  if (!sound_) return;
  try {
    sound_->Take(clip_->Source());
  } catch (const Error& error) {
    window_->Say(error.what());
  }
}

/// @return true when the clip came to its end.
bool Viewing::_Play() {
  const bool still = clip_->Source().Format().still;
  for (bool another = true;;) {
    if (another) _Show();
    const Frame* next = clip_->Next();
    _TakeSound();
    if (!next && _BeginAgain()) next = clip_->Next();
    const Served served = next    ? window_->WaitFor(start_ + clip_->TimeOf(*next))
                          : still ? window_->Hold(fmt::format("{} x {}", width_, height_))
                                  : window_->Hold("end");
    if (served == Served::kEnd) return !next;
    another = served == Served::kMove ? _Go(window_->TakeMove()) : clip_->Advance();
  }
}

// At the end of a clip that loops: goes before its first frame.
bool Viewing::_BeginAgain() {
  const VideoFormat format = clip_->Source().Format();
  if (!options_.loop || format.still || options_.input == "-" || !clip_->Source().Damage().empty()) return false;
  start_ += shownTime_ + Value(Inverse(format.frameRate));
  clip_.emplace(Open(options_));
  _BeginSound(0);
  return true;
}

bool Viewing::_Go(const Move& move) {
  bool gone = false;
  if (move.toStart || move.seconds != 0) gone = clip_->GoTo((move.toStart ? 0 : shownTime_) + move.seconds);
  for (int i = 0; i < move.framesBack; ++i) gone = clip_->GoBack() || gone;
  if (gone && !clip_->Current()) throw Error(fmt::format("{}: nothing can be read there any more", options_.input));
  if (gone) {
    if (sound_) sound_->Forget();
    _BeginSound(clip_->TimeOf(*clip_->Current()));
    window_->Say(fmt::format("{:.2f} s", options_.read.from + clip_->TimeOf(*clip_->Current())));
  } else {
    window_->Say("this input can't be wound");
  }
  return gone;
}

std::string Viewing::_Stem() const {
  if (options_.input.empty()) return "own clip";
  return options_.input == "-" ? "standard input" : NameOf(PathOf(options_.input).filename());
}

std::string Viewing::_Print() const {
  const std::string stem = NameOf(PathOf(_Stem()).stem());
  std::string line = "qvg process " + ShellWord(options_.input.empty() ? "INPUT" : options_.input);
  line += " -o " + ShellWord(stem + (clip_->Source().Format().still ? "-effect.png" : "-effect.mp4"));
  if (options_.read.from > 0) line += fmt::format(" --from {}", options_.read.from);
  const std::string effect = OptionLine(effect_->Settings(), effect_->Table());
  if (!effect.empty()) line += " " + effect;
  WriteLine(log_.StandardOutput(), line);
  return effect.empty() ? "printed; no effect is set" : "printed:\n" + effect;
}

std::string Viewing::_Save() const {
  const VideoFormat& in = clip_->Source().Format();
  const double time = options_.read.from + shownTime_;
  const std::string stem = NameOf(PathOf(_Stem()).stem());
  // Rounded down, so that --from with this time finds the frame.
  const std::string path =
      FreeName(in.still ? stem + "-effect" : fmt::format("{}-{:.3f}s", stem, std::floor(time * 1000 + 1e-3) / 1000));
  VideoFormat format;
  format.width = width_;
  format.height = height_;
  format.alpha = effect_->Transparent(in.alpha);
  const auto writer = MakeWriter(path, {});
  writer->Open(format, *shown_, nullptr, 0);
  FramePtr picture = renderer_->ReadBack(*picture_, writer->FrameFormat());
  picture->pts = 0;
  writer->Write(std::move(picture));
  writer->Finish(false);
  WriteLine(log_.StandardOutput(), path);
  return "saved: " + path;
}

std::array<uint8_t, 3> Viewing::_ColorAt(double x, double y) const {
  const FramePtr rgba = Sample(*shown_, clip_->Source().Format().quarterTurns);
  constexpr int kReach = 1;  // Pixels on each side: noise averages out.
  const int column = static_cast<int>(x * rgba->width), row = static_cast<int>(y * rgba->height);
  std::array<int, 3> sum = {};
  int count = 0;
  for (int i = std::max(0, row - kReach); i <= std::min(rgba->height - 1, row + kReach); ++i) {
    for (int j = std::max(0, column - kReach); j <= std::min(rgba->width - 1, column + kReach); ++j, ++count) {
      const uint8_t* pixel = rgba->data[0] + ptrdiff_t{i} * rgba->stride[0] + ptrdiff_t{j} * 4;
      for (size_t part = 0; part < 3; ++part) sum[part] += pixel[part];
    }
  }
  const auto mean = [&](size_t part) { return static_cast<uint8_t>((sum[part] + count / 2) / count); };
  return {mean(0), mean(1), mean(2)};
}

const std::vector<FramePtr>& Viewing::_Samples() {
  if (samples_.empty() && IsFile(options_.input)) samples_ = SamplesOf(options_.input, options_.read);
  if (samples_.empty()) samples_.push_back(Sample(*shown_, clip_->Source().Format().quarterTurns));
  return samples_;
}

std::string Viewing::_Pick(double x, double y) {
  const auto [red, green, blue] = _ColorAt(x, y);
  const std::string color = fmt::format("#{:02x}{:02x}{:02x}", red, green, blue);
  effect_->Set("color", ParamSetting::Color(color));
  effect_->Set("enable_key", ParamSetting::Switch(true));
  try {
    const KeyValues found = TuneKey(_Samples(), color);
    for (const auto& [name, setting] : SettingsOf(found)) effect_->Set(name, setting);
    return "keyed out: " + OptionLine(found);
  } catch (const Error& error) {
    return fmt::format("color: {}\n{}", color, error.what());
  }
}

}  // namespace qvgtool
