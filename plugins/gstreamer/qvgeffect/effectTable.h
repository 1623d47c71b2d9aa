#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <span>

namespace qvgst {

/// The rows of the effect's parameter table.
std::span<const QVGParamDescriptor> EffectTable();

}  // namespace qvgst
