// From the library's code: a registry of plugins asks where there is no driver to start the library on.
#include "qvgeffect/effectTable.h"

#include "effect/generalEffect.h"

namespace qvgst {

std::span<const QVGParamDescriptor> EffectTable() {
  const qvg::EffectGroup& group = qvg::GeneralEffect::Group();
  return {group.parameters, static_cast<size_t>(group.parameterCount)};
}

}  // namespace qvgst
