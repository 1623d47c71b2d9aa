// Images for the library, which decodes none itself: the callbacks of its configuration.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include "media/frame.h"

namespace qvgtool {

/** The configuration with which the tool starts the library. */
const QVGConfig& LibraryConfig();

/** From now on images are cut to this shape, about their middle, before the library gets them. */
void CutImagesTo(int width, int height);

/** Gives an image under a name that is no file's. */
void ProvideImage(const std::string& name, FramePtr image);

/** Why the last image could not be decoded; empty when none failed since the last call. */
std::string TakeImageError();

}  // namespace qvgtool
