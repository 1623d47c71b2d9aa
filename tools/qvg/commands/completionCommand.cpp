#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "commands/command.h"
#include "commands/commandTexts.h"

namespace qvgtool {
namespace {

std::string Escaped(const std::string& text, const std::string& special) {
  std::string escaped;
  for (const char c : text) escaped += special.find(c) == std::string::npos ? std::string(1, c) : std::string("\\") + c;
  return escaped;
}

// In a shell's single quotes.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

const OptionText* Argument(const CommandText& command) {
  const auto found = std::find_if(command.options.begin(), command.options.end(),
                                  [](const OptionText& option) { return option.names.empty(); });
  return found == command.options.end() ? nullptr : &*found;
}

void PrintBash(const std::vector<CommandText>& commands) {
  const auto answer = [](const OptionText& option) {
    return fmt::format("words={} files={}", Quoted(fmt::format("{}", fmt::join(option.choices, " "))),
                       option.file ? "1" : "");
  };
  std::string names, cases;
  for (const CommandText& command : commands) {
    names += command.name + " ";
    std::string all;
    for (const OptionText& option : command.options) {
      if (!option.names.empty()) all += fmt::format("{} ", fmt::join(option.names, " "));
      if (option.names.empty() || option.value.empty()) continue;
      std::string patterns;
      for (const std::string& name : option.names) {
        patterns += fmt::format("{}'{} {}'", patterns.empty() ? "" : " | ", command.name, name);
      }
      cases += fmt::format("      {}) {} ;;\n", patterns, answer(option));
    }
    const OptionText* const argument = Argument(command);
    cases += fmt::format("      '{} '*)\n        if [[ $word == -* ]]; then words={}\n        else {}\n        fi ;;\n",
                         command.name, Quoted(all), answer(argument ? *argument : OptionText()));
  }
  fmt::print(R"(# bash completion for qvg
_qvg() {{
  local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD - 1]}} words='' files=''
  # "--option=value" comes as three words.
  [[ $word == '=' ]] && word=''
  [[ $before == '=' ]] && before=${{COMP_WORDS[COMP_CWORD - 2]}}
  if ((COMP_CWORD == 1)); then
    words='{}--help --version'
  else
    case "${{COMP_WORDS[1]}} $before" in
{}    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  if [[ $files ]]; then
    compopt -o filenames 2>/dev/null
    mapfile -t -O "${{#COMPREPLY[@]}}" COMPREPLY < <(compgen -f -- "$word")
  fi
}}
complete -F _qvg qvg
)",
             names, cases);
}

void PrintZsh(const std::vector<CommandText>& commands) {
  fmt::print("#compdef qvg\n_qvg() {{\n  local line state\n  _arguments -C '(- *)--help' '(- *)--version' ");
  fmt::print("'1:command:->command' '*::argument:->arguments'\n  case $state in\n    command)\n");
  fmt::print("      local -a commands=(\n");
  for (const CommandText& command : commands) {
    fmt::print("        {}\n", Quoted(command.name + ":" + command.summary));
  }
  fmt::print("      )\n      _describe command commands ;;\n    arguments)\n      case $line[1] in\n");
  for (const CommandText& command : commands) {
    fmt::print("        {})\n          _arguments", command.name);
    for (const OptionText& option : command.options) {
      std::string value;
      if (!option.value.empty()) {
        value = fmt::format(":{}:", Quoted(Escaped(option.value, ":")));
        if (option.file) value += "_files";
        if (!option.choices.empty()) value += fmt::format("'({})'", fmt::join(option.choices, " "));
        if (value.back() == ':') value += "' '";
      }
      if (option.names.empty()) fmt::print(" \\\n            '*'{}", value);
      for (const std::string& name : option.names) {
        const char* const joined = value.empty() ? "" : name.starts_with("--") ? "=" : "+";
        fmt::print(" \\\n            {}{}{}{}", Quoted(fmt::format("({})", fmt::join(option.names, " "))),
                   name + joined, Quoted("[" + Escaped(option.help, "[]:") + "]"), value);
      }
    }
    fmt::print(" ;;\n");
  }
  fmt::print("      esac ;;\n  esac\n}}\n_qvg \"$@\"\n");
}

void PrintFish(const std::vector<CommandText>& commands) {
  fmt::print("complete -c qvg -f\ncomplete -c qvg -n __fish_use_subcommand -l help\n");
  fmt::print("complete -c qvg -n __fish_use_subcommand -l version\n");
  for (const CommandText& command : commands) {
    fmt::print("complete -c qvg -n __fish_use_subcommand -a {} -d {}\n", command.name, Quoted(command.summary));
    for (const OptionText& option : command.options) {
      std::string line = fmt::format("complete -c qvg -n '__fish_seen_subcommand_from {}'", command.name);
      for (const std::string& name : option.names) {
        line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      if (!option.value.empty()) line += option.file ? " -F" : option.names.empty() ? "" : " -x";
      if (!option.value.empty() && option.file && !option.names.empty()) line += " -r";
      if (!option.choices.empty()) line += " -a " + Quoted(fmt::format("{}", fmt::join(option.choices, " ")));
      if (!option.names.empty()) line += " -d " + Quoted(option.help);
      fmt::print("{}\n", line);
    }
  }
}

constexpr struct {
  const char* name;
  void (*print)(const std::vector<CommandText>&);
} kShells[] = {{"bash", &PrintBash}, {"zsh", &PrintZsh}, {"fish", &PrintFish}};

class CompletionCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override {
    app.description("Prints what completes this command line in a shell, such as\n  source <(qvg completion bash)");
    std::vector<std::string> names;
    for (const auto& shell : kShells) names.emplace_back(shell.name);
    app.add_option("SHELL", shell_, "bash, zsh or fish")->required()->check(CLI::IsMember(names))->type_name("");
  }
  int Run() override {
    for (const auto& shell : kShells) {
      if (shell_ == shell.name) shell.print(CommandTexts());
    }
    return kDone;
  }

 private:
  std::string shell_;
};

}  // namespace

std::unique_ptr<Command> MakeCompletion() { return std::make_unique<CompletionCommand>(); }

}  // namespace qvgtool
