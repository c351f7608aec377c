#pragma once
// Rows of red, green and blue, or of grey, into lines of a target.

#include "imaging/conversion/SampleReader.h"
#include "imaging/kernels/Kernels.h"

#include <tavix/imaging/Picture.h>

namespace Tavix::imaging {

/// Formats that pictures are converted to.
bool IsTarget(PixelFormat format);
bool IsGrey(PixelFormat target);
/// Bits of a component of a target: 8 or 16.
unsigned SampleBits(PixelFormat target);

/// Bound to a thread. Defined for bytes and words.
template<class T>
class PictureWriter {
public:
    /// Throws Error if the target cannot hold a picture of that size. `kernels` must outlive it.
    PictureWriter(const PictureSpan& target, std::uint32_t width, std::uint32_t height, const Kernels<T>& kernels);

    PixelFormat Format() const { return m_Target.format; }
    /// Where line `y` lies, for grey that needs no more than to be read.
    T* LineAt(std::uint32_t y) const;
    /// Colours, in a format of colours or in grey.
    void WriteColours(std::uint32_t y, const Planes<T>& colours) const;
    /// Grey in a format of colours.
    void WriteGrey(std::uint32_t y, const T* grey) const;

private:
    const PictureSpan m_Target;
    const std::uint32_t m_Width;
    const Kernels<T>& m_Kernels;
    const std::size_t m_Stride;
    Row<T> m_Opaque;
};

} // namespace Tavix::imaging
