// Images for the library, which has no decoders: the callbacks of its configuration.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include "media/frame.h"

namespace qvgtool {

/** The configuration with which the tool starts the library. */
const QVGConfig& LibraryConfig();

/** From now on images are cropped about their middle to this aspect ratio before the library gets them. */
void CutImagesTo(int width, int height);

/** Provides an image under a name that is not a file's. */
void ProvideImage(const std::string& name, FramePtr image);

/** Why the last image could not be decoded; empty when none failed since the last call. */
std::string TakeImageError();

}  // namespace qvgtool
