#pragma once
// Where the lines of a picture lie in memory, and whether all of them do.

#include <cstddef>
#include <cstdint>

#include <tavix/imaging/Picture.h>

namespace Tavix::imaging {

/// What follows from a format and a size. A stride of 0 means lines without gaps; one that is too short gives 0 bytes.
struct Geometry {
    Geometry(const PixelFormatInfo& info, std::uint32_t width, std::uint32_t height, std::size_t stride);

    bool isContinuous;         ///< samples go on from line to line without a byte border
    std::size_t samples;       ///< of a line: all components of all its pixels, or of a plane
    std::size_t lineBytes;     ///< without padding
    std::size_t stride;        ///< of a plane of Planar, of luma of SemiPlanar
    std::size_t chromaBytes;   ///< of a line of SemiPlanar's chroma
    std::size_t chromaStride;  ///< the same with padding
    std::uint32_t chromaLines; ///< the height, or half of it
    std::size_t bytes;         ///< up to the last pixel; 0: nobody has that many, or the stride is too short
};

/// One line of one plane.
struct PlaneLine {
    const std::uint8_t* data; ///< where it begins, or the last byte border before
    std::size_t size;         ///< bytes that can be read there
    unsigned skip;            ///< samples (Pairs) or bits (Dense) before its first
    std::size_t samples;      ///< all components of all pixels
};

/// A picture with a colour model, checked once: lines that it hands out lie in the picture's memory. Re-entrant.
class Layout {
public:
    /// Throws Error if the picture's memory is too small, or its size is none.
    Layout(const PictureView& picture, const PixelFormatInfo& info);

    std::uint32_t Width() const { return m_Picture.width; }
    std::uint32_t Height() const { return m_Picture.height; }
    const PixelFormatInfo& Info() const { return m_Info; }
    /// `plane` counts the components of Planar. Of SemiPlanar, 0 is luma and 1 is chroma, whose line `y` counts lines
    /// of luma.
    PlaneLine At(std::uint32_t y, unsigned plane = 0) const;

private:
    const PictureView m_Picture;
    const PixelFormatInfo& m_Info;
    const Geometry m_Geometry;

    PlaneLine From(std::size_t offset, std::size_t samples, unsigned skip = 0) const;
};

} // namespace Tavix::imaging
