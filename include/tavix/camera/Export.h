#pragma once
// What libtavixcamera shows.

#define TAVIX_CAMERA_API __attribute__((visibility("default")))
