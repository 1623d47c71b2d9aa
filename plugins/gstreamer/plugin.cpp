#include <gst/gst.h>

#include "core/log.h"
#include "qvgeffect/element.h"
#include "qvgsink/element.h"

static gboolean Init(GstPlugin* plugin) {
  qvgst::TakeLibraryLog();
  return gst_element_register(plugin, "qvgeffect", GST_RANK_NONE, gst_qvg_effect_get_type()) &&
         gst_element_register(plugin, "qvgsink", GST_RANK_NONE, gst_qvg_sink_get_type());
}

#define PACKAGE "qvGLRenderer"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, qvg,
                  "Keying, colour, composition and display of live video on OpenGL", Init, QVG_VERSION, "MIT",
                  "qvGLRenderer", "https://qvglrenderer.invalid")
