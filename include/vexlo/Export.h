#pragma once
// What libvexlo shows.

#define TAVIX_VEXLO_API __attribute__((visibility("default")))
