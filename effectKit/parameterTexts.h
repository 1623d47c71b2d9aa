// What the general effect's table lacks: English help, and the stage of a parameter.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <string_view>

namespace qvg::effectkit {

/// What a parameter does: in English where it is known, else its label. Lives as long as the row.
const char* HelpOf(const QVGParamDescriptor& row);

/// The switch of the stage that a parameter belongs to; null for none.
const char* StageOf(std::string_view parameter);

}  // namespace qvg::effectkit
