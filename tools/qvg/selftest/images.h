// The images that effects load by path, for the library's configuration.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>
#include <reference/image.h>

#include <string>

namespace qvgtool::selftest {

/** Decodes what NewImage was given. */
QVGConfig ImageConfig();

/** A path of which the library decodes this image, the top row first. */
std::string NewImage(const qvg::reference::Image& image);

}  // namespace qvgtool::selftest
