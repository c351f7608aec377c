#pragma once
// Errors of the camera classes as a pipeline hears of them.

#include <gst/gst.h>

#include <exception>
#include <string>

namespace tavixgst {

/// Posts what the exception says as an error, with the domain and code that fit. For a catch block.
void PostError(GstElement& element, const std::exception& problem);
/// The same as a warning: the stream goes on.
void PostWarning(GstElement& element, const std::exception& problem);
std::string TextOf(const GstCaps& caps);

} // namespace tavixgst
