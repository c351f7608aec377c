#pragma once
// What libtavixgenapi shows.

#define TAVIX_GENAPI_API __attribute__((visibility("default")))
