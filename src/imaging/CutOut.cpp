#include "imaging/CutOut.h"

#include <tavix/imaging/Convert.h>

#include <algorithm>

namespace Tavix::imaging {
namespace {

/// Bytes from one line to the next; 0 where lines do not begin at whole bytes, or lie in planes.
std::size_t LineBytes(const PictureView& view, const PixelFormatInfo& info) {
    if (info.packing == Packing::Planar || info.packing == Packing::SemiPlanar) return 0;
    if (view.stride != 0) return view.stride;
    const std::size_t bits = std::size_t{view.width} * info.BitsPerPixel();
    return bits % 8 == 0 ? bits / 8 : 0;
}

PictureView Advanced(PictureView view, std::size_t bytes) {
    bytes = std::min(bytes, view.size);
    view.data += bytes;
    view.size -= bytes;
    return view;
}

/// The lines of the region, if they can be had without looking at the others. Moves the region accordingly.
PictureView Lines(PictureView view, const PixelFormatInfo& info, Region& region) {
    const std::size_t line = LineBytes(view, info);
    if (line == 0) return view;
    view = Advanced(view, line * region.y);
    view.stride = line;
    view.height = region.height;
    view.offsetY += region.y;
    region.y = 0;
    return view;
}

bool IsPlain(const PixelFormatInfo& info) {
    const bool isPlane = info.model == ColourModel::Mono || info.model == ColourModel::Bayer;
    const bool isRgb = info.model == ColourModel::Rgb && info.order == "RGB";
    return info.packing == Packing::Whole && info.bits >= 8 && info.bits <= 16 && (isPlane || isRgb);
}

/// A format that holds the values in a plain way.
PixelFormat PlainFormat(const PixelFormatInfo& info) {
    const PixelFormat unpacked = UnpackedFormat(info.format);
    const PixelFormatInfo* const row = unpacked == PixelFormat::Undefined ? nullptr : FindPixelFormat(unpacked);
    if (row && IsPlain(*row)) return unpacked;
    return info.Components() == 1 ? PixelFormat::Mono8 : PixelFormat::RGB8;
}

} // namespace

CutOut::CutOut(const PictureView& source, const Region& region) {
    m_Info = FindPixelFormat(source.format);
    if (!m_Info || m_Info->model == ColourModel::None) throw Error(NameOf(source.format) + " cannot be shown");
    Region left = region;
    m_View = Lines(source, *m_Info, left);
    if (!IsPlain(*m_Info)) {
        const PixelFormat plain = PlainFormat(*m_Info);
        m_Own = plain == UnpackedFormat(m_Info->format) ? Unpack(m_View) : Convert(m_View, plain);
        const PictureView before = m_View;
        m_View = m_Own.View();
        m_View.offsetX = before.offsetX;
        m_View.offsetY = before.offsetY;
        m_View.stride = m_Own.Stride();
        m_Info = FindPixelFormat(plain);
    }
    if (m_View.stride == 0) m_View.stride = LineBytes(m_View, *m_Info);
    m_View = Advanced(m_View, left.y * m_View.stride + std::size_t{left.x} * BytesOfPixel());
    m_View.offsetX += left.x;
    m_View.offsetY += left.y;
    m_View.width = region.width;
    m_View.height = region.height;
    if (m_View.size < BytesOf(m_View.format, m_View.width, m_View.height, m_View.stride))
        throw Error("the picture ends before its last pixel");
}

} // namespace Tavix::imaging
