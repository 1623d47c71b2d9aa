// The effect's table, linked in from the library's code: where the pages are built, there may be no driver to start the
// library on.
#include "picture/effectTable.h"
#include "effect/generalEffect.h"

namespace qvgtool {

EffectTable LoadEffectTable() {
  const qvg::EffectGroup& group = qvg::GeneralEffect::Group();
  return {group.name, group.name, {group.parameters, group.parameters + group.parameterCount}};
}

}  // namespace qvgtool
