#pragma once
// Image files.

#include "images/ImageNames.h"
#include "line/Options.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include <tavix/imaging/Picture.h>

namespace tool {

/// What a file tells of its image, beside the pixels.
struct ImageFacts {
    std::string camera;
    std::string pixelFormat; ///< by name
    std::uint64_t blockId = 0;
    std::uint64_t timestamp = 0; ///< ticks of the camera's clock
};

/// A file that is on the disk, all of it.
struct WrittenImage {
    std::string path;
    bool isRaw = false;
};

/// Writes one image. Raw files hold the bytes as the camera sent them; so do PNG and PGM of formats that cannot be
/// converted, with the extension .raw instead. Beside a raw file lies NAME.json, which tells size and format. Throws
/// Error.
WrittenImage WriteImage(ImageNames& names, ImageFormat format, const Tavix::imaging::PictureView& picture,
                        const ImageFacts& facts);

} // namespace tool
