#pragma once
// What conversion must make of a picture, pixel by pixel and bit by bit: slow, and written apart from the library.

#include <array>
#include <cstdint>
#include <vector>

#include <tavix/imaging/Convert.h>

namespace reference {

using Tavix::imaging::ConvertOptions;
using Tavix::imaging::PictureView;
using Tavix::imaging::PixelFormat;
using Tavix::imaging::PixelFormatInfo;

/// Red, green, blue, alpha in units of the target's samples, not rounded where chroma was involved.
using Colour = std::array<double, 4>;

class Picture {
public:
    /// `depth` of the target: 8 or 16.
    Picture(const PictureView& view, unsigned depth, const ConvertOptions& options);

    Colour At(std::int64_t x, std::int64_t y) const;
    /// Luma of formats that have it, else that of the colours; rounded.
    std::int64_t GreyAt(std::int64_t x, std::int64_t y) const;
    /// How far a sound result may be off: chroma is computed in fixed point.
    int Tolerance() const;

private:
    const PictureView m_View;
    const PixelFormatInfo& m_Info;
    const unsigned m_Depth;
    const bool m_EdgeAware;

    unsigned BitAt(std::size_t bit) const;
    std::int64_t Component(std::int64_t x, std::int64_t y, char name) const;
    std::size_t Index(std::int64_t x, char name) const;
    std::int64_t Value(std::int64_t y, std::size_t index, unsigned plane) const;
    std::int64_t ChromaOfPlane(std::int64_t x, std::int64_t y, char name) const;
    std::int64_t Scaled(std::int64_t value, unsigned bits) const;
    Colour FromChroma(std::int64_t x, std::int64_t y) const;

    char ColourOf(std::int64_t x, std::int64_t y) const;
    std::int64_t Site(std::int64_t x, std::int64_t y) const;
    std::int64_t Mean(std::int64_t x, std::int64_t y, char colour) const;
    std::int64_t Green(std::int64_t x, std::int64_t y) const;
    std::int64_t ByDifference(std::int64_t x, std::int64_t y, char colour) const;
};

/// All bytes of a converted picture, with lines that follow each other.
std::vector<std::int64_t> Samples(const PictureView& view, PixelFormat target, const ConvertOptions& options);

} // namespace reference
