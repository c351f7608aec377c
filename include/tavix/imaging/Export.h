#pragma once
// What libtaviximaging shows.

#define TAVIX_IMAGING_API __attribute__((visibility("default")))
