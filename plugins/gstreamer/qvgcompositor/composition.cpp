#include "qvgcompositor/composition.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qvgst {
namespace {

qvg::Texture NewTarget(int width, int height) {
  auto target = qvg::Texture::Acquire(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  // Row 0 is the top, as in frames.
  if (target) target.SetFlipped(true);
  return target;
}

QVGColor Unpacked(uint32_t argb) {
  return {(argb >> 16 & 255) / 255.0, (argb >> 8 & 255) / 255.0, (argb & 255) / 255.0, (argb >> 24) / 255.0};
}

}  // namespace

// ---- Layers

std::pair<int, int> Placement::SizeOf(const GstVideoInfo& info) const {
  const int cutWidth = std::max(1, GST_VIDEO_INFO_WIDTH(&info) - crop.left - crop.right);
  const int cutHeight = std::max(1, GST_VIDEO_INFO_HEIGHT(&info) - crop.top - crop.bottom);
  // In square pixels.
  const double shape = static_cast<double>(cutWidth) * GST_VIDEO_INFO_PAR_N(&info) / GST_VIDEO_INFO_PAR_D(&info);
  const auto rounded = [](double value) { return std::max(1, static_cast<int>(std::lround(value))); };
  if (width >= 0 && height >= 0) return {width, height};
  if (width >= 0) return {width, rounded(width * cutHeight / shape)};
  if (height >= 0) return {rounded(height * shape / cutHeight), height};
  return {rounded(shape), cutHeight};
}

bool LayerPicture::IsOf(const GstVideoInfo& info, const GstBuffer* buffer, const Crop& crop) const {
  return texture_ && source_ == buffer && crop_ == crop && upload_ && gst_video_info_is_equal(&upload_->Info(), &info);
}

bool LayerPicture::Update(const GstVideoFrame& frame, const Crop& crop) {
  if (!upload_ || !gst_video_info_is_equal(&upload_->Info(), &frame.info)) upload_.emplace(frame.info);
  // Its storage may serve the next one.
  texture_.reset();
  texture_ = upload_->Upload(frame, AlphaForm::kStraight, crop);
  gst_buffer_replace(&source_, frame.buffer);
  crop_ = crop;
  return static_cast<bool>(texture_);
}

void LayerPicture::Clear() {
  texture_.reset();
  upload_.reset();
  gst_buffer_replace(&source_, nullptr);
}

// ---- The output

bool Composition::Start() {
  thread_ = std::make_unique<RenderThread>();
  if (thread_->Ready()) return true;
  failure_ = thread_->Failure();
  thread_.reset();
  return false;
}

void Composition::Stop() {
  if (!thread_) return;
  thread_->Run([this] {
    frameBuffer_.reset();
    target_.reset();
    return true;
  });
  output_.reset();
  thread_.reset();
}

bool Composition::SetFormat(const GstVideoInfo& output, bool metaAllowed) {
  const bool sameSize = output_ && GST_VIDEO_INFO_WIDTH(&output_->Info()) == GST_VIDEO_INFO_WIDTH(&output) &&
                        GST_VIDEO_INFO_HEIGHT(&output_->Info()) == GST_VIDEO_INFO_HEIGHT(&output);
  output_.emplace(output, metaAllowed);
  if (sameSize) return true;
  const bool made = thread_->Run([&] {
    frameBuffer_.reset();
    target_.reset();
    // Memory of the old sizes is of no use any more.
    qvg::Table().ClearPixelBufferPool();
    qvg::Table().ClearTexturePool();
    target_ = NewTarget(GST_VIDEO_INFO_WIDTH(&output), GST_VIDEO_INFO_HEIGHT(&output));
    frameBuffer_ = target_ ? qvg::FrameBuffer::On(target_) : qvg::FrameBuffer();
    return static_cast<bool>(frameBuffer_);
  });
  if (made) return true;
  failure_ = thread_->Failure();
  output_.reset();
  return false;
}

bool Composition::Update(const Layer& layer) {
  if (layer.picture->IsOf(layer.info, layer.buffer, layer.placement.crop)) return true;
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &layer.info, layer.buffer, GST_MAP_READ)) return false;
  const bool updated = layer.picture->Update(frame, layer.placement.crop);
  gst_video_frame_unmap(&frame);
  return updated;
}

bool Composition::Draw(const Layer& layer, const qvg::FrameBuffer& target, const qvg::Texture* matte) const {
  const Placement& place = layer.placement;
  const qvg::Texture& picture = layer.picture->Texture();
  const auto [width, height] = place.SizeOf(layer.info);
  if (width == 0 || height == 0) return true;
  // Over whatever is there, what is opaque replaces it: that is quicker.
  const bool opaque = place.blendType == QVG_BLEND_NORMAL && place.opacity >= 1 && matte == nullptr &&
                      !GST_VIDEO_INFO_HAS_ALPHA(&layer.info);
  qvg::DrawParams params;
  params.Blend(opaque ? QVG_BLEND_NONE : static_cast<QVGBlendType>(place.blendType))
      .Opacity(place.opacity)
      .Rotation(place.rotation)
      .Scale(width / static_cast<double>(picture.Width()), height / static_cast<double>(picture.Height()))
      .Translation(place.x + (width - static_cast<double>(target_.Width())) / 2,
                   place.y + (height - static_cast<double>(target_.Height())) / 2);
  if (matte != nullptr) params.Matte(*matte, static_cast<QVGMatteType>(place.matteType));
  return target.Draw(picture, params);
}

bool Composition::DrawAll(std::span<const Layer> layers, uint32_t background) {
  if (!GST_VIDEO_INFO_HAS_ALPHA(&output_->Info())) background |= 0xff000000U;
  if (!std::all_of(layers.begin(), layers.end(), [this](const Layer& layer) { return Update(layer); }) ||
      !frameBuffer_.Clear(Unpacked(background))) {
    return false;
  }
  for (const Layer& layer : layers) {
    if (layer.isMatte) continue;
    qvg::Texture matte;
    if (layer.matte) {
      Layer shape = layers[*layer.matte];
      shape.placement.blendType = QVG_BLEND_NORMAL;
      matte = NewTarget(static_cast<int>(target_.Width()), static_cast<int>(target_.Height()));
      const auto buffer = matte ? qvg::FrameBuffer::On(matte) : qvg::FrameBuffer();
      if (!buffer || !buffer.Clear({0, 0, 0, 0}) || !Draw(shape, buffer, nullptr)) return false;
    }
    if (!Draw(layer, frameBuffer_, layer.matte ? &matte : nullptr)) return false;
  }
  return true;
}

GstBuffer* Composition::Compose(std::span<const Layer> layers, uint32_t background) {
  GstBuffer* result = nullptr;
  const bool composed = thread_->Run([&] {
    if (!DrawAll(layers, background)) return false;
    result = output_->Read(target_, AlphaForm::kStraight, thread_->Library());
    return result != nullptr;
  });
  if (!composed) failure_ = thread_->Failure();
  return result;
}

}  // namespace qvgst
