#pragma once

#include <gst/gst.h>

GType gst_qvg_compositor_get_type();
