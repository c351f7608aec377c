#pragma once
// Image format control: sensor, region of interest, binning, pixel format, test pattern.

#include <cstdint>
#include <functional>

#include "virtualcam/firmware/FeatureMaker.h"

#include <tavix/imaging/PixelFormat.h>

namespace virtualcam {

using Tavix::imaging::BitsPerPixel;
using Tavix::imaging::PixelFormat;

enum class TestPattern : std::uint32_t { Black = 0, Gradient = 1, ColorBars = 2, Checker = 3 };

/// The image that is being taken. Widths are multiples of 4, so that lines of all formats end at whole bytes.
struct Geometry {
    std::uint32_t width = 0, height = 0, offsetX = 0, offsetY = 0, binningX = 1, binningY = 1;
    PixelFormat format = PixelFormat::Mono8;
    TestPattern pattern = TestPattern::Gradient;
    bool reverseX = false, reverseY = false;

    std::size_t LineBytes() const { return std::size_t{width} * BitsPerPixel(format) / 8; }
    std::size_t ImageBytes() const { return LineBytes() * height; }
};

/// Bound to a thread; the register space's owner locks.
class ImageFormat {
public:
    /// `changed` runs after the size of an image may have changed.
    ImageFormat(const FeatureMaker& make, std::uint32_t sensorWidth, std::uint32_t sensorHeight,
                std::function<void()> changed);

    Geometry Get() const;

private:
    RegisterSpace& m_Registers;
    const std::function<void()> m_Changed;

    /// Names of one axis' registers.
    struct Axis {
        std::uint64_t sensor, maximum, size, offset, binning;
        std::uint32_t minimum, step;
    };
    static const Axis kAxes[2];

    void AddAxis(const FeatureMaker& make, const Axis& axis, std::uint32_t sensor);
    void BinningChanged(const Axis& axis);
};

} // namespace virtualcam
