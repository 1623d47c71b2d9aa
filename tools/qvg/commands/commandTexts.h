// The command line as data, for the manual page and the shells' completions.
#pragma once

#include <string>
#include <vector>

namespace qvgtool {

struct OptionText {
  std::vector<std::string> names;  // "-o", "--output"; none: an argument without a name.
  std::string help, group;
  std::string value;                 // What to give, such as "FILE"; empty: a switch.
  std::string standard;              // Its default, if the help shows one.
  std::vector<std::string> choices;  // The values that it may have, where they can be listed.
  bool file = false;                 // The value is a file's name.
};

struct CommandText {
  std::string name, summary, description, footer;
  std::vector<OptionText> options;
};

/** The commands that users see, from the tables that the command line is parsed with. When no driver works the library
 *  can't tell the effect's options: then a line on standard error says that they are left out. */
std::vector<CommandText> CommandTexts();

}  // namespace qvgtool
