#include <tavix/imaging/Picture.h>

#include "imaging/Layout.h"

#include <limits>
#include <utility>

#include <tavix/imaging/Error.h>

namespace Tavix::imaging {
namespace {

constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 16;

/// Bytes that `bits` times `count` take; 0 when nobody has that many.
std::size_t BytesFor(std::size_t bits, std::size_t count) {
    if (bits == 0 || count > kMost / bits) return 0;
    return (bits * count + 7) / 8;
}

} // namespace

Error::~Error() = default;

std::size_t StrideOf(PixelFormat format, std::uint32_t width, std::size_t padding) noexcept {
    if (padding == 0) return 0;
    const PixelFormatInfo* info = FindPixelFormat(format);
    return padding + (info ? Geometry(*info, width, 1, 0).lineBytes : BytesFor(BitsPerPixel(format), width));
}

std::size_t BytesOf(PixelFormat format, std::uint32_t width, std::uint32_t height, std::size_t stride) noexcept {
    if (const PixelFormatInfo* info = FindPixelFormat(format)) return Geometry(*info, width, height, stride).bytes;
    const std::size_t line = BytesFor(BitsPerPixel(format), width);
    if (stride == 0) return BytesFor(BitsPerPixel(format), std::size_t{width} * height);
    if (line == 0 || height == 0 || stride < line || stride > kMost / height) return 0;
    return stride * (height - 1) + line;
}

Picture::Picture() noexcept = default;
Picture::Picture(Picture&& other) noexcept {
    Swap(other);
}

Picture& Picture::operator=(Picture&& other) noexcept {
    Picture taken(std::move(other));
    Swap(taken);
    return *this;
}

void Picture::Swap(Picture& other) noexcept {
    std::swap(m_Format, other.m_Format);
    std::swap(m_Width, other.m_Width);
    std::swap(m_Height, other.m_Height);
    std::swap(m_Size, other.m_Size);
    m_Data.swap(other.m_Data);
}

Picture::~Picture() = default;

Picture::Picture(PixelFormat format, std::uint32_t width, std::uint32_t height)
    : m_Format(format), m_Width(width), m_Height(height), m_Size(BytesOf(format, width, height)) {
    if (m_Size == 0)
        throw Error("no picture of " + std::to_string(width) + " x " + std::to_string(height) + " " + NameOf(format));
    m_Data.reset(new std::uint8_t[m_Size]);
}

PictureView Picture::View() const noexcept {
    PictureView view;
    view.data = m_Data.get();
    view.size = m_Size;
    view.format = m_Format;
    view.width = m_Width;
    view.height = m_Height;
    return view;
}

PictureSpan Picture::Span() noexcept {
    return {m_Data.get(), m_Size, m_Format, 0};
}

} // namespace Tavix::imaging
