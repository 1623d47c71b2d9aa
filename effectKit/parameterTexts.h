// What the general effect's table doesn't tell: English, and the stage that a parameter belongs to.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <string_view>

namespace qvg::effectkit {

/// What a parameter does, in English where that is known; else its label. Lives as long as the row.
const char* HelpOf(const QVGParamDescriptor& row);

/// The switch of the stage that a parameter belongs to; null for none.
const char* StageOf(std::string_view parameter);

}  // namespace qvg::effectkit
