#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <string>

namespace qvgst {

/// Put before the path of an image, this has the image cut to the shape of frames of a size: the effect stretches it to
/// theirs. The library keeps an image for each shape.
std::string ShapePrefix(int width, int height);

/// The last image that could not be decoded on this thread, and why; empty when there was none since the last call.
std::string TakeImageFailure();

/// What the library decodes the images with that an effect lays behind a frame: PNG, JPEG, BMP, TGA.
extern const QVGConfig kLibraryConfig;

}  // namespace qvgst
