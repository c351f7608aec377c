#pragma once
// A region of a picture with a byte or a word for each value, copied only where that is needed.

#include <tavix/imaging/Display.h>

namespace Tavix::imaging {

/// Borrows from the source, or holds values of its own. Bound to a thread.
class CutOut {
public:
    /// The region lies within the picture. Throws Error for what is no picture.
    CutOut(const PictureView& source, const Region& region);

    const PictureView& View() const { return m_View; }
    const PixelFormatInfo& Info() const { return *m_Info; }
    /// Components of a pixel, and bytes of one.
    unsigned Components() const { return m_Info->model == ColourModel::Rgb ? BytesOfPixel() / BytesOfValue() : 1; }
    unsigned BytesOfValue() const { return m_Info->bits > 8 ? 2 : 1; }
    std::uint32_t Largest() const { return (1U << m_Info->bits) - 1; }
    const std::uint8_t* Row(std::uint32_t y) const { return m_View.data + std::size_t{y} * m_View.stride; }

private:
    unsigned BytesOfPixel() const { return m_Info->BitsPerPixel() / 8; }

    Picture m_Own;
    PictureView m_View; // its stride is never 0
    const PixelFormatInfo* m_Info = nullptr;
};

} // namespace Tavix::imaging
