#pragma once
// What libtavixbase shows.

#define TAVIX_BASE_API __attribute__((visibility("default")))
