#pragma once
// What libtavixgcbase shows.

#define TAVIX_GCBASE_API __attribute__((visibility("default")))
