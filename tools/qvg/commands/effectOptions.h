// The effect's parameters as options of the command line.
#pragma once

#include <CLI/CLI.hpp>

#include "picture/effect.h"

namespace qvgtool {

/** Adds an option for each row of the table, in groups; the values that the user gives go into the settings. key: the
 *  value of --key, which is a colour (and then set as well) or kAutomaticKey. */
void AddEffectOptions(CLI::App& app, const EffectTable& table, EffectSettings& settings, std::string& key);

/** The options that lead from the table's defaults to these settings, quoted for a shell. */
std::string OptionLine(const EffectSettings& settings, const EffectTable& table);

/** The text as one word for a shell, quoted where needed. */
std::string ShellWord(const std::string& text);

/** Switches on the stages that were given values. Throws CLI::ParseError for a background without a file. */
void CompleteEffect(EffectSettings& settings);

}  // namespace qvgtool
