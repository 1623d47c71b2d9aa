#include "commands/effectOptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstring>

#include "commands/keying.h"

namespace qvgtool {
namespace {

std::string OptionName(std::string name) {
  std::replace(name.begin(), name.end(), '_', '-');
  return "--" + name;
}

// The value in the form that its option takes; empty for the default, and for a switch.
std::string OptionValue(const QVGParamDescriptor& row, const ParamSetting& setting) {
  const auto &value = setting.value.value, &standard = row.defaultValue.value;
  switch (row.valueType) {
    case QVG_PARAM_INTEGER:
      return value.integer == standard.integer ? "" : fmt::format("{}", value.integer);
    case QVG_PARAM_COLOR:
      return ColorText(value.color) == ColorText(standard.color) ? "" : "0x" + ColorText(value.color).substr(1);
    case QVG_PARAM_TEXT:
      return setting.text.empty() ? "" : ShellWord(setting.text);
    default:
      return "";
  }
}

// Reports a setting that can't be made as an error of the command line.
void Put(EffectSettings& settings, const std::string& name, const std::string& option, const std::string& color) {
  try {
    settings[name] = ParamSetting::Color(color);
  } catch (const Error& error) {
    throw CLI::ValidationError(option + ": " + error.what());
  }
}

}  // namespace

void AddEffectOptions(CLI::App& app, const EffectTable& table, EffectSettings& settings, std::string& key) {
  const char* group = "Effect";
  app.add_option_function<std::string>(
         "--key",
         [&settings, &key](const std::string& text) {
           if (text != kAutomaticKey) Put(settings, "color", "--key", text);
           settings["enable_key"] = ParamSetting::Switch(true);
           key = text;
         },
         "Makes a screen of this colour transparent; auto finds the colour. The values are found in the pictures, "
         "unless --similarity is given: then all are taken as they stand")
      ->type_name("COLOUR|auto")
      ->group(group);
  for (const QVGParamDescriptor& row : table.rows) {
    const std::string name = row.name, option = OptionName(name), help = HelpOf(row);
    switch (row.valueType) {
      case QVG_PARAM_INTEGER: {
        const int64_t low = row.minimum.value.integer, high = row.maximum.value.integer;
        app.add_option_function<int64_t>(
               option, [&settings, name](const int64_t& number) { settings[name] = ParamSetting::Integer(number); },
               fmt::format("{} (else {})", help, row.defaultValue.value.integer))
            ->check(CLI::Range(low, high).description(""))
            ->type_name(fmt::format("{}..{}", low, high))
            ->group(group);
        break;
      }
      case QVG_PARAM_BOOLEAN:
        app.add_flag_function(
               fmt::format("{},!--no-{}", option, option.substr(2)),
               [&settings, name](int64_t count) { settings[name] = ParamSetting::Switch(count > 0); }, help)
            ->group(group);
        break;
      case QVG_PARAM_COLOR:
        app.add_option_function<std::string>(
               option, [&settings, name, option](const std::string& text) { Put(settings, name, option, text); },
               fmt::format("{} (else {})", help, ColorText(row.defaultValue.value.color)))
            ->type_name("COLOUR")
            ->group(group);
        break;
      case QVG_PARAM_TEXT:
        app.add_option_function<std::string>(
               option, [&settings, name](const std::string& path) { settings[name] = ParamSetting::File(path); }, help)
            ->type_name("FILE")
            ->group(group);
        break;
      default:
        break;
    }
  }
}

std::string ShellWord(const std::string& text) {
  const auto plain = [](unsigned char letter) { return std::isalnum(letter) || std::strchr("_-./:=,+@%", letter); };
  if (!text.empty() && std::all_of(text.begin(), text.end(), plain)) return text;
  std::string word = "'";
  for (const char letter : text) word += letter == '\'' ? "'\\''" : std::string(1, letter);
  return word + "'";
}

std::string OptionLine(const EffectSettings& settings, const EffectTable& table) {
  std::string line;
  EffectSettings given;
  for (const QVGParamDescriptor& row : table.rows) {
    const auto found = settings.find(row.name);
    if (found == settings.end()) continue;
    const std::string value = OptionValue(row, found->second);
    if (value.empty()) continue;
    line += fmt::format(" {} {}", OptionName(row.name), value);
    given.insert(*found);
  }
  // Only those switches that the values do not imply.
  ImplySwitches(given);
  for (const QVGParamDescriptor& row : table.rows) {
    const bool on = IsOn(settings, row.name);
    if (row.valueType != QVG_PARAM_BOOLEAN || on == IsOn(given, row.name)) continue;
    line += fmt::format(" --{}{}", on ? "" : "no-", OptionName(row.name).substr(2));
  }
  return line.empty() ? line : line.substr(1);
}

void CompleteEffect(EffectSettings& settings) {
  if (IsOn(settings, "enable_bg") && !settings.contains("bgfile")) throw CLI::RequiredError("--bgfile FILE");
  ImplySwitches(settings);
}

}  // namespace qvgtool
