#include "imaging/Layout.h"

#include <string>

#include <tavix/imaging/Error.h>

namespace Tavix::imaging {
namespace {

std::size_t WholeBytes(const PixelFormatInfo& info) {
    return (std::size_t{info.bits} + 7) / 8;
}

std::size_t SamplesOf(const PixelFormatInfo& info, std::size_t width) {
    if (info.packing == Packing::Planar || info.packing == Packing::SemiPlanar) return width;
    const std::size_t pixels = info.PixelsPerGroup();
    return (width * info.order.size() + pixels - 1) / pixels;
}

std::size_t LineBytesOf(const PixelFormatInfo& info, std::size_t width, std::size_t samples) {
    switch (info.packing) {
    case Packing::Dense:
        return (samples * info.bits + 7) / 8;
    case Packing::Pairs:
        return (samples * 12 + 7) / 8;
    case Packing::LowBitsFirst:
    case Packing::Dense32:
        return width * 4;
    case Packing::Bits565:
        return width * 2;
    default:
        return samples * WholeBytes(info);
    }
}

/// Bytes of so many lines, the last one without padding; 0 if they cannot be counted.
std::size_t Rows(std::size_t lines, std::size_t stride, std::size_t bytes) {
    std::size_t all = 0;
    if (__builtin_mul_overflow(lines - 1, stride, &all) || __builtin_add_overflow(all, bytes, &all)) return 0;
    return all;
}

std::size_t ContinuousBytes(const PixelFormatInfo& info, std::size_t samples, std::size_t height) {
    const std::size_t bits = info.packing == Packing::Pairs ? 12 : info.bits;
    std::size_t all = 0;
    if (__builtin_mul_overflow(samples * bits, height, &all) || all > ~std::size_t{0} - 7) return 0;
    return (all + 7) / 8;
}

std::size_t BytesOfPlanes(const PixelFormatInfo& info, const Geometry& geometry, std::size_t height) {
    if (info.packing == Packing::Planar) return Rows(height * info.order.size(), geometry.stride, geometry.lineBytes);
    if (info.packing != Packing::SemiPlanar) return Rows(height, geometry.stride, geometry.lineBytes);
    const std::size_t luma = Rows(height + 1, geometry.stride, 0);
    const std::size_t chroma = Rows(geometry.chromaLines, geometry.chromaStride, geometry.chromaBytes);
    std::size_t all = 0;
    return luma == 0 || chroma == 0 || __builtin_add_overflow(luma, chroma, &all) ? 0 : all;
}

} // namespace

Geometry::Geometry(const PixelFormatInfo& info, std::uint32_t width, std::uint32_t height, std::size_t givenStride)
    : isContinuous(givenStride == 0 && (info.packing == Packing::Dense || info.packing == Packing::Pairs)),
      samples(SamplesOf(info, width)), lineBytes(LineBytesOf(info, width, samples)),
      stride(givenStride == 0 ? lineBytes : givenStride), chromaBytes((std::size_t{width} + 1) / 2 * 2),
      chromaStride(givenStride == 0 ? chromaBytes : givenStride),
      chromaLines(info.PixelsPerGroup() == 4 ? height / 2 + height % 2 : height), bytes(0) {
    const bool isSemiPlanar = info.packing == Packing::SemiPlanar;
    if (width == 0 || height == 0 || stride < lineBytes || (isSemiPlanar && chromaStride < chromaBytes)) return;
    bytes = isContinuous ? ContinuousBytes(info, samples, height) : BytesOfPlanes(info, *this, height);
}

Layout::Layout(const PictureView& picture, const PixelFormatInfo& info)
    : m_Picture(picture), m_Info(info), m_Geometry(info, picture.width, picture.height, picture.stride) {
    if (picture.data && m_Geometry.bytes != 0 && m_Geometry.bytes <= picture.size) return;
    throw Error(std::to_string(picture.width) + " x " + std::to_string(picture.height) + " pixels of " +
                std::string(info.name) + " are not in " + std::to_string(picture.size) + " bytes with a stride of " +
                std::to_string(picture.stride));
}

PlaneLine Layout::From(std::size_t offset, std::size_t samples, unsigned skip) const {
    return {m_Picture.data + offset, m_Picture.size - offset, skip, samples};
}

PlaneLine Layout::At(std::uint32_t y, unsigned plane) const {
    const Geometry& g = m_Geometry;
    if (m_Info.packing == Packing::SemiPlanar && plane == 1) {
        const std::size_t line = g.chromaLines < Height() ? y / 2 : y;
        return From(Height() * g.stride + line * g.chromaStride, g.chromaBytes);
    }
    if (!g.isContinuous) return From((std::size_t{plane} * Height() + y) * g.stride, g.samples);
    const std::size_t first = y * g.samples;
    if (m_Info.packing == Packing::Pairs) return From(first / 2 * 3, g.samples, static_cast<unsigned>(first % 2));
    const std::size_t bit = first * m_Info.bits;
    return From(bit / 8, g.samples, static_cast<unsigned>(bit % 8));
}

} // namespace Tavix::imaging
