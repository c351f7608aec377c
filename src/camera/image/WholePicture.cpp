#include "camera/image/WholePicture.h"

#include "camera/image/Frame.h"

#include <cstring>

namespace Tavix::detail {
namespace {

constexpr std::uint8_t kNoColour = 0x80;

/// Whether that byte of a picture is chroma of eight bits, which is in the middle for black.
bool IsChroma(const imaging::PictureView& view, const imaging::PixelFormatInfo& info, std::size_t line,
              std::size_t byte) {
    if (info.packing == imaging::Packing::SemiPlanar) return byte >= line * view.height;
    const char component = info.order[byte % line % info.order.size()];
    return info.packing == imaging::Packing::Whole && (component == 'U' || component == 'V');
}

void Blacken(const imaging::PictureView& view, std::uint8_t* bytes, std::size_t from) {
    const imaging::PixelFormatInfo* info = imaging::FindPixelFormat(view.format);
    if (!info || info->model != imaging::ColourModel::Yuv || info->bits != 8) return;
    const bool isSemiPlanar = info->packing == imaging::Packing::SemiPlanar;
    const std::size_t packed = isSemiPlanar ? view.width : imaging::BytesOf(view.format, view.width, 1);
    const std::size_t line = view.stride != 0 ? view.stride : packed;
    for (std::size_t i = from; line != 0 && i < view.size; ++i)
        if (IsChroma(view, *info, line, i)) bytes[i] = kNoColour;
}

} // namespace

WholePicture::WholePicture(const Image& image) : m_View(image.Picture()) {
    const Frame& frame = image.Inside();
    const std::size_t came = m_View.size;
    // A leader that is damaged may speak of a size that was never expected.
    if (frame.wholeBytes <= came || frame.wholeBytes > frame.payloadSize + frame.missingBytes) return;
    m_Bytes.resize(frame.wholeBytes);
    if (came > 0) std::memcpy(m_Bytes.data(), m_View.data, came);
    m_View.data = m_Bytes.data();
    m_View.size = m_Bytes.size();
    Blacken(m_View, m_Bytes.data(), came);
}

} // namespace Tavix::detail
