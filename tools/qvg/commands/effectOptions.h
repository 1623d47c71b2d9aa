// The effect's parameters as options of the command line.
#pragma once

#include <CLI/CLI.hpp>

#include "picture/effect.h"

namespace qvgtool {

/** An option for each row of the table, in groups; what the user gives goes into the settings. key: what was given for
 *  --key, a colour, which is set as well, or kAutomaticKey. */
void AddEffectOptions(CLI::App& app, const EffectTable& table, EffectSettings& settings, std::string& key);

/** Options that make these settings of the table's defaults, as a shell takes them. */
std::string OptionLine(const EffectSettings& settings, const EffectTable& table);

/** A word that a shell takes as it is. */
std::string ShellWord(const std::string& text);

/** Switches on what was given values. Throws CLI::ParseError for a background without a file. */
void CompleteEffect(EffectSettings& settings);

}  // namespace qvgtool
