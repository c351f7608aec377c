#pragma once
// From an image to what a browser draws.

#include "viewer/server/Protocol.h"

#include <tavix/camera/Image.h>
#include <tavix/imaging/Display.h>
#include <tavix/imaging/Statistics.h>

#include <optional>
#include <string>

namespace viewer {

enum class ImageKind {
    Jpeg,  ///< small, for what moves
    Plain, ///< the same pixels without loss
    Values ///< those, and behind them the values that the camera sent, byte or word for each
};

/// What a browser wants to see of a camera. Re-entrant.
struct ViewOptions {
    Tavix::imaging::DisplayOptions display;
    ImageKind kind = ImageKind::Jpeg;
    bool details = false; ///< histogram, sharpness, chunk values
    std::optional<Tavix::imaging::Line> profile;
};

/// Of a "view" request.
ViewOptions ReadView(const Request& request);

/// An image message. Throws what imaging throws.
std::string MakeImage(const std::string& camera, std::uint64_t number, const Tavix::Image& image,
                      const ViewOptions& options);

} // namespace viewer
