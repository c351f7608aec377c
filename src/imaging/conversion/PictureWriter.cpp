#include "imaging/conversion/PictureWriter.h"

#include <algorithm>
#include <string>
#include <utility>

#include <tavix/imaging/Error.h>

namespace Tavix::imaging {

bool IsTarget(PixelFormat format) {
    switch (format) {
    case PixelFormat::Mono8:
    case PixelFormat::Mono16:
    case PixelFormat::RGB8:
    case PixelFormat::BGR8:
    case PixelFormat::RGBa8:
    case PixelFormat::BGRa8:
    case PixelFormat::RGB16:
        return true;
    default:
        return false;
    }
}

bool IsGrey(PixelFormat target) {
    return target == PixelFormat::Mono8 || target == PixelFormat::Mono16;
}

unsigned SampleBits(PixelFormat target) {
    return target == PixelFormat::Mono16 || target == PixelFormat::RGB16 ? 16 : 8;
}

template<class T>
PictureWriter<T>::PictureWriter(const PictureSpan& target, std::uint32_t width, std::uint32_t height,
                                const Kernels<T>& kernels)
    : m_Target(target), m_Width(width), m_Kernels(kernels),
      m_Stride(target.stride != 0 ? target.stride : std::size_t{width} * BitsPerPixel(target.format) / 8),
      m_Opaque(target.format == PixelFormat::RGBa8 || target.format == PixelFormat::BGRa8 ? width : 0) {
    const std::size_t bytes = BytesOf(target.format, width, height, target.stride);
    const bool aligned = reinterpret_cast<std::uintptr_t>(target.data) % sizeof(T) == 0 && m_Stride % sizeof(T) == 0;
    if (!target.data || !aligned || bytes == 0 || bytes > target.size)
        throw Error("no room for " + std::to_string(width) + " x " + std::to_string(height) + " pixels of " +
                    NameOf(target.format) + " in " + std::to_string(target.size) + " bytes with a stride of " +
                    std::to_string(target.stride));
    if (target.format == PixelFormat::RGBa8 || target.format == PixelFormat::BGRa8)
        std::fill_n(m_Opaque.Get(), width, static_cast<T>(~T{0}));
}

template<class T>
T* PictureWriter<T>::LineAt(std::uint32_t y) const {
    return reinterpret_cast<T*>(m_Target.data + y * m_Stride);
}

template<class T>
void PictureWriter<T>::WriteColours(std::uint32_t y, const Planes<T>& colours) const {
    const T* red = colours.plane[0];
    const T* green = colours.plane[1];
    const T* blue = colours.plane[2];
    const T* alpha = colours.plane[3] ? colours.plane[3] : m_Opaque.Get();
    T* to = LineAt(y);
    if (IsGrey(m_Target.format)) return m_Kernels.luma(red, green, blue, to, m_Width);
    if (m_Target.format == PixelFormat::BGR8 || m_Target.format == PixelFormat::BGRa8) std::swap(red, blue);
    if (m_Target.format == PixelFormat::RGBa8 || m_Target.format == PixelFormat::BGRa8)
        return m_Kernels.interleave4(red, green, blue, alpha, to, m_Width);
    m_Kernels.interleave3(red, green, blue, to, m_Width);
}

template<class T>
void PictureWriter<T>::WriteGrey(std::uint32_t y, const T* grey) const {
    Planes<T> planes;
    planes.plane[0] = planes.plane[1] = planes.plane[2] = grey;
    WriteColours(y, planes);
}

template class PictureWriter<std::uint8_t>;
template class PictureWriter<std::uint16_t>;

} // namespace Tavix::imaging
