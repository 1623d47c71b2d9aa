#pragma once

#include <gst/video/video.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "core/frameOutput.h"
#include "core/frameUpload.h"
#include "core/renderThread.h"
#include "qvgeffect/effectSettings.h"
#include "qvgeffect/keyRequest.h"

namespace qvgst {

/// Takes frames through an effect, from memory to memory. One thread at a time; GL work happens on its rendering
/// thread.
class EffectPass {
 public:
  explicit EffectPass(EffectSettings& settings) : settings_(settings) {}
  ~EffectPass() { Stop(); }

  /// @return false when there is nothing to render with; Failure() tells why.
  bool Start();
  void Stop();

  void SetFormats(const GstVideoInfo& input, const GstVideoInfo& output, bool metaAllowed);
  /// Whether downstream takes strides and offsets as they are.
  void AllowMeta(bool allowed);

  /// Finds a key in the next frame, before that is keyed, or in a later one. None: no more.
  void Ask(const std::optional<KeyRequest>& request) {
    request_ = request;
    framesUntilRetry_ = 0;
  }
  bool IsAsked() const { return request_.has_value(); }
  /// What came of it since the last call: a text for the user, and whether it was found.
  struct Answer {
    bool found;
    std::string text;
  };
  std::optional<Answer> TakeAnswer() { return std::exchange(answer_, std::nullopt); }

  /// Why the image can't be used that was set since the last call; empty when it can.
  std::string TakeImageFailure() { return std::exchange(imageFailure_, {}); }

  /// @return the result, without its time; null on failure.
  GstBuffer* Process(GstBuffer* input);
  /// The same for a frame that stays as it is, where formats are the same.
  GstBuffer* PassOn(GstBuffer* input);

  std::string Failure() const { return failure_; }

 private:
  bool Render(const GstVideoFrame& frame, GstBuffer** result);
  void FindKey(const qvg::Texture& frame);

  EffectSettings& settings_;
  std::unique_ptr<RenderThread> thread_;
  qvg::Effect effect_;
  std::optional<FrameUpload> upload_;
  std::optional<FrameOutput> output_;
  std::optional<KeyRequest> request_;
  std::optional<Answer> answer_;
  int framesUntilRetry_ = 0;
  std::string pathPrefix_, failure_, imageFailure_;
};

}  // namespace qvgst
