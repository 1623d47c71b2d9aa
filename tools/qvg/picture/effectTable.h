// The parameters of the library's effect, as its own table tells them.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <string>
#include <vector>

namespace qvgtool {

struct EffectTable {
  std::string name, displayName;
  std::vector<QVGParamDescriptor> rows;
};

/** From a library that runs. Throws Error. */
EffectTable AskEffectTable();

/** From a library that is started and stopped for it. Throws Error when it can't start. */
EffectTable LoadEffectTable();

}  // namespace qvgtool
