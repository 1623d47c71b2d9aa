// Command line of qvg.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "commands.h"
#include "demoClip.h"
#include "effectOptions.h"
#include "previewWindow.h"

extern "C" {
#include <libavutil/parseutils.h>
}

#ifndef QVG_VERSION
#define QVG_VERSION "1.0.0"
#endif

namespace qvgtool {
namespace {

// Breaks long descriptions into lines.
class WrappingFormatter : public CLI::Formatter {
 public:
  WrappingFormatter() { column_width(28); }
  std::string make_option_desc(const CLI::Option* option) const override {
    std::string text, line;
    std::istringstream words(CLI::Formatter::make_option_desc(option));
    for (std::string word; words >> word; line += (line.empty() ? "" : " ") + word) {
      if (line.size() + word.size() < 88) continue;
      text += line + "\n";
      line.clear();
    }
    return text + line;
  }
};

void SetUpProcess(CLI::App& app, ProcessOptions& options) {
  app.description(
      "Takes every frame of a video or image through the library and writes the result.\n"
      "Without INPUT it makes a clip of its own: somebody who waves in front of a green screen.");
  app.footer(
      "Examples:\n"
      "  qvg process clip.mp4 -o out.mp4                          the clip as it is\n"
      "  qvg process clip.mp4 -o out.mp4 --scale 0.8 --rotate 5 --background beach.jpg --drop-shadow 0.6\n"
      "  qvg process photo.jpg -o out.png --size 640x480\n"
      "  qvg process screen.mp4 -o out.mp4 --key auto --background beach.jpg --blur 60\n"
      "  ffmpeg -i clip.mkv -f yuv4mpegpipe - | qvg process - -o out.mp4\n"
      "Colours come out as they went in; the output is tagged as limited-range BT.601.\n"
      "Exit code: 0 done, 1 failed or input damaged, 2 wrong usage, 130 interrupted.");
  app.add_option("INPUT", options.input, "Video, image, or - for a stream (such as Y4M) on standard input");
  app.add_option("-o,--output", options.output,
                 "Video (.mp4, .mkv, .webm ...), image (.png, .jpg ...: the first frame) or numbered images "
                 "(frame%03d.png); without INPUT out/demo.mp4")
      ->type_name("FILE");

  const char* place = "Placing";
  app.add_option_function<std::string>(
         "--size",
         [&options](const std::string& text) {
           int width = 0, height = 0;
           if (av_parse_video_size(&width, &height, text.c_str()) < 0 || width < 1 || height < 1) {
             throw CLI::ValidationError("--size: " + text + " is no size such as 1280x720");
           }
           options.size = {width, height};
         },
         "Size of the output; the frame is fitted into it. Without INPUT the clip's own size too")
      ->type_name("WxH")
      ->group(place);
  app.add_option("--scale", options.layout.scale, "Factor for the frame's size")
      ->check(CLI::Range(0.001, 1000.0).description(""))
      ->type_name("FACTOR")
      ->group(place);
  app.add_option("--rotate", options.layout.rotate, "Turns the frame, clockwise as you see it")
      ->check(CLI::Range(-36000.0, 36000.0).description(""))
      ->type_name("DEGREES")
      ->group(place);
  app.add_option("--move", options.layout.move, "Moves the frame to the right and down")
      ->delimiter(',')
      ->type_name("X,Y")
      ->group(place);

  const char* mix = "Mixing";
  app.add_option("--opacity", options.layout.opacity, "0 shows the background alone, 1 hides it")
      ->check(CLI::Range(0.0, 1.0).description(""))
      ->type_name("0..1")
      ->group(mix);
  app.add_option("--blend", options.layout.blend,
                 fmt::format("How the frame meets the background: {}", fmt::join(BlendNames(), ", ")))
      ->check(
          [](const std::string& name) {
            const auto names = BlendNames();
            return std::find(names.begin(), names.end(), name) != names.end()
                       ? std::string()
                       : fmt::format("no blend is named {} (there are {})", name, fmt::join(names, ", "));
          },
          "")
      ->type_name("NAME")
      ->group(mix);
  app.add_option("--background", options.layout.background,
                 "Image or clip behind the frame, cut to the output's shape; with --key where the screen was")
      ->type_name("FILE")
      ->group(mix);
  app.add_option_function<std::string>(
         "--background-color",
         [&options](const std::string& text) {
           uint8_t rgba[4];
           if (av_parse_color(rgba, text.c_str(), -1, nullptr) < 0) {
             throw CLI::ValidationError("--background-color: " + text + " is no colour (#rrggbb, #rrggbbaa or a name)");
           }
           for (size_t i = 0; i < 4; ++i) options.layout.backgroundColor[i] = rgba[i] / 255.0;
         },
         "Colour behind the frame: #rrggbb, #rrggbbaa or a name; else black, or transparent where the image keeps it")
      ->type_name("COLOUR")
      ->group(mix);
  app.add_option("--drop-shadow", options.layout.shadow, "Opacity of a soft shadow below the frame")
      ->check(CLI::Range(0.0, 1.0).description(""))
      ->type_name("0..1")
      ->group(mix);

  const char* choose = "Choosing";
  app.add_option("--from", options.read.from, "Starts there in the input")
      ->check(CLI::Range(0.0, 1e9).description(""))
      ->type_name("SECONDS")
      ->group(choose);
  app.add_option("--frames", options.frames, "Ends after so many frames")
      ->check(CLI::Range(int64_t{1}, int64_t{1} << 40).description(""))
      ->type_name("N")
      ->group(choose);
  app.add_flag_callback(
         "--no-sound", [&options] { options.read.sound = false; }, "Leaves the sound out")
      ->group(choose);

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
                  {"ultrafast", "superfast", "veryfast", "faster", "fast", "medium", "slow", "slower", "veryslow"})
                  .description(""))
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
  app.add_flag(
         "--preview", options.preview,
         "Shows each frame in a window while it is processed, at the clip's own rate; see qvg view --help for keys")
      ->group("Watching");
  app.add_flag("--max-speed", options.maxSpeed, "With --preview: as fast as it goes")->group("Watching");
  app.add_flag("--verbose", options.verbose, "Prints every line of the library's and FFmpeg's logs");
}

void SetUpView(CLI::App& app, ViewOptions& options) {
  app.description("Shows a video or image in a window, through the library. Without INPUT the tool's own clip.");
  app.footer(std::string(kPreviewKeys) + "\nA clip stays on its last frame until the window is closed.");
  app.add_option("INPUT", options.input, "Video, image, or - for a stream (such as Y4M) on standard input");
  app.add_option("--from", options.read.from, "Starts there in the input")
      ->check(CLI::Range(0.0, 1e9).description(""))
      ->type_name("SECONDS");
  app.add_flag("--loop", options.loop, "Begins again at the end of a clip");
  app.add_flag("--max-speed", options.maxSpeed, "Shows frames as fast as it goes, not at the clip's own rate");
  app.add_flag("--verbose", options.verbose, "Prints every line of the library's and FFmpeg's logs");
}

// The own clip: keyed over a picture, with beauty, unless options say otherwise.
void CompleteDemo(ProcessOptions& options, const CLI::App& app) {
  const auto add = [&](const char* name, ParamSetting setting) {
    options.effect.try_emplace(name, std::move(setting));
  };
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

// What is known once all options are: defaults of the own clip, and wishes that exclude each other.
void Complete(ProcessOptions& options, const CLI::App& app) {
  EffectSettings& effect = options.effect;
  if (options.input.empty()) CompleteDemo(options, app);
  if (IsOn(effect, "enable_bg") && !effect.contains("bgfile")) throw CLI::RequiredError("--bgfile FILE");
  ImplySwitches(effect);
  if (!options.input.empty()) {
    if (options.output.empty()) throw CLI::RequiredError("-o FILE");
    return;
  }
  if (options.output.empty()) {
    options.output = "out/demo.mp4";
    std::error_code ignored;
    std::filesystem::create_directories("out", ignored);
  }
  const std::filesystem::path path(options.output);
  if (options.sheet.empty()) {
    options.sheet = (path.parent_path() / (path.stem().string() + "-sheet.png")).string();
  }
}

void SetUpTune(CLI::App& app, TuneOptions& options) {
  app.description(
      "Finds the colour of the screen along the picture's borders and values with which it disappears,\n"
      "draws what they and their neighbours give, and prints the options to paste.");
  app.add_option("INPUT", options.input, "Video or image")->required();
  app.add_option("-o,--output", options.sheet, "The contact sheet")->type_name("PNG")->capture_default_str();
  app.add_option("--key", options.key, "Colour of the screen; else found")->type_name("COLOUR");
  app.add_option("--from", options.from, "Looks at the frame there")
      ->check(CLI::Range(0.0, 1e9).description(""))
      ->type_name("SECONDS");
}

int Main(int argc, char** argv) {
  CLI::App app("Live video frames through the qvGLRenderer library.", "qvg");
  app.set_version_flag("--version", "qvg " QVG_VERSION);
  app.require_subcommand(1);
  app.formatter(std::make_shared<WrappingFormatter>());
  ProcessOptions options;
  TuneOptions tuneOptions;
  bool verboseInfo = false, json = false;
  CLI::App* process = app.add_subcommand("process", "Takes a video or image through the library");
  SetUpProcess(*process, options);
  ViewOptions viewOptions;
  CLI::App* view = app.add_subcommand("view", "Shows a video or image in a window");
  SetUpView(*view, viewOptions);
  CLI::App* info = app.add_subcommand("info", "Tells which display, driver and versions the library works with");
  info->add_flag("--verbose", verboseInfo, "Prints the library's log as well");
  CLI::App* effects =
      app.add_subcommand("effects", "Lists the effect's parameters, which qvg process takes as options");
  effects->add_flag("--json", json, "As JSON");
  CLI::App* tune = app.add_subcommand("tune", "Finds values for keying a video or image and draws what they give");
  SetUpTune(*tune, tuneOptions);

  CatchFfmpegLog(false);
  if (argc > 1 && !std::strcmp(argv[1], "process")) {
    try {
      AddEffectOptions(*process, LoadEffectTable(), options.effect, options.key);
    } catch (const Error& error) {
      fmt::print(stderr, "qvg: no options for effects: {}\n", error.what());
      if (!std::any_of(argv, argv + argc, [](const char* word) { return !std::strcmp(word, "--help"); }))
        return kFailed;
    }
  }
  try {
    app.parse(argc, argv);
    if (process->parsed()) Complete(options, *process);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    const char* help = process->parsed() ? "qvg process --help" : view->parsed() ? "qvg view --help" : "qvg --help";
    std::string line = error.what();
    if (app.get_subcommands().empty() && argc > 1 && argv[1][0] != '-') {
      line = fmt::format("no command is named {}: there are process, view, tune, effects and info", argv[1]);
    }
    std::replace(line.begin(), line.end(), '\n', ' ');
    fmt::print(stderr, "qvg: {} (see {})\n", line, help);
    return kBadUsage;
  }
  try {
    CatchFfmpegLog(options.verbose || viewOptions.verbose || verboseInfo);
    CatchSignals();
    if (view->parsed()) return RunView(viewOptions);
    if (info->parsed()) return RunInfo(verboseInfo);
    if (effects->parsed()) return RunEffects(json);
    if (tune->parsed()) return RunTune(tuneOptions);
    return RunProcess(options);
  } catch (const std::bad_alloc&) {
    fmt::print(stderr, "qvg: not enough memory\n");
  } catch (const std::exception& error) {
    fmt::print(stderr, "qvg: {}\n", error.what());
  }
  return kFailed;
}

}  // namespace
}  // namespace qvgtool

int main(int argc, char** argv) { return qvgtool::Main(argc, argv); }
