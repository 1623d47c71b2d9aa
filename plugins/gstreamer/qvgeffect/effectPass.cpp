#include "qvgeffect/effectPass.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "core/images.h"
#include "effectKit/keyFinder.h"

namespace qvgst {
namespace {

constexpr int kKeyPictureWidth = 480;  // Enough for a key to be found in, and quick.
constexpr int kFramesBetweenTries = 30;
constexpr char kUnreadable[] = "the frame's memory can't be read";

QVGParamValue Integer(int64_t number) {
  QVGParamValue value = {};
  value.type = QVG_PARAM_INTEGER;
  value.value.integer = number;
  return value;
}

}  // namespace

bool EffectPass::Start() {
  thread_ = std::make_unique<RenderThread>();
  settings_.Forget();
  const bool ready = thread_->Ready() && thread_->Run([this] {
    effect_ = qvg::Effect::New();
    return static_cast<bool>(effect_);
  });
  if (ready) return true;
  failure_ = thread_->Failure();
  Stop();
  return false;
}

void EffectPass::Stop() {
  if (!thread_) return;
  thread_->Run([this] {
    effect_.reset();
    return true;
  });
  thread_.reset();
  upload_.reset();
  output_.reset();
}

void EffectPass::SetFormats(const GstVideoInfo& input, const GstVideoInfo& output, bool metaAllowed) {
  upload_.emplace(input);
  output_.emplace(output, metaAllowed);
  pathPrefix_ = ShapePrefix(GST_VIDEO_INFO_WIDTH(&output), GST_VIDEO_INFO_HEIGHT(&output));
  // Memory of the old sizes is of no use any more.
  thread_->Run([] { return qvg::Table().ClearPixelBufferPool() && qvg::Table().ClearTexturePool(); });
}

void EffectPass::AllowMeta(bool allowed) {
  if (output_) output_.emplace(GstVideoInfo(output_->Info()), allowed);
}

GstBuffer* EffectPass::Process(GstBuffer* input) {
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &upload_->Info(), input, GST_MAP_READ)) {
    failure_ = kUnreadable;
    return nullptr;
  }
  GstBuffer* result = nullptr;
  if (!thread_->Run([&] { return Render(frame, &result); })) failure_ = thread_->Failure();
  gst_video_frame_unmap(&frame);
  return result;
}

GstBuffer* EffectPass::PassOn(GstBuffer* input) {
  GstBuffer* const result = output_->PassOn(input);
  if (result == nullptr) failure_ = kUnreadable;
  return result;
}

bool EffectPass::Render(const GstVideoFrame& frame, GstBuffer** result) {
  if (request_ && --framesUntilRetry_ < 0) {
    FindKey(upload_->Upload(frame, AlphaForm::kPremultiplied));
    framesUntilRetry_ = kFramesBetweenTries;
  }
  const bool alphaGiven = GST_VIDEO_INFO_HAS_ALPHA(&upload_->Info());
  const bool alphaWanted = GST_VIDEO_INFO_HAS_ALPHA(&output_->Info());
  // Properties may be set meanwhile, by any thread: what was sent counts.
  EffectSettings::Sent sent = settings_.Send(effect_, pathPrefix_);
  if (!sent.imageFailure.empty()) imageFailure_ = std::move(sent.imageFailure);
  AlphaForm form = sent.anyStage || !alphaWanted ? AlphaForm::kPremultiplied : AlphaForm::kStraight;
  qvg::Texture texture = upload_->Upload(frame, form);
  if (!texture) return false;
  if (sent.anyStage) {
    texture = effect_.Apply(texture);
    if (!texture) return false;
    if (!alphaGiven && !sent.key) form = AlphaForm::kStraight;
  }
  *result = output_->Read(texture, form, thread_->Library());
  return *result != nullptr;
}

void EffectPass::FindKey(const qvg::Texture& frame) {
  const auto width = static_cast<double>(frame.Width()), height = static_cast<double>(frame.Height());
  const double scale = std::min(1.0, kKeyPictureWidth / width);
  const auto target = qvg::Texture::Acquire(static_cast<uint32_t>(std::max(1.0, width * scale)),
                                            static_cast<uint32_t>(std::max(1.0, height * scale)));
  const auto frameBuffer = target ? qvg::FrameBuffer::On(target) : qvg::FrameBuffer();
  // Both have the picture's top in row 0.
  if (!frame || !frameBuffer || !frameBuffer.Draw(frame, qvg::DrawParams().Scale(scale, scale))) return;
  const qvg::ReadBack picture = target.ReadRGBA();
  if (!picture) return;
  try {
    const qvg::effectkit::PictureView view = {picture->plane[0], picture->stride[0], picture->width, picture->height};
    const qvg::effectkit::KeyValues found = qvg::effectkit::FindKey({&view, 1}, request_->named);
    QVGParamValue color = {};
    color.type = QVG_PARAM_COLOR;
    std::copy_n(found.color, 3, color.value.color);
    settings_.Find("color", color);
    settings_.Find("similarity", Integer(found.similarity));
    settings_.Find("smoothness", Integer(found.smoothness));
    settings_.Find("anti-spill", Integer(found.spill));
    answer_ = {true, {}};
    request_.reset();
  } catch (const qvg::effectkit::KeyError& error) {
    answer_ = {false, error.what()};
  }
}

}  // namespace qvgst
