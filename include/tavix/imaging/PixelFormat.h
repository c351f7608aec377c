#pragma once
// Pixel formats by name, and what is known of each.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <tavix/imaging/Export.h>

namespace Tavix::imaging {

/// Codes as cameras state them. Any other code may come as well; cast it and ask FindPixelFormat().
enum class PixelFormat : std::uint32_t {
    Undefined = 0,
#define TAVIX_PIXEL_FORMAT(name, code, ...) name = (code),
#include <tavix/imaging/PixelFormats.inc>
};

enum class ColourModel : std::uint8_t {
    None,   ///< coordinates, floating point, data without meaning: no picture
    Mono,   ///< grey, or one plane of something that can be shown as grey
    Bayer,  ///< one colour a pixel, in cells of two by two
    Rgb,    ///< red, green and blue in some order, perhaps alpha
    Yuv,    ///< luma and chroma of BT.601, all of the range in use
    Ycc601, ///< the same with head room and foot room: 16...235 and 16...240 of 8 bits
    Ycc709,
    Ycc2020
};

enum class Packing : std::uint8_t {
    Whole,        ///< a byte or a little-endian word a component, value in the low bits
    Signed,       ///< the same in two's complement
    Float,        ///< IEEE, little-endian
    Dense,        ///< no gaps, least significant bit first, across the borders of bytes and lines
    Pairs,        ///< two components in three bytes: high bits, low bits of both, high bits
    LowBitsFirst, ///< three components in four bytes: low bits of all, then the high bits of each
    Dense32,      ///< three components without gaps, and two bits of padding
    Bits565,      ///< five, six and five bits
    Planar,    ///< all of the first component, then all of the second; each as Whole, or as Dense where its name says
    SemiPlanar ///< all luma, then pairs of chroma
};

enum class BayerPhase : std::uint8_t { None, GR, RG, GB, BG };

/// A row of the table.
struct PixelFormatInfo {
    PixelFormat format;
    std::string_view name;
    std::uint8_t bits; ///< that count of a component
    Packing packing;
    ColourModel model;
    BayerPhase phase;
    std::string_view order; ///< "Y" grey or luma, "U" and "V" chroma, "R", "G", "B", "A"; else axes' names
    std::int32_t pixelType; ///< of the SDK; -1: it has none

    /// Memory that a pixel takes, shares of chroma included.
    constexpr unsigned BitsPerPixel() const { return (static_cast<std::uint32_t>(format) >> 16) & 0xFF; }
    /// Pixels that `order` describes: those that share chroma.
    constexpr unsigned PixelsPerGroup() const {
        unsigned most = 0;
        for (const char one : order) {
            unsigned count = 0;
            for (const char other : order)
                count += one == other ? 1U : 0U;
            most = most < count ? count : most;
        }
        return most;
    }
    /// Different components of a pixel: 1 for grey and Bayer.
    constexpr unsigned Components() const {
        unsigned components = 0;
        for (std::size_t i = 0; i < order.size(); ++i)
            components += order.find(order[i]) == i ? 1U : 0U;
        return components;
    }
};

struct PixelFormatTable {
    const PixelFormatInfo* first;
    std::size_t count;
    const PixelFormatInfo* begin() const { return first; }
    const PixelFormatInfo* end() const { return first + count; }
};

/// All rows, in no order to rely on.
TAVIX_IMAGING_API PixelFormatTable PixelFormats() noexcept;
/// Null if the table does not have it.
TAVIX_IMAGING_API const PixelFormatInfo* FindPixelFormat(PixelFormat format) noexcept;
/// By name, as PixelFormat features have it: "BayerRG12p".
TAVIX_IMAGING_API const PixelFormatInfo* FindPixelFormat(std::string_view name) noexcept;
/// By the SDK's pixel type, as results of the grab interfaces have it (PixelType.h).
TAVIX_IMAGING_API const PixelFormatInfo* FindPixelType(std::int32_t pixelType) noexcept;

/// The name, or the code as "0x0123ABCD" where the table has none.
TAVIX_IMAGING_API std::string NameOf(PixelFormat format);
/// Memory that a pixel takes; 0 for codes of a vendor's own, which do not say.
constexpr unsigned BitsPerPixel(PixelFormat format) noexcept {
    const std::uint32_t code = static_cast<std::uint32_t>(format);
    return (code & 0x80000000U) != 0 ? 0 : (code >> 16) & 0xFF;
}

} // namespace Tavix::imaging
