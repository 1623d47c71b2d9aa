#include "window/stageSwitches.h"

namespace qvgtool {

bool LeaveOn(Effect& effect, const EffectSettings& wanted, const StageSwitches& stages) {
  bool any = false;
  for (const StageName& row : kStageNames) {
    const bool on = stages.*row.stage && IsOn(wanted, row.parameter);
    effect.Set(row.parameter, ParamSetting::Switch(on));
    any = any || on;
  }
  return any;
}

}  // namespace qvgtool
