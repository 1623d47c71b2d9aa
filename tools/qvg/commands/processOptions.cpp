#include "commands/processOptions.h"

#include <fmt/format.h>

#include <algorithm>

#include "commands/effectOptions.h"
#include "commands/options.h"
#include "media/abilities.h"
#include "media/demoClip.h"
#include "media/parsing.h"
#include "platform/paths.h"

namespace qvgtool {
namespace {

void AddPlacing(CLI::App& app, ProcessOptions& options) {
  const char* place = "Placing";
  app.add_option_function<std::string>(
         "--size", [&options](const std::string& text) { options.size = ParsedSize("--size", text); },
         "Size of the output; the frame is fitted into it. Without INPUT the clip's own size too")
      ->type_name("WxH")
      ->group(place);
  app.add_option("--scale", options.layout.scale, "Factor for the frame's size")
      ->check(Between(0.001, 1000.0))
      ->type_name("FACTOR")
      ->group(place);
  app.add_option("--rotate", options.layout.rotate, "Turns the frame, clockwise as you see it")
      ->check(Between(-36000.0, 36000.0))
      ->type_name("DEGREES")
      ->group(place);
  app.add_option("--move", options.layout.move, "Moves the frame to the right and down")
      ->delimiter(',')
      ->check(Between(-1e6, 1e6))
      ->type_name("X,Y")
      ->group(place);
}

void AddMixing(CLI::App& app, ProcessOptions& options) {
  const char* mix = "Mixing";
  app.add_option("--opacity", options.layout.opacity, "0 shows the background alone, 1 hides it")
      ->check(Between(0.0, 1.0))
      ->type_name("0..1")
      ->group(mix);
  app.add_option("--blend", options.layout.blend,
                 fmt::format("How the frame meets the background: {}", fmt::join(BlendNames(), ", ")))
      ->check(CLI::IsMember(BlendNames()))
      ->type_name("NAME")
      ->group(mix);
  app.add_option("--background", options.layout.background,
                 "Image or clip behind the frame, cut to the output's shape; with --key where the screen was")
      ->type_name("FILE")
      ->group(mix);
  app.add_option_function<std::string>(
         "--background-color",
         [&options](const std::string& text) {
           const auto rgba = ParseColor(text);
           if (!rgba) {
             throw CLI::ValidationError("--background-color: " + text + " is no colour (#rrggbb, #rrggbbaa or a name)");
           }
           const auto [red, green, blue, alpha] = *rgba;
           options.layout.backgroundColor = {red / 255.0, green / 255.0, blue / 255.0, alpha / 255.0};
         },
         "Colour behind the frame: #rrggbb, #rrggbbaa or a name; else black, or transparent where the image keeps it")
      ->type_name("COLOUR")
      ->group(mix);
  app.add_option("--drop-shadow", options.layout.shadow, "Opacity of a soft shadow below the frame")
      ->check(Between(0.0, 1.0))
      ->type_name("0..1")
      ->group(mix);
}

void AddChoosing(CLI::App& app, ProcessOptions& options) {
  const char* choose = "Choosing";
  AddTime(app, "--from", options.read.from, "Starts there in the input")->group(choose);
  AddTime(app, "--to", options.to, "Ends there in the input")->group(choose);
  AddTime(app, "--duration", options.duration, "Ends after so much of it")->group(choose);
  app.add_option("--frames", options.frames, "Ends after so many frames")
      ->check(CLI::Range(int64_t{1}, int64_t{1} << 40).description(""))
      ->type_name("N")
      ->group(choose);
  app.add_option("--fps", options.fps, "Frames a second: repeats or drops some")
      ->check(Between(0.01, 1000))
      ->type_name("RATE")
      ->group(choose);
  app.add_flag_callback(
         "--no-sound", [&options] { options.read.sound = false; }, "Leaves the sound out")
      ->group(choose);
  options.read.subtitles = true;
  app.add_flag_callback(
         "--no-subtitles", [&options] { options.read.subtitles = false; }, "Leaves subtitles out")
      ->group(choose);
  app.add_flag_callback(
         "--no-deinterlace", [&options] { options.read.deinterlace = false; },
         "Keeps the lines of two fields in a frame as they are; else both are made one picture")
      ->group(choose);
}

void AddTelling(CLI::App& app, ProcessOptions& options) {
  const char* tell = "Telling";
  app.add_option("--progress", options.progress.format,
                 "How far it has come, on standard error: auto is a line on a terminal and nothing elsewhere, json an "
                 "object a line for programs, whose last one has \"done\": true and the outcome")
      ->check(CLI::IsMember({"auto", "json", "none"}))
      ->type_name("FORMAT")
      ->capture_default_str()
      ->group(tell);
  app.add_option("--progress-file", options.progress.file,
                 "Writes these objects there and not to standard error; /dev/fd/3 is descriptor 3")
      ->type_name("FILE")
      ->group(tell);
  app.add_flag("--quiet", options.quiet, "Prints nothing but errors")->group(tell);
  AddVerbose(app, options.verbose)->group(tell);
}

void AddWriting(CLI::App& app, ProcessOptions& options) {
  const char* write = "Writing";
  app.add_option("--codec", options.write.codec, "FFmpeg's name of an encoder; else the best for the container")
      ->type_name("NAME")
      ->group(write);
  app.add_option("--quality", options.write.quality, "0 best to 51 smallest (constant rate factor)")
      ->check(CLI::Range(0, 51).description(""))
      ->type_name("N")
      ->capture_default_str()
      ->group(write);
  app.add_option("--preset", options.write.preset, "Effort of the H.264 encoder, ultrafast to veryslow")
      ->check(CLI::IsMember(
          {"ultrafast", "superfast", "veryfast", "faster", "fast", "medium", "slow", "slower", "veryslow"}))
      ->type_name("NAME")
      ->capture_default_str()
      ->group(write);
  app.add_option("--format", options.write.container, "FFmpeg's name of a container; else by the file's name")
      ->type_name("NAME")
      ->group(write);
  app.add_option("--sheet", options.sheet, "Also writes a contact sheet with frames before and after")
      ->type_name("PNG")
      ->group(write);

  app.add_flag_callback(
         "--gpu-yuv", [&options] { options.upload = UploadPath::kNative; },
         "Hands YUV frames to the library as they are, which turns them into RGB on the GPU and softens a picture a "
         "little; else FFmpeg does it")
      ->group(write);
  app.add_flag("--overwrite,!--no-overwrite", options.overwrite, "Replaces an output that exists (else too)")
      ->group(write);
}

// The tool's own clip is keyed over a picture and beautified, unless options say otherwise.
void CompleteDemo(const CLI::App& app, ProcessOptions& options) {
  const auto add = [&](const char* name, const ParamSetting& setting) { options.effect.try_emplace(name, setting); };
  add("enable_key", ParamSetting::Switch(true));
  add("color", ParamSetting::Color(kDemoKey));
  add("similarity", ParamSetting::Integer(155));
  add("smoothness", ParamSetting::Integer(50));
  add("anti-spill", ParamSetting::Integer(75));
  add("blur", ParamSetting::Integer(60));
  add("whitten", ParamSetting::Integer(20));
  if (app.count("--background-color") == 0 && options.layout.background.empty()) {
    add("bgfile", ParamSetting::File(kDemoBackground));
  }
}

}  // namespace

void AddProcessOptions(CLI::App& app, ProcessOptions& options) {
  app.description(
      "Takes every frame of a video or image through the library and writes the result.\n"
      "Without INPUT it makes a clip of its own: somebody who waves in front of a green screen.");
  const Abilities& media = MediaAbilities();
  app.footer(std::string("Examples:\n") + media.examples + media.notes +
             "Exit code: 0 done, 1 failed or input damaged, 2 wrong usage, 130 interrupted (a capture: 0).");
  app.add_option("INPUT", options.inputs,
                 std::string(media.inputs) +
                     "; several are shown one after the other, fitted into the first one's size, an image for 5 s");
  AddCapture(app, options.input, options.read);
  app.add_option("-o,--output", options.output, fmt::format("{}; without INPUT {}", media.outputs, media.ownOutput))
      ->type_name("FILE");

  AddPlacing(app, options);
  AddMixing(app, options);
  AddChoosing(app, options);
  AddWriting(app, options);
  app.add_flag(
         "--preview", options.preview,
         "Shows each frame in a window while it is processed, at the clip's own rate; see qvg view --help for keys")
      ->group("Watching");
  app.add_flag("--max-speed", options.maxSpeed, "With --preview: as fast as it goes")->group("Watching");
  AddTelling(app, options);
  AddEffectOptions(app, LoadEffectTable(), options.effect, options.key);
}

void CompleteProcessOptions(const CLI::App& app, ProcessOptions& options) {
  if (!options.inputs.empty()) options.input = options.inputs.front();
  for (const std::string& input : options.inputs) RefuseEmptyInput(app, input);
  options.read.imageRate = options.fps;
  if (options.to > 0 && options.duration > 0) throw CLI::ExcludesError("--to", "--duration");
  if (options.End() <= 0) throw CLI::ValidationError("--to: lies not behind --from");
  if (!options.progress.file.empty()) options.progress.format = "json";
  if (options.quiet && options.progress.format == "auto") options.progress.format = "none";
  if (options.output == "/dev/stdout") options.output = kStandardOutput;
  if (options.input.empty()) CompleteDemo(app, options);
  CompleteEffect(options.effect);
  if (!options.input.empty()) {
    if (options.output.empty()) throw CLI::RequiredError("-o FILE");
    return;
  }
  if (options.output.empty()) {
    options.output = MediaAbilities().ownOutput;
    std::error_code ignored;
    std::filesystem::create_directories("out", ignored);
  }
  const std::filesystem::path path = PathOf(options.output);
  if (options.sheet.empty() && options.output != kStandardOutput) {
    options.sheet = NameOf(path.parent_path() / PathOf(NameOf(path.stem()) + "-sheet.png"));
  }
}

}  // namespace qvgtool
