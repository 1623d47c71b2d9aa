// The parameter table of the library's effect.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <string>
#include <vector>

namespace qvgtool {

struct EffectTable {
  std::string name, displayName;
  std::vector<QVGParamDescriptor> rows;
};

/** For a running library. Throws Error. */
EffectTable AskEffectTable();

/** Starts and stops the library for it. Throws Error when it can't start. */
EffectTable LoadEffectTable();

}  // namespace qvgtool
