// Which stages of an effect are wanted right now; keys of the preview change it between frames.
#pragma once

namespace qvgtool {

struct StageSwitches {
  bool key = true, beauty = true, color = true, background = true;
};

/** The stages in the order of the keys 1 to 4, with the names that the window's title shows. */
struct StageName {
  bool StageSwitches::*stage;
  const char* name;
};
constexpr StageName kStageNames[] = {{&StageSwitches::key, "key"},
                                     {&StageSwitches::beauty, "beauty"},
                                     {&StageSwitches::color, "colour"},
                                     {&StageSwitches::background, "background"}};

}  // namespace qvgtool
