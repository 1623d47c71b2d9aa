#include "commands/commandTexts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <sstream>

#include "commands/command.h"
#include "commands/options.h"
#include "media/complain.h"
#include "media/error.h"
#include "media/parsing.h"

namespace qvgtool {
namespace {

constexpr const char* kFileValues[] = {"FILE", "PNG", "INPUT"};
constexpr char kColourValue[] = "COLOUR";

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream rest(text);
  for (std::string part; std::getline(rest, part, separator);) parts.push_back(part);
  return parts;
}

// typeName is "NAME", "NAME:{a,b}" with what CLI::IsMember accepts, or a list of words, "COLOUR|auto".
void TakeValue(const std::string& typeName, OptionText& text) {
  const size_t set = typeName.find(":{");
  text.value = typeName.substr(0, set);
  if (set != std::string::npos) text.choices = Split(typeName.substr(set + 2, typeName.size() - set - 3), ',');
  for (const std::string& word : Split(text.value, '|')) {
    if (std::find(std::begin(kFileValues), std::end(kFileValues), word) != std::end(kFileValues)) text.file = true;
    if (std::any_of(word.begin(), word.end(), [](unsigned char c) { return std::islower(c); }) && text.value != word) {
      text.choices.push_back(word);
    }
    if (word != kColourValue) continue;
    const std::vector<std::string> names = ColorNames();
    text.choices.insert(text.choices.end(), names.begin(), names.end());
  }
}

OptionText Describe(const CLI::Option& option) {
  OptionText text;
  for (const std::string& name : option.get_snames()) text.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) text.names.push_back("--" + name);
  text.help = option.get_description();
  text.group = option.get_group();
  text.standard = option.get_default_str();
  if (option.get_items_expected_max() > 0) TakeValue(option.get_type_name(), text);
  if (option.get_positional()) TakeValue(option.get_name(true), text);
  return text;
}

}  // namespace

std::vector<CommandText> CommandTexts() {
  std::vector<CommandText> texts;
  std::string missing;
  for (const CommandRow& row : Commands()) {
    if (row.hidden) continue;
    CLI::App app(row.summary, row.name);
    const std::unique_ptr<Command> command = row.make();
    try {
      command->AddOptions(app);
    } catch (const Error& error) {
      missing = error.what();
    }
    HideMissing(app);
    CommandText& text =
        texts.emplace_back(CommandText{row.name, row.summary, app.get_description(), app.get_footer(), {}});
    for (const CLI::Option* option : app.get_options()) {
      if (!option->get_group().empty()) text.options.push_back(Describe(*option));
    }
  }
  if (!missing.empty()) Complain("the effect's options are left out: " + missing);
  return texts;
}

}  // namespace qvgtool
