#pragma once
// The picture of an image that may be damaged.

#include <tavix/camera/Image.h>

#include <cstdint>
#include <vector>

namespace Tavix::detail {

/// With black where a damaged image has no bytes. Bound to a thread; the image must outlive it.
class WholePicture {
public:
    explicit WholePicture(const Image& image);
    WholePicture(const WholePicture&) = delete;
    WholePicture& operator=(const WholePicture&) = delete;

    const imaging::PictureView& View() const { return m_View; }

private:
    imaging::PictureView m_View;
    std::vector<std::uint8_t> m_Bytes; // of a damaged image
};

} // namespace Tavix::detail
