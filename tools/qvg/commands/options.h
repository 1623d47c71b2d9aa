// Options that several commands take, and checks of values.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "media/mediaReader.h"

namespace qvgtool {

/** Refuses values outside, and what is not a number. */
CLI::Validator Between(double low, double high);

/** "1280x720", or a name such as "hd720". Throws CLI::ValidationError with the option's name. */
std::pair<int, int> ParsedSize(const std::string& option, const std::string& text);

/** Seconds ("1.5") or a time ("00:01:02.5"). Throws CLI::ValidationError. */
CLI::Option* AddTime(CLI::App& app, const std::string& name, double& seconds, const std::string& help);

CLI::Option* AddInput(CLI::App& app, std::string& input);
/** Adds the options for a device as the input; to be called after AddInput. */
void AddCapture(CLI::App& app, std::string& input, ReadOptions& read);
CLI::Option* AddVerbose(CLI::App& app, bool& verbose);

/** Throws for an INPUT that is given but empty, such as an unset shell variable: it doesn't ask for the tool's own
 *  clip. */
void RefuseEmptyInput(const CLI::App& app, const std::string& input);

/** Leaves options for what this build can't do out of the help, and throws when they are given. */
void HideMissing(CLI::App& app);
void RefuseMissing(const CLI::App& app);

/** The command's option that is spelt most like this word; empty when none is close. */
std::string NearestOption(const CLI::App& app, const std::string& word);

}  // namespace qvgtool
