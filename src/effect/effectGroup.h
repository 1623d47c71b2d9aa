#pragma once

#include <cstdint>

#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

class Effect;
struct EffectServices;

/// A kind of effect, as the registry offers it.
struct EffectGroup {
  const char* name;
  int32_t type;
  const QVGParamDescriptor* parameters;
  uint32_t parameterCount;
  Effect* (*create)(const EffectServices& services);
  /// Name for people in a locale; null: the group has none.
  const char* (*displayName)(const char* locale);
};

}  // namespace qvg
