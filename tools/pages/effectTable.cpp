// The effect's table from the library's code: the pages are made where there may be no driver to start the library on.
#include "picture/effectTable.h"
#include "effect/generalEffect.h"

namespace qvgtool {

EffectTable LoadEffectTable() {
  const qvg::EffectGroup& group = qvg::GeneralEffect::Group();
  return {group.name, group.name, {group.parameters, group.parameters + group.parameterCount}};
}

}  // namespace qvgtool
