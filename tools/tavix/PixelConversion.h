#pragma once
// Camera pixels to what image files hold.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tool {

/// Where an image lies and what it is. Borrowed bytes.
struct ImageView {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;          ///< bytes at data
    std::uint32_t pixelFormat = 0; ///< PFNC code
    std::uint32_t width = 0;       ///< pixels
    std::uint32_t height = 0;      ///< lines
    std::uint32_t paddingX = 0;    ///< bytes behind every line
};

/// Rows back to back; 16-bit samples are big-endian, as PNG and PGM want them.
struct Picture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int channels = 1; ///< 1 grey, 3 RGB
    int depth = 8;    ///< bits a sample: 8 or 16
    std::vector<std::uint8_t> samples;
};

/// False when the format is not known here or the bytes are too few for the size. Never reads beyond `view`.
bool Convert(const ImageView& view, Picture& picture);

} // namespace tool
