#pragma once

#include <cstdint>
#include <span>

#include "base/content.h"
#include "base/gl.h"

namespace qvg {

class BO;
class Texture;

/// Where a pass draws: a frame buffer of the current context, and where the picture lies in it.
struct RenderTarget {
  GLuint frameBuffer = 0;
  ContentRect content;               ///< Becomes the viewport.
  const Texture* texture = nullptr;  ///< The first colour attachment, when it is a texture.

  /// The texture's content, through a frame buffer that the current context keeps. Its name is 0 when the texture can't
  /// be drawn to.
  static RenderTarget On(const Texture& texture);
};

/// Sets the state of the current context that drawing and clearing depend on, whatever the host has left: no blending,
/// tests, culling or logic operation, all channels written, filled polygons.
void SetDrawState();

/// Fills the target's content with a colour (r, g, b, a), and all of a depth buffer if asked to. Leaves the frame
/// buffer bound.
bool ClearTarget(const RenderTarget& target, const float color[4], bool depth);

/// Copies exactly the target's content to the texture's content, which has the same size. Leaves no frame buffer bound.
bool CopyContent(const RenderTarget& from, const Texture& to);

/// A rectangle of a frame buffer to be read.
struct PixelRead {
  GLuint frameBuffer = 0;
  GLenum attachment = GL_COLOR_ATTACHMENT0;
  int x = 0;  ///< From column and row 0 of the storage.
  int y = 0;
  int width = 0;
  int height = 0;
  GLenum format = GL_RGBA;
  int64_t offset = 0;  ///< Of the first pixel, in bytes.
  int rowLength = 0;   ///< Pixels from one row to the next in the buffer; 0: the width.
};
/// Starts reading them into a pixel-pack buffer, with the whole state of the transfer set. False when the buffer can't
/// be bound: the pixels would be written to an address in host memory.
bool SubmitReads(std::span<const PixelRead> reads, const BO& buffer);

}  // namespace qvg
