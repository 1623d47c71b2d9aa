#pragma once

#include "frame/frameServices.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

class Texture;

// Each fills the descriptor with mapped memory, which ReleasePixelBuffer gives back. On failure the planes are null.

bool TextureToYUV420PixelBuffer(const FrameServices& services, Texture* source, bool fullRange, bool mirror,
                                QVGPixelBuffer* out);
bool TextureToNV12PixelBuffer(const FrameServices& services, Texture* source, QVGPixelBuffer* out, bool mirror);
bool TextureToRGBAPixelBuffer(const FrameServices& services, Texture* source, QVGPixelBuffer* out, bool flip);
bool TextureToBGRAPixelBuffer(const FrameServices& services, Texture* source, QVGPixelBuffer* out, bool flip);

/// Gives back the memory of a read-back and nulls the planes; does nothing to a descriptor that no read-back filled.
void ReleasePixelBuffer(const FrameServices& services, QVGPixelBuffer& buffer);

}  // namespace qvg
