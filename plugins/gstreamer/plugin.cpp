#include <gst/gst.h>

#include "core/log.h"
#include "qvgcompositor/element.h"
#include "qvgeffect/element.h"
#include "qvgsink/element.h"

static gboolean Init(GstPlugin* plugin) {
  qvgst::TakeLibraryLog();
  const struct {
    const char* name;
    GType type;
  } elements[] = {{"qvgeffect", gst_qvg_effect_get_type()},
                  {"qvgcompositor", gst_qvg_compositor_get_type()},
                  {"qvgsink", gst_qvg_sink_get_type()}};
  for (const auto& [name, type] : elements) {
    if (gst_element_register(plugin, name, GST_RANK_NONE, type) == FALSE) return FALSE;
  }
  return TRUE;
}

#define PACKAGE "qvGLRenderer"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, qvg,
                  "Keying, colour, composition and display of live video on OpenGL", Init, QVG_VERSION, "MIT/X11",
                  "qvGLRenderer", "https://qvglrenderer.invalid")
