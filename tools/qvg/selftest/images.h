// Images that effects load by path, through the library's configuration.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>
#include <reference/image.h>

#include <string>

namespace qvgtool::selftest {

/** A configuration that decodes the images given to NewImage. */
QVGConfig ImageConfig();

/** A path under which the library finds this image, the top row first. */
std::string NewImage(const qvg::reference::Image& image);

}  // namespace qvgtool::selftest
