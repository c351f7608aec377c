#pragma once
// Cameras for applications that look for video sources.

#include <gst/gst.h>

GType gst_tavix_device_provider_get_type();
