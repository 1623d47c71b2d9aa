// The keys of the preview. One table serves their actions, the help in the window and that on the command line.
#pragma once

#include <string>

namespace qvgtool {

/** Keys that type no character; their codes lie above all characters. */
enum Key : unsigned {
  kKeyEscape = 1u << 24,
  kKeyBackspace,
  kKeyRight,
  kKeyLeft,
  kKeyDown,
  kKeyUp,
  kKeyPageUp,
  kKeyPageDown,
  kKeyHome,
  kKeyF1,
  kKeyF11
};

/** A key press. code: the character that it types, letters in lower case, or a Key. */
struct Stroke {
  unsigned code = 0;
  bool shift = false, repeated = false;
};

enum class KeyAction {
  kPause,
  kStep,
  kSeek,
  kStart,
  kChoose,
  kChange,
  kDefault,
  kStage,
  kSplit,
  kPrint,
  kSave,
  kTurn,
  kFlip,
  kFullScreen,
  kHelp,
  kClose,
  kLeave,  // Leaves full screen, else closes the window.
};

/** What a preview can do besides showing pictures. */
struct KeyOffer {
  bool pause = true, effect = false, travel = false, tasks = false;
};

struct KeyRow {
  KeyAction action;
  int amount;  // In the action's units; with Shift some actions go ten times as far.
  bool KeyOffer::*needs;
  bool repeats;
  unsigned codes[2];
  const char *names, *help;  // Null: covered by the row before.
};

/** The row of a key; null when it does nothing. */
const KeyRow* FindKey(const Stroke& stroke);

/** A line for each available key. */
std::string KeyHelp(const KeyOffer& offer);

}  // namespace qvgtool
