#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include "commands/command.h"
#include "commands/commandTexts.h"
#include "commands/options.h"
#include "media/text.h"

namespace qvgtool {
namespace {

constexpr char kFirstGroup[] = "Options";  // Of options without a group of their own.

// Text in which roff finds no commands.
std::string Plain(const std::string& text) {
  std::string plain;
  for (const char c : text) {
    const bool lineStart = plain.empty() || plain.back() == '\n';
    if (lineStart && (c == '.' || c == '\'')) plain += "\\&";
    plain += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
  }
  return plain;
}

std::string Paragraph(const std::string& text) { return Plain(Wrapped(text, 78)); }

// As it stands, line by line.
void PrintLines(const std::string& text) {
  if (text.empty()) return;
  fmt::print(".PP\n.nf\n{}\n.fi\n", Plain(text));
}

void PrintOption(const OptionText& option) {
  fmt::print(".TP\n");
  std::string line;
  for (const std::string& name : option.names)
    line += fmt::format("{}\\fB{}\\fR", line.empty() ? "" : ", ", Plain(name));
  if (!option.value.empty()) line += fmt::format("{}\\fI{}\\fR", line.empty() ? "" : " ", Plain(option.value));
  const std::string standard = option.standard.empty() ? "" : fmt::format(" (else {})", option.standard);
  fmt::print("{}\n{}\n", line, Paragraph(option.help + standard));
}

void PrintCommand(const CommandText& command) {
  fmt::print(".SS qvg {}\n{}\n", command.name, Paragraph(command.description));
  std::vector<std::string> groups = {kFirstGroup};
  for (const OptionText& option : command.options) {
    if (std::find(groups.begin(), groups.end(), option.group) == groups.end()) groups.push_back(option.group);
  }
  for (const std::string& group : groups) {
    if (group != kFirstGroup) fmt::print(".PP\n{}:\n", Plain(group));
    for (const OptionText& option : command.options) {
      if (option.group == group) PrintOption(option);
    }
  }
  PrintLines(command.footer);
}

// Packagers set SOURCE_DATE_EPOCH, so that every build gives the same page.
std::time_t PageTime() {
  const char* const epoch = std::getenv("SOURCE_DATE_EPOCH");
  return epoch ? std::strtoll(epoch, nullptr, 10) : std::time(nullptr);
}

class ManCommand : public Command {
 public:
  void AddOptions(CLI::App&) override {}
  int Run() override {
    const std::vector<CommandText> commands = CommandTexts();
    fmt::print(".TH QVG 1 {:%Y-%m-%d} \"qvg {}\" \"User Commands\"\n", fmt::gmtime(PageTime()), QVG_VERSION);
    fmt::print(".SH NAME\nqvg \\- video frames through the qvGLRenderer library\n.SH SYNOPSIS\n");
    for (const CommandText& command : commands) {
      const bool input = std::any_of(command.options.begin(), command.options.end(),
                                     [](const OptionText& option) { return option.names.empty(); });
      fmt::print("{}.B qvg {}\n.RI [ option {}\n", &command == &commands.front() ? "" : ".br\n", command.name,
                 input ? "\"...] [\" argument ]" : "...]");
    }
    fmt::print(".SH COMMANDS\n");
    for (const CommandText& command : commands) PrintCommand(command);
    fmt::print(
        ".SH ENVIRONMENT\n.TP\n.B DISPLAY\nX server of the windows; without one everything else works too.\n"
        ".TP\n.B LIBGL_ALWAYS_SOFTWARE\nWith 1 Mesa renders on the CPU.\n"
        ".SH SEE ALSO\n.BR ffmpeg (1)\n");
    return kDone;
  }
};

}  // namespace

std::unique_ptr<Command> MakeMan() { return std::make_unique<ManCommand>(); }

}  // namespace qvgtool
