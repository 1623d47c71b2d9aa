// Command line of qvg.
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "commands/command.h"
#include "commands/options.h"
#include "commands/signals.h"
#include "media/complain.h"
#include "media/error.h"
#include "media/mediaLog.h"
#include "media/text.h"
#include "platform/console.h"

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
    {"selftest", "Compares what the library draws here with what it should draw", &MakeSelftest},
    {"completion", "Prints a shell's completion of this command line", &MakeCompletion},
    {"man", "Prints the manual page", &MakeMan, true},
};

// Breaks long descriptions into lines.
class WrappingFormatter : public CLI::Formatter {
 public:
  WrappingFormatter() { column_width(28); }
  // Without the list of values where the type has a name.
  std::string make_option_opts(const CLI::Option* option) const override {
    std::string text = CLI::Formatter::make_option_opts(option);
    if (const size_t set = text.find(":{"); set != std::string::npos) text.erase(set, text.find('}', set) + 1 - set);
    return text;
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    return Wrapped(CLI::Formatter::make_option_desc(option), 88);
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
    std::vector<std::string> names;
    for (const CommandRow& row : kCommands) {
      if (!row.hidden) names.emplace_back(row.name);
    }
    line = fmt::format("no command is named {}: there are {}", argv[1], fmt::join(names, ", "));
  }
  std::replace(line.begin(), line.end(), '\n', ' ');
  return fmt::format("{} (see {})", line, help);
}

int Run(Command& command) {
  try {
    CatchMediaLog(command.Verbose());
    const int exitCode = command.Run();
    const bool lost = std::fflush(stdout) != 0 && errno != EPIPE;
    if (lost && exitCode == kDone) throw Error(fmt::format("standard output: {}", std::strerror(errno)));
    return exitCode;
  } catch (const std::bad_alloc&) {
    Complain("not enough memory");
  } catch (const std::exception& error) {
    Complain(error.what());
  }
  return Interrupted() ? kInterrupted : kFailed;
}

int Main(int argc, char** argv) {
  CLI::App app("Live video frames through the qvGLRenderer library.", "qvg");
  app.set_version_flag("--version", "qvg " QVG_VERSION);
  app.require_subcommand(1);
  app.formatter(std::make_shared<WrappingFormatter>());
  CatchMediaLog(false);
  std::unique_ptr<Command> command;
  for (const CommandRow& row : kCommands) {
    CLI::App* const sub = app.add_subcommand(row.name, row.summary);
    if (row.hidden) sub->group("");
    // The other commands' options are not needed, and for some of them a driver has to be asked.
    if (argc < 2 || std::strcmp(argv[1], row.name) != 0) continue;
    command = row.make();
    try {
      command->AddOptions(*sub);
    } catch (const Error& error) {
      Complain(fmt::format("no options for effects: {}", error.what()));
      const auto isHelp = [](const char* word) { return std::strcmp(word, "--help") == 0; };
      if (!std::any_of(argv, argv + argc, isHelp)) return kFailed;
    }
    HideMissing(*sub);
  }
  try {
    app.parse(argc, argv);
    if (command) {
      RefuseMissing(*app.get_subcommands().front());
      command->Complete(*app.get_subcommands().front());
    }
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    Complain(Complaint(app, error, argc, argv));
    return kBadUsage;
  }
  return command ? Run(*command) : kBadUsage;
}

}  // namespace

std::span<const CommandRow> Commands() { return kCommands; }

}  // namespace qvgtool

int main(int argc, char** argv) {
  qvgtool::PrepareConsole();
  std::vector<std::string> arguments = qvgtool::Arguments(argc, argv);
  std::vector<char*> words;
  words.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) words.push_back(argument.data());
  words.push_back(nullptr);
  return qvgtool::Main(static_cast<int>(arguments.size()), words.data());
}
