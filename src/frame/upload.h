#pragma once

#include "frame/frameServices.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

class Texture;

/// Null for a null or bad frame, or on failure. The texture goes back to the texture pool.
Texture* UploadPixelBufferToNewTexture(const FrameServices& services, const QVGPixelBuffer* source, bool flipped,
                                       bool shouldMattRGB, const QVGColor& matte);
bool UploadPixelBufferToTexture(const FrameServices& services, Texture* destination, const QVGPixelBuffer* source,
                                bool flipped, bool shouldMattRGB, const QVGColor& matte);

}  // namespace qvg
