// The command line as data, for the manual page and the shells' completions.
#pragma once

#include <string>
#include <vector>

namespace qvgtool {

struct OptionText {
  std::vector<std::string> names;  // "-o", "--output"; none: an argument without a name.
  std::string help, group;
  std::string value;                 // What to give, such as "FILE"; empty: a switch.
  std::string standard;              // Its default, if that is told.
  std::vector<std::string> choices;  // What it may be, where that can be listed.
  bool file = false;                 // The name of one.
};

struct CommandText {
  std::string name, summary, description, footer;
  std::vector<OptionText> options;
};

/** The commands that users see, from the tables that the command line is parsed with. Where no driver works, and the
 *  library can't tell the effect's options, a line on standard error says that they are left out. */
std::vector<CommandText> CommandTexts();

}  // namespace qvgtool
