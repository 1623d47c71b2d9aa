// The tool's commands: what the command line fills in, and what runs.
#pragma once

#include <optional>
#include <utility>

#include "compositor.h"
#include "effect.h"
#include "mediaReader.h"
#include "mediaWriter.h"

namespace qvgtool {

/** Exit codes. */
enum ExitCode { kDone = 0, kFailed = 1, kBadUsage = 2, kInterrupted = 130 };

/** For --key: the screen's colour is found in the pictures. */
inline constexpr char kAutomaticKey[] = "auto";

struct ProcessOptions {
  std::string input;  // Empty: the tool's own clip.
  std::string output;
  std::string sheet;  // Contact sheet, PNG; empty: none.
  ReadOptions read;
  WriteOptions write;
  EffectSettings effect;
  Layout layout;
  UploadPath upload = UploadPath::kSharp;
  std::string key;  // Of the screen to be keyed out: its colour, or kAutomaticKey; empty: as the effect is told.
  std::optional<std::pair<int, int>> size;  // Of the output; the own clip's as well.
  int64_t frames = 0;                       // At most; 0: all.
  bool preview = false;                     // A window shows each frame
  bool maxSpeed = false;                    // and does not wait for the clip's own rate.
  bool verbose = false;
};

int RunProcess(const ProcessOptions& options);

/** Prints the effect's parameters. */
int RunEffects(bool json);

struct TuneOptions {
  std::string input;
  std::string sheet = "tune.png";
  std::string key;  // Empty: found in the picture.
  double from = 0;  // Seconds.
};

/** Finds values for keying and draws what they and their neighbours give. */
int RunTune(const TuneOptions& options);

struct ViewOptions {
  std::string input;  // Empty: the tool's own clip.
  ReadOptions read{.sound = false};
  bool loop = false;
  bool maxSpeed = false;
  bool verbose = false;
};

/** Shows an image or clip in a window. */
int RunView(const ViewOptions& options);

/** Tells about platform, driver and versions. */
int RunInfo(bool verbose);

/** Makes SIGINT and SIGTERM end the running command cleanly. */
void CatchSignals();
bool Interrupted();

}  // namespace qvgtool
