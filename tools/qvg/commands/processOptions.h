// The options of qvg process.
#pragma once

#include <CLI/CLI.hpp>
#include <cmath>
#include <optional>
#include <utility>

#include "commands/command.h"
#include "commands/progress.h"
#include "commands/signals.h"
#include "media/mediaReader.h"
#include "media/mediaWriter.h"
#include "picture/compositor.h"
#include "picture/effect.h"

namespace qvgtool {

/** For -o: writes the stream to standard output, and nothing else goes there. */
inline constexpr char kStandardOutput[] = "-";

struct ProcessOptions {
  std::vector<std::string> inputs;  // One after the other.
  std::string input;                // The first of them; empty: the tool's own clip.
  std::string output;
  std::string sheet;  // Contact sheet, PNG; empty: none.
  ReadOptions read{.stop = Interrupted};
  WriteOptions write;
  EffectSettings effect;
  Layout layout;
  UploadPath upload = UploadPath::kSharp;
  std::string key;  // The screen's colour, or kAutomaticKey; empty: as the effect's own options say.
  std::optional<std::pair<int, int>> size;  // Of the output, and of the tool's own clip.
  int64_t frames = 0;                       // At most; 0: all.
  double to = 0, duration = 0;              // Seconds, of the input and from its first frame; 0: to its end.
  double fps = 0;                           // Of the output; 0: the input's.
  bool overwrite = true;
  bool preview = false;   // A window shows each frame ...
  bool maxSpeed = false;  // ... without waiting for the clip's own rate.
  ProgressOptions progress;
  bool quiet = false;
  bool verbose = false;

  /** The end, in seconds after the first frame. */
  double End() const { return duration > 0 ? duration : to > 0 ? to - read.from : HUGE_VAL; }
};

void AddProcessOptions(CLI::App& app, ProcessOptions& options);

/** Sets defaults that depend on other options, and refuses options that exclude each other. Throws CLI::ParseError. */
void CompleteProcessOptions(const CLI::App& app, ProcessOptions& options);

}  // namespace qvgtool
