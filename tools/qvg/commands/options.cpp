#include "commands/options.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "media/abilities.h"
#include "media/parsing.h"

namespace qvgtool {
namespace {

// The abilities of the backend that options need.
constexpr struct {
  const char* option;
  bool Abilities::*ability;
} kNeeds[] = {
    {"--capture", &Abilities::capture},        {"--capture-size", &Abilities::capture},
    {"--capture-rate", &Abilities::capture},   {"--no-sound", &Abilities::sound},
    {"--no-subtitles", &Abilities::subtitles}, {"--codec", &Abilities::encoders},
    {"--preset", &Abilities::encoders},        {"--format", &Abilities::encoders},
    {"--gpu-yuv", &Abilities::gpuYuv},
};

// The Levenshtein distance.
size_t Distance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

CLI::Validator Between(double low, double high) {
  return CLI::Validator(
      [low, high](const std::string& text) {
        double value = 0;
        // Written so that NaN fails, too.
        if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high) return std::string();
        return fmt::format("{} is no number from {:g} to {:g}", text, low, high);
      },
      "");
}

std::pair<int, int> ParsedSize(const std::string& option, const std::string& text) {
  const auto size = ParseSize(text);
  if (!size || size->first < 1 || size->second < 1) {
    throw CLI::ValidationError(option + ": " + text + " is no size such as 1280x720");
  }
  return *size;
}

CLI::Option* AddTime(CLI::App& app, const std::string& name, double& seconds, const std::string& help) {
  return app
      .add_option_function<std::string>(
          name,
          [name, &seconds](const std::string& text) {
            const auto time = ParseTime(text);
            if (!time || *time < 0 || *time > 1e9) {
              throw CLI::ValidationError(name + ": " + text + " is no time such as 1.5 or 00:01:02.5");
            }
            seconds = *time;
          },
          help)
      ->type_name("TIME");
}

CLI::Option* AddInput(CLI::App& app, std::string& input) {
  return app.add_option("INPUT", input, "Video, image, or - for a stream (such as Y4M) on standard input");
}

void HideMissing(CLI::App& app) {
  for (const auto& [name, ability] : kNeeds) {
    CLI::Option* const option = app.get_option_no_throw(name);
    if (!option || MediaAbilities().*ability) continue;
    option->group("");
    if (CLI::Option* const input = app.get_option_no_throw("INPUT")) input->remove_excludes(option);
  }
}

void RefuseMissing(const CLI::App& app) {
  for (const auto& [name, ability] : kNeeds) {
    const CLI::Option* const option = app.get_option_no_throw(name);
    if (!option || MediaAbilities().*ability || option->count() == 0) continue;
    throw CLI::ValidationError(fmt::format("{}: this build of qvg, which is without FFmpeg's libraries, can't", name));
  }
}

void AddCapture(CLI::App& app, std::string& input, ReadOptions& read) {
  const char* group = "Capturing";
  const auto options = [&read]() -> CaptureOptions& { return read.capture ? *read.capture : read.capture.emplace(); };
  CLI::Option* const capture = app.add_option_function<std::string>(
      "--capture",
      [&input, options](const std::string& device) {
        input = device;
        options();
      },
      "Takes a camera's or screen's pictures until Ctrl-C, such as v4l2:/dev/video0 or x11::0; qvg info lists the "
      "formats");
  capture->type_name("FORMAT:NAME")->excludes(app.get_option("INPUT"))->group(group);
  app.add_option_function<std::string>(
         "--capture-size",
         [options](const std::string& text) {
           ParsedSize("--capture-size", text);
           options().size = text;
         },
         "Size to ask the device for; else its own")
      ->type_name("WxH")
      ->needs(capture)
      ->group(group);
  app.add_option_function<std::string>(
         "--capture-rate",
         [options](const std::string& text) {
           if (!IsRate(text)) {
             throw CLI::ValidationError("--capture-rate: " + text + " is no rate such as 25 or 30000/1001");
           }
           options().rate = text;
         },
         "Frames a second to ask it for")
      ->type_name("RATE")
      ->needs(capture)
      ->group(group);
}

CLI::Option* AddVerbose(CLI::App& app, bool& verbose) {
  return app.add_flag("--verbose", verbose, "Prints every line of the library's and FFmpeg's logs");
}

void RefuseEmptyInput(const CLI::App& app, const std::string& input) {
  if (app.count("INPUT") > 0 && input.empty()) throw CLI::ValidationError("INPUT is empty");
}

std::string NearestOption(const CLI::App& app, const std::string& word) {
  std::string nearest;
  size_t least = std::max<size_t>(2, word.size() / 3) + 1;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      const size_t distance = Distance(word, "--" + name);
      if (distance >= least) continue;
      least = distance;
      nearest = "--" + name;
    }
  }
  return nearest;
}

}  // namespace qvgtool
