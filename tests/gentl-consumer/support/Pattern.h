#pragma once
// The picture that the virtual camera must have sent: a grey ramp that moves with each frame.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace consumer {

/// What is needed to know each byte of a Mono8 image that bears no number, as it is too small for one.
struct Picture {
    std::size_t width = 64, height = 64, offsetX = 0, offsetY = 0;
    std::uint64_t frame = 0; ///< since the acquisition began

    std::uint8_t At(std::size_t x, std::size_t y) const {
        const std::size_t line = (y + offsetY) / 2 * 2; // two lines are alike
        return static_cast<std::uint8_t>(x + offsetX + line + 2 * frame);
    }
    /// Where the bytes differ first; the number of bytes when they do not.
    std::size_t FirstDifference(const std::uint8_t* image) const {
        for (std::size_t y = 0; y < height; ++y)
            for (std::size_t x = 0; x < width; ++x)
                if (image[y * width + x] != At(x, y)) return y * width + x;
        return width * height;
    }
};

} // namespace consumer
