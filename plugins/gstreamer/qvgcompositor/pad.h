#pragma once

#include <gst/video/gstvideoaggregator.h>

#include <string>

#include "qvgcompositor/composition.h"

/// A source of the compositor.
struct GstQvgCompositorPad {
  GstVideoAggregatorPad parent;
  struct State;
  State* state;
};
struct GstQvgCompositorPadClass {
  GstVideoAggregatorPadClass parent;
};

GType gst_qvg_compositor_pad_get_type();

struct GstQvgCompositorPad::State {
  qvgst::LayerPicture picture;  ///< Of the streaming thread.

  // Under the pad's lock.
  qvgst::Placement placement;
  std::string matte;  ///< Another pad's name; empty: none.
};
