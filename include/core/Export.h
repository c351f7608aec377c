#pragma once
// What libtavixcore shows, and for every library: what it hides although a class that it shows names it.

#define TAVIX_CORE_API __attribute__((visibility("default")))
#define TAVIX_HIDDEN __attribute__((visibility("hidden")))
