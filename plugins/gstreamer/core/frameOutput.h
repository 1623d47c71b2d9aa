#pragma once

#include <gst/video/video.h>
#include <qvGLRenderer/qvGLRenderer.hpp>

#include <memory>

#include "core/frameUpload.h"

namespace qvgst {

/// Reads textures back as buffers of one format. Where downstream takes strides and offsets as they are, a buffer is
/// the memory that the library lends: nothing is copied, and the library runs on while a buffer lives.
class FrameOutput {
 public:
  /// The formats that are given. YUV frames have even sizes and are limited-range BT.601. To be unreferenced.
  static GstCaps* Caps();

  // Of negotiation. source: the colorimetry of what frames are made from.

  /// Restricts YUV formats to the colorimetry that they are given in, the most truthful one first. caps: writable;
  /// source: null when it is not known yet.
  static void RestrictColorimetry(GstCaps* caps, const GstVideoColorimetry* source);
  /// Leaves the caps one format: one with alpha when that is wanted, else that of the frames' source (which
  /// may not be known yet), else any. Takes
  /// the caps, and gives them changed.
  static GstCaps* Choose(GstCaps* caps, const GstVideoInfo& source, bool alpha);
  /// Adds to fixed caps what they don't say: the colorimetry, and where chroma lies.
  static void Complete(GstStructure* caps, const GstVideoColorimetry& source);

  FrameOutput(const GstVideoInfo& info, bool metaAllowed) : info_(info), metaAllowed_(metaAllowed) {}

  const GstVideoInfo& Info() const { return info_; }

  /// On a rendering thread; waits for the GPU. form: of the texture's colours. The buffer has no time yet. Null on
  /// failure.
  GstBuffer* Read(const qvg::Texture& texture, AlphaForm form, const std::shared_ptr<qvg::Library>& library) const;

  /// A frame that has this format, as downstream takes it: itself, or a copy with the standard strides, which has no
  /// time yet. Null on failure.
  GstBuffer* PassOn(GstBuffer* frame) const;

 private:
  bool Fits(const QVGPixelBuffer& read) const;
  GstBuffer* Lend(qvg::ReadBack read, const std::shared_ptr<qvg::Library>& library) const;
  GstBuffer* Copy(const QVGPixelBuffer& read, bool straighten) const;

  GstVideoInfo info_;
  bool metaAllowed_;
};

}  // namespace qvgst
