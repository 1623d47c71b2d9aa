// The keys of the preview: one table for what they do, for the help in the window and for that on the command line.
#pragma once

#include <string>

namespace qvgtool {

/** Keys that type nothing; above all characters. */
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

/** A key that went down. code: the character it types, a letter as a small one, or a Key. */
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
  kLeave,  // Full screen, else the window.
};

/** What a preview can do beyond showing pictures. */
struct KeyOffer {
  bool pause = true, effect = false, travel = false, tasks = false;
};

struct KeyRow {
  KeyAction action;
  int amount;  // How far, in units of the action; Shift makes some ten times as much.
  bool KeyOffer::*needs;
  bool repeats;
  unsigned codes[2];
  const char *names, *help;  // Null: said by the row before.
};

/** The row of a key; null when it does nothing. */
const KeyRow* FindKey(const Stroke& stroke);

/** A line for each key on offer. */
std::string KeyHelp(const KeyOffer& offer);

}  // namespace qvgtool
