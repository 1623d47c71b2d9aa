// Which stages of an effect are wanted right now; keys of the preview change it between frames.
#pragma once

#include "picture/effect.h"

namespace qvgtool {

struct StageSwitches {
  bool key = true, beauty = true, color = true, background = true;
};

/** The stages in the order of the keys 1 to 4: what the window's title calls them, and the parameter that switches
 *  them. */
struct StageName {
  bool StageSwitches::*stage;
  const char *name, *parameter;
};
constexpr StageName kStageNames[] = {{&StageSwitches::key, "key", "enable_key"},
                                     {&StageSwitches::beauty, "beauty", "enable_beauty"},
                                     {&StageSwitches::color, "colour", "enable_color"},
                                     {&StageSwitches::background, "background", "enable_bg"}};

/** Leaves those of the wanted stages on that are not switched off. @return false when none is left. */
bool LeaveOn(Effect& effect, const EffectSettings& wanted, const StageSwitches& stages);

}  // namespace qvgtool
