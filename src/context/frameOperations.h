#pragma once

#include <cstdint>

#include "base/camera.h"
#include "base/framebuffer.h"
#include "base/texture.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

class QVGContext;

// The composite operations behind the function table. Each borrows what it needs from the context's pools and gives it
// back, also when it fails. The context is running, and a GL context of it is current on the calling thread.

/// Null for a null or bad frame, or on failure. The texture goes back to the texture pool.
Texture* UploadPixelBufferToNewTexture(QVGContext& context, const QVGPixelBuffer* source, bool flipped,
                                       bool shouldMattRGB, const QVGColor& matte);
bool UploadPixelBufferToTexture(QVGContext& context, Texture* destination, const QVGPixelBuffer* source, bool flipped,
                                bool shouldMattRGB, const QVGColor& matte);

bool TextureToYUV420PixelBuffer(QVGContext& context, Texture* source, bool fullRange, bool mirror, QVGPixelBuffer* out);
bool TextureToNV12PixelBuffer(QVGContext& context, Texture* source, QVGPixelBuffer* out, bool mirror);
bool TextureToRGBAPixelBuffer(QVGContext& context, Texture* source, QVGPixelBuffer* out, bool flip);
bool TextureToBGRAPixelBuffer(QVGContext& context, Texture* source, QVGPixelBuffer* out, bool flip);
/// Gives the memory of a read-back back and nulls the pointer.
void ReleasePixelBuffer(QVGContext& context, QVGPixelBuffer** buffer);

/// A copy of the content, which looks and reads back as the source does.
Texture* CloneTexture(QVGContext& context, Texture* source);
/// As GL takes it: what is no number counts as 0, what is beyond a float as the nearest one.
float ColorComponent(double value);
bool ClearTexture(QVGContext& context, Texture* texture, const double rgba[4]);

/// Owned by the caller; null on failure.
FrameBuffer* CreateFrameBuffer(QVGContext& context, const FrameBufferSetting& setting, const Camera& camera);
/// A texture of another channel order is brought into the order R, G, B, A first; it looks the same.
bool BindTextureToFrameBuffer(QVGContext& context, FrameBuffer* frameBuffer, Texture* texture);
bool ClearFrameBuffer(FrameBuffer* frameBuffer, const double rgba[4]);
bool DrawTexture(QVGContext& context, Texture* source, FrameBuffer* destination, const QVGDrawTextureParams* params);

}  // namespace qvg
