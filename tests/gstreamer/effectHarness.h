// The element qvgeffect of the plugin's file, between pads of the test.
#pragma once

#include <gst/check/gstharness.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gstreamer/videoFrames.h"

namespace qvg::test {

/// Loads the plugin once.
void LoadPlugin();

struct Message {
  GstMessageType type;
  std::string text, debug;  ///< Of errors and warnings; for the element's own its name.
};

class EffectHarness {
 public:
  /// settings: as after the element's name for gst-launch. metaAllowed: whether downstream takes a GstVideoMeta.
  explicit EffectHarness(const std::string& settings = "", bool metaAllowed = true);
  ~EffectHarness();
  EffectHarness(const EffectHarness&) = delete;
  EffectHarness& operator=(const EffectHarness&) = delete;

  /// "video/x-raw, " is put before formats. False when the caps are refused.
  bool Negotiate(const std::string& input, const std::string& downstream = "");
  const GstVideoInfo& Input() const { return input_; }
  GstVideoInfo Output() const;
  std::string OutputCaps() const;

  /// What comes of a frame; null for nothing.
  Buffer Process(Buffer frame);
  /// The same of a painted one, as a picture.
  Image Process(const Painting& painting, const Layout& layout = {});

  /// Errors, warnings and the element's own, since the last call.
  std::vector<Message> Messages();

  GstHarness* harness;
  GstElement* element;

 private:
  GstBus* bus_;
  GstVideoInfo input_;
};

/// As long as they are needed for full caps: "NV12", 40, 30 or "NV12, colorimetry=bt709", 40, 30.
std::string CapsOf(const std::string& format, int width, int height);

}  // namespace qvg::test
