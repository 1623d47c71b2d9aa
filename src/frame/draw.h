#pragma once

#include "base/camera.h"
#include "base/framebuffer.h"
#include "frame/frameServices.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

class Texture;

/// Replaces the storage of a texture whose format can't be drawn to; its contents are then undefined.
bool MakeRenderable(const FrameServices& services, Texture& texture);

struct WholeDraw {
  bool flip = false;
  bool asStored = false;  ///< Colours and alpha as they are, whatever the alpha form.
};

/// Draws the source as it looks, unturned, over the whole content of the destination, which has its size.
bool DrawWhole(const FrameServices& services, const Texture& source, const Texture& destination, const WholeDraw& how);

/// A copy of the content, which looks and reads back as the source does.
Texture* CloneTexture(const FrameServices& services, Texture* source);
/// As GL takes it: NaN counts as 0, values beyond a float's range as the nearest one.
float ColorComponent(double value);
bool ClearTexture(const FrameServices& services, Texture* texture, const double rgba[4]);

/// Owned by the caller; null on failure.
FrameBuffer* CreateFrameBuffer(const FrameServices& services, const FrameBufferSetting& setting, const Camera& camera);
/// A texture that can't be drawn to as it is stored (because of its channel order, premultiplied colours or its format)
/// is converted first; it looks the same.
bool BindTextureToFrameBuffer(const FrameServices& services, FrameBuffer* frameBuffer, Texture* texture);
bool ClearFrameBuffer(const FrameServices& services, FrameBuffer* frameBuffer, const double rgba[4]);
bool DrawTexture(const FrameServices& services, Texture* source, FrameBuffer* destination,
                 const QVGDrawTextureParams* params);

}  // namespace qvg
