#pragma once
// Pictures in memory: borrowed to read, borrowed to write, owned.

#include <cstddef>
#include <cstdint>
#include <memory>

#include <tavix/imaging/Export.h>
#include <tavix/imaging/PixelFormat.h>

namespace Tavix::imaging {

/// Borrowed pixels to read.
struct PictureView {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0; ///< bytes at data; nothing beyond is read
    PixelFormat format = PixelFormat::Undefined;
    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0; ///< lines
    /// Bytes from one line to the next. 0: lines follow each other without a gap, and where pixels do not end with a
    /// byte, not even at a byte. See StrideOf().
    std::size_t stride = 0;
    /// Where the picture lies in a larger one whose Bayer phase `format` names: odd offsets shift the phase.
    std::uint32_t offsetX = 0, offsetY = 0;
};

/// Borrowed memory to write. Width and height are those of the source.
struct PictureSpan {
    std::uint8_t* data = nullptr;
    std::size_t size = 0; ///< bytes at data; nothing beyond is written
    PixelFormat format = PixelFormat::Undefined;
    std::size_t stride = 0; ///< bytes from one line to the next; 0: lines follow each other
};

/// The stride of lines with that many bytes of padding behind each, as cameras state it: 0 without padding.
TAVIX_IMAGING_API std::size_t StrideOf(PixelFormat format, std::uint32_t width, std::size_t padding) noexcept;
/// Bytes that a picture takes, up to its last pixel: padding behind the last line may be missing. 0 if they are more
/// than size_t counts, or the format does not tell.
TAVIX_IMAGING_API std::size_t BytesOf(PixelFormat format, std::uint32_t width, std::uint32_t height,
                                      std::size_t stride = 0) noexcept;

/// Owns its pixels; lines follow each other without a gap. Bound to a thread.
class TAVIX_IMAGING_API Picture {
public:
    /// An empty picture of 0 by 0 pixels.
    Picture() noexcept;
    /// Pixels are not set to anything. Throws Error for sizes and formats that BytesOf() does not tell.
    Picture(PixelFormat format, std::uint32_t width, std::uint32_t height);
    /// What was moved from is empty.
    Picture(Picture&& other) noexcept;
    Picture& operator=(Picture&& other) noexcept;
    ~Picture();

    PixelFormat Format() const noexcept { return m_Format; }
    std::uint32_t Width() const noexcept { return m_Width; }
    std::uint32_t Height() const noexcept { return m_Height; }
    std::size_t Stride() const noexcept { return m_Height == 0 ? 0 : m_Size / m_Height; }
    const std::uint8_t* Data() const noexcept { return m_Data.get(); }
    std::uint8_t* Data() noexcept { return m_Data.get(); }
    std::size_t Size() const noexcept { return m_Size; }
    /// Both are good as long as the picture is.
    PictureView View() const noexcept;
    PictureSpan Span() noexcept;

private:
    void Swap(Picture& other) noexcept;

    PixelFormat m_Format = PixelFormat::Undefined;
    std::uint32_t m_Width = 0, m_Height = 0;
    std::size_t m_Size = 0;
    std::unique_ptr<std::uint8_t[]> m_Data;
};

} // namespace Tavix::imaging
