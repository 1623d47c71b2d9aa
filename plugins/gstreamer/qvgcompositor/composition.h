#pragma once

#include <gst/video/video.h>
#include <qvGLRenderer/qvGLRenderer.hpp>

#include <memory>
#include <optional>
#include <span>
#include <string>

#include "core/frameOutput.h"
#include "core/frameUpload.h"
#include "core/renderThread.h"

namespace qvgst {

/// Where and how a picture lies in the output. Pixels of the output, from its upper left corner.
struct Placement {
  int x = 0, y = 0;
  int width = -1, height = -1;  ///< -1: as the other one and the picture's shape ask for; both: the picture's size.
  double rotation = 0;          ///< Degrees clockwise, about the picture's centre.
  double opacity = 1;
  int blendType = QVG_BLEND_NORMAL;
  int matteType = QVG_MATTE_ALPHA;
  Crop crop;

  /// The size that a picture of this format gets.
  std::pair<int, int> SizeOf(const GstVideoInfo& info) const;
};

/// A source's latest frame as a texture, made once for each frame, however often it is shown.
class LayerPicture {
 public:
  LayerPicture() = default;
  ~LayerPicture() { Clear(); }
  LayerPicture(const LayerPicture&) = delete;
  LayerPicture& operator=(const LayerPicture&) = delete;

  /// Whether the texture is of this frame.
  bool IsOf(const GstVideoInfo& info, const GstBuffer* buffer, const Crop& crop) const;
  /// On the rendering thread.
  bool Update(const GstVideoFrame& frame, const Crop& crop);
  void Clear();

  const qvg::Texture& Texture() const { return texture_; }

 private:
  std::optional<FrameUpload> upload_;
  qvg::Texture texture_;
  GstBuffer* source_ = nullptr;  // Referenced, so that no other buffer can have its address.
  Crop crop_;
};

/// A layer of one output frame.
struct Layer {
  LayerPicture* picture;
  GstBuffer* buffer;  ///< Its frame; the caller's.
  GstVideoInfo info;
  Placement placement;
  std::optional<size_t> matte;  ///< Which other layer is its matte, as that one would lie in the output.
  bool isMatte = false;         ///< Of another one: not shown itself.
};

/// Lays layers over each other. One thread at a time; GL work happens on its rendering thread.
class Composition {
 public:
  ~Composition() { Stop(); }

  /// @return false when there is nothing to render with; Failure() tells why.
  bool Start();
  void Stop();

  /// @return false on failure.
  bool SetFormat(const GstVideoInfo& output, bool metaAllowed);

  /// background: 0xAARRGGBB; its alpha counts only where the output has alpha. layers: from the lowest to the highest.
  /// @return the output, without its time; null on failure.
  GstBuffer* Compose(std::span<const Layer> layers, uint32_t background);

  std::string Failure() const { return failure_; }

 private:
  bool Update(const Layer& layer);
  bool Draw(const Layer& layer, const qvg::FrameBuffer& target, const qvg::Texture* matte) const;
  bool DrawAll(std::span<const Layer> layers, uint32_t background);

  std::unique_ptr<RenderThread> thread_;
  std::optional<FrameOutput> output_;
  qvg::Texture target_;
  qvg::FrameBuffer frameBuffer_;
  std::string failure_;
};

}  // namespace qvgst
