#include "imaging/Layout.h"
#include "imaging/conversion/Converter.h"
#include "imaging/conversion/SampleReader.h"

#include <string>

namespace Tavix::imaging {
namespace {

bool IsUnpacked(Packing packing) {
    return packing == Packing::Whole || packing == Packing::Signed || packing == Packing::Planar ||
           packing == Packing::SemiPlanar;
}

bool AreSame(const PixelFormatInfo& packed, const PixelFormatInfo& whole) {
    const unsigned bits = packed.bits < 8 ? 8 : packed.bits;
    return whole.packing == Packing::Whole && whole.bits == bits && whole.model == packed.model &&
           whole.phase == packed.phase && whole.order == packed.order;
}

/// Samples of 16 bits back to the low bits of words.
void Lower(std::uint16_t* samples, std::size_t count, unsigned bits) {
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::uint16_t>(samples[i] >> (16 - bits));
}

template<class T>
void UnpackAs(Processor processor, const Layout& layout, const PictureSpan& target, std::size_t stride) {
    const SampleReader<T> reader(layout, KernelsFor<T>(processor));
    for (std::uint32_t y = 0; y < layout.Height(); ++y) {
        T* to = reinterpret_cast<T*>(target.data + y * stride);
        reader.ReadSamples(y, to);
        if constexpr (sizeof(T) == 2) Lower(to, layout.At(y).samples, layout.Info().bits);
    }
}

[[noreturn]] void RefuseFormats(PixelFormat source, PixelFormat target) {
    throw Error(NameOf(source) + " cannot be unpacked to " + NameOf(target));
}

} // namespace

PixelFormat UnpackedFormat(PixelFormat format) noexcept {
    const PixelFormatInfo* info = FindPixelFormat(format);
    if (!info || info->model == ColourModel::None) return PixelFormat::Undefined;
    if (IsUnpacked(info->packing)) return format;
    for (const PixelFormatInfo& row : PixelFormats()) {
        if (AreSame(*info, row)) return row.format;
    }
    return PixelFormat::Undefined;
}

void UnpackOn(Processor processor, const PictureView& source, const PictureSpan& target) {
    const PixelFormat unpacked = UnpackedFormat(source.format);
    if (unpacked == PixelFormat::Undefined || unpacked != target.format || unpacked == source.format)
        RefuseFormats(source.format, target.format);
    const Layout layout(source, *FindPixelFormat(source.format));
    const std::size_t line = std::size_t{source.width} * BitsPerPixel(unpacked) / 8;
    const std::size_t stride = target.stride != 0 ? target.stride : line;
    const std::size_t bytes = BytesOf(unpacked, source.width, source.height, target.stride);
    const bool words = layout.Info().bits > 8;
    const bool aligned = !words || (reinterpret_cast<std::uintptr_t>(target.data) % 2 == 0 && stride % 2 == 0);
    if (!target.data || !aligned || bytes == 0 || bytes > target.size)
        throw Error("no room for " + NameOf(unpacked) + " in " + std::to_string(target.size) + " bytes");
    if (words) {
        UnpackAs<std::uint16_t>(processor, layout, target, stride);
    } else {
        UnpackAs<std::uint8_t>(processor, layout, target, stride);
    }
}

void Unpack(const PictureView& source, const PictureSpan& target) {
    UnpackOn(ThisProcessor(), source, target);
}

Picture Unpack(const PictureView& source) {
    const PixelFormat unpacked = UnpackedFormat(source.format);
    if (unpacked == PixelFormat::Undefined || unpacked == source.format) RefuseFormats(source.format, unpacked);
    const Layout claim(source, *FindPixelFormat(source.format)); // before memory is taken for it
    Picture picture(unpacked, source.width, source.height);
    Unpack(source, picture.Span());
    return picture;
}

} // namespace Tavix::imaging
