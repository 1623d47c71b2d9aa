// What the backend can do. The command line refuses options for what it can't.
#pragma once

namespace qvgtool {

struct Abilities {
  bool capture = false, sound = false, subtitles = false;
  bool encoders = false;  // There is a choice of encoders, containers and presets.
  bool gpuYuv = false;    // YUV can be left to the library to convert.
  const char* inputs;     // What can be read and written, for the help.
  const char* outputs;
  const char* ownOutput;  // Where the tool's own clip goes.
  const char* examples;   // Of qvg process.
  const char* notes;
};

const Abilities& MediaAbilities();

}  // namespace qvgtool
