#pragma once

#include <gst/gst.h>

G_BEGIN_DECLS
GType gst_qvg_sink_get_type();
G_END_DECLS
