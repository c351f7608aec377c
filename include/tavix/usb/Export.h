#pragma once
// What the transport layer shows.

#define TAVIX_USB_API __attribute__((visibility("default")))
