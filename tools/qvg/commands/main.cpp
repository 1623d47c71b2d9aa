// Command line of qvg.
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>

#include "commands/command.h"
#include "commands/options.h"
#include "media/ffmpegPtr.h"

#ifndef QVG_VERSION
#define QVG_VERSION "1.0.0"
#endif

namespace qvgtool {
namespace {

constexpr CommandRow kCommands[] = {
    {"process", "Takes a video or image through the library", &MakeProcess},
    {"view", "Shows a video or image in a window", &MakeView},
    {"tune", "Finds values for keying a video or image and draws what they give", &MakeTune},
    {"effects", "Lists the effect's parameters, which qvg process takes as options", &MakeEffects},
    {"info", "Tells which display, driver and versions the library works with", &MakeInfo},
};

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

// One line for a command line that was not understood.
std::string Complaint(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv) {
  const auto chosen = app.get_subcommands();
  std::string line = error.what(), help = "qvg --help";
  if (!chosen.empty()) {
    help = fmt::format("qvg {} --help", chosen.front()->get_name());
    for (int i = 1; i < argc; ++i) {
      const std::string word = argv[i], name = word.substr(0, word.find('='));
      if (!name.starts_with("--") || chosen.front()->get_option_no_throw(name)) continue;
      if (const std::string nearest = NearestOption(*chosen.front(), name); !nearest.empty()) {
        line = fmt::format("no option is named {}: is {} meant?", name, nearest);
      }
      break;
    }
  } else if (argc > 1 && argv[1][0] != '-') {
    line = fmt::format("no command is named {}: there are process, view, tune, effects and info", argv[1]);
  }
  std::replace(line.begin(), line.end(), '\n', ' ');
  return fmt::format("{} (see {})", line, help);
}

int Run(Command& command) {
  try {
    CatchFfmpegLog(command.Verbose());
    CatchSignals();
    return command.Run();
  } catch (const std::bad_alloc&) {
    fmt::print(stderr, "qvg: not enough memory\n");
  } catch (const std::exception& error) {
    fmt::print(stderr, "qvg: {}\n", error.what());
  }
  return kFailed;
}

int Main(int argc, char** argv) {
  CLI::App app("Live video frames through the qvGLRenderer library.", "qvg");
  app.set_version_flag("--version", "qvg " QVG_VERSION);
  app.require_subcommand(1);
  app.formatter(std::make_shared<WrappingFormatter>());
  CatchFfmpegLog(false);
  std::unique_ptr<Command> command;
  for (const CommandRow& row : kCommands) {
    CLI::App* const sub = app.add_subcommand(row.name, row.summary);
    // Options of the others are not needed; some take a driver to be asked.
    if (argc < 2 || std::strcmp(argv[1], row.name) != 0) continue;
    command = row.make();
    try {
      command->AddOptions(*sub);
    } catch (const Error& error) {
      fmt::print(stderr, "qvg: no options for effects: {}\n", error.what());
      const auto isHelp = [](const char* word) { return std::strcmp(word, "--help") == 0; };
      if (!std::any_of(argv, argv + argc, isHelp)) return kFailed;
    }
  }
  try {
    app.parse(argc, argv);
    if (command) command->Complete(*app.get_subcommands().front());
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    fmt::print(stderr, "qvg: {}\n", Complaint(app, error, argc, argv));
    return kBadUsage;
  }
  return command ? Run(*command) : kBadUsage;
}

}  // namespace
}  // namespace qvgtool

int main(int argc, char** argv) { return qvgtool::Main(argc, argv); }
