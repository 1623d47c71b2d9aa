// Options that several commands take, and checks of values.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "media/mediaReader.h"

namespace qvgtool {

/** Refuses what lies outside, and what is no number. */
CLI::Validator Between(double low, double high);

/** "1280x720", or a name such as "hd720". Throws CLI::ValidationError with the option's name. */
std::pair<int, int> ParsedSize(const std::string& option, const std::string& text);

/** Seconds ("1.5") or a time ("00:01:02.5"). Throws CLI::ValidationError. */
CLI::Option* AddTime(CLI::App& app, const std::string& name, double& seconds, const std::string& help);

CLI::Option* AddInput(CLI::App& app, std::string& input);
/** A device as the input, after AddInput. */
void AddCapture(CLI::App& app, std::string& input, ReadOptions& read);
CLI::Option* AddVerbose(CLI::App& app, bool& verbose);

/** An INPUT of no letters, such as an empty variable of a shell, is no wish for the tool's own clip. Throws. */
void RefuseEmptyInput(const CLI::App& app, const std::string& input);

/** Options for what this build can't do are left out of the help, and refused when they are given; that throws. */
void HideMissing(CLI::App& app);
void RefuseMissing(const CLI::App& app);

/** The option of the command that is spelt most like this word; empty when none is near. */
std::string NearestOption(const CLI::App& app, const std::string& word);

}  // namespace qvgtool
