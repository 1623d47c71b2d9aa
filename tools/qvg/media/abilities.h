// What the backend can do, for the command line: options for what it can't are refused.
#pragma once

namespace qvgtool {

struct Abilities {
  bool capture = false, sound = false, subtitles = false;
  bool encoders = false;  // There is a choice of them, of containers and of effort.
  bool gpuYuv = false;    // It can leave YUV to the library.
  const char* inputs;     // What can be read and written, for the help.
  const char* outputs;
  const char* ownOutput;  // Where the tool's own clip goes.
  const char* examples;   // Of qvg process.
  const char* notes;
};

const Abilities& MediaAbilities();

}  // namespace qvgtool
