#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <string>

namespace qvgst {

/// Put before the path of an image, this has the image cut to the shape of frames of a size: the effect stretches it to
/// theirs. The library keeps an image for each shape.
std::string ShapePrefix(int width, int height);

/// What the library decodes the images with that an effect lays behind a frame: PNG, JPEG, BMP, TGA.
extern const QVGConfig kLibraryConfig;

}  // namespace qvgst
