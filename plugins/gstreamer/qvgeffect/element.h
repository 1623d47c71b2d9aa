#pragma once

#include <gst/gst.h>

GType gst_qvg_effect_get_type();
