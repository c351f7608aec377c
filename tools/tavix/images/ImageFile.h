#pragma once
// Image files.

#include "images/ImageNames.h"
#include "line/Options.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tool {

/// Where an image lies and what it is. Borrowed bytes.
struct ImageView {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;          ///< bytes at data
    std::uint32_t pixelFormat = 0; ///< as results state it: the SDK's type, or the code
    std::uint32_t width = 0;       ///< pixels
    std::uint32_t height = 0;      ///< lines
    std::uint32_t paddingX = 0;    ///< bytes behind every line
};

/// What a file tells of its image, beside the pixels.
struct ImageFacts {
    std::string camera;
    std::string pixelFormat; ///< as the camera calls it; empty: unknown
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
WrittenImage WriteImage(ImageNames& names, ImageFormat format, const ImageView& view, const ImageFacts& facts);

} // namespace tool
