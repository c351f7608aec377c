#include <tavix/imaging/Display.h>

#include "imaging/CutOut.h"
#include "imaging/Shrink.h"

#include <tavix/imaging/Convert.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace Tavix::imaging {
namespace {

/// The format of 8 bits with the same colours.
PixelFormat ByteFormat(const PixelFormatInfo& info) {
    switch (info.phase) {
    case BayerPhase::GR:
        return PixelFormat::BayerGR8;
    case BayerPhase::RG:
        return PixelFormat::BayerRG8;
    case BayerPhase::GB:
        return PixelFormat::BayerGB8;
    case BayerPhase::BG:
        return PixelFormat::BayerBG8;
    default:
        return info.model == ColourModel::Mono ? PixelFormat::Mono8 : PixelFormat::RGB8;
    }
}

/// What each value of the depth becomes.
std::vector<std::uint8_t> Table(std::uint32_t largest, const DisplayOptions& options) {
    const std::uint32_t white = options.white == 0 ? largest : std::min(options.white, largest);
    const std::uint32_t black = std::min(options.black, white == 0 ? 0 : white - 1);
    std::vector<std::uint8_t> table(std::size_t{largest} + 1);
    for (std::uint32_t value = 0; value <= largest; ++value) {
        const std::uint32_t inside = std::clamp(value, black, white) - black;
        table[value] = static_cast<std::uint8_t>((std::uint64_t{inside} * 255 + (white - black) / 2) / (white - black));
    }
    return table;
}

std::uint32_t ValueAt(const std::uint8_t* row, std::size_t index, unsigned bytes) {
    if (bytes == 1) return row[index];
    return static_cast<std::uint32_t>(row[2 * index]) | static_cast<std::uint32_t>(row[2 * index + 1]) << 8;
}

/// Values through the table, to a picture of 8 bits.
Picture Spread(const CutOut& cut, const std::vector<std::uint8_t>& table) {
    const PictureView& view = cut.View();
    Picture made(ByteFormat(cut.Info()), view.width, view.height);
    const std::size_t count = std::size_t{view.width} * cut.Components();
    const std::uint32_t largest = cut.Largest();
    for (std::uint32_t y = 0; y < view.height; ++y) {
        const std::uint8_t* const row = cut.Row(y);
        std::uint8_t* const to = made.Data() + y * made.Stride();
        if (cut.BytesOfValue() == 1) {
            for (std::size_t i = 0; i < count; ++i)
                to[i] = table[row[i]];
        } else {
            for (std::size_t i = 0; i < count; ++i)
                to[i] = table[std::min(ValueAt(row, i, 2), largest)];
        }
    }
    return made;
}

bool IsWholeRange(const CutOut& cut, const DisplayOptions& options) {
    return cut.BytesOfValue() == 1 && options.black == 0 && (options.white == 0 || options.white >= cut.Largest());
}

/// A copy without gaps between the lines.
Picture Tight(const PictureView& view) {
    Picture made(view.format, view.width, view.height);
    for (std::uint32_t y = 0; y < view.height; ++y)
        std::memcpy(made.Data() + y * made.Stride(), view.data + y * view.stride, made.Stride());
    return made;
}

/// From 8 bits in the source's colours to what is shown, of the size that is shown.
Picture Fit(PictureView view, bool isColour, std::uint32_t width, std::uint32_t height) {
    const bool isBayer = FindPixelFormat(view.format)->model == ColourModel::Bayer;
    if (isBayer && !isColour) view.format = PixelFormat::Mono8;
    if (isBayer && isColour) {
        if (width * 2 <= view.width && height * 2 <= view.height) return ShrinkBayer(view, width, height);
        const Picture colours = Convert(view, PixelFormat::RGB8);
        PictureView whole = colours.View();
        whole.stride = colours.Stride();
        return Shrink(whole, width, height);
    }
    if (width == view.width && height == view.height) return Tight(view);
    return Shrink(view, width, height);
}

bool HasSaturated(const CutOut& cut, const Region& box) {
    const unsigned components = cut.Components();
    for (std::uint32_t y = box.y; y < box.y + box.height; ++y) {
        const std::uint8_t* const row = cut.Row(y);
        for (std::size_t i = std::size_t{box.x} * components; i < std::size_t{box.x + box.width} * components; ++i) {
            if (ValueAt(row, i, cut.BytesOfValue()) >= cut.Largest()) return true;
        }
    }
    return false;
}

Picture Marked(Picture shown, const CutOut& cut) {
    Picture made = shown.Format() == PixelFormat::RGB8 ? std::move(shown) : Convert(shown.View(), PixelFormat::RGB8);
    const PictureView& view = cut.View();
    for (std::uint32_t y = 0; y < made.Height(); ++y) {
        const std::uint32_t top = Edge(y, view.height, made.Height());
        const std::uint32_t below = Edge(y + 1, view.height, made.Height());
        std::uint8_t* to = made.Data() + y * made.Stride();
        for (std::uint32_t x = 0; x < made.Width(); ++x, to += 3) {
            const std::uint32_t left = Edge(x, view.width, made.Width());
            const std::uint32_t right = Edge(x + 1, view.width, made.Width());
            if (!HasSaturated(cut, {left, top, right - left, below - top})) continue;
            to[0] = 255;
            to[1] = to[2] = 0;
        }
    }
    return made;
}

std::uint32_t Smaller(std::uint32_t whole, std::uint32_t wanted) {
    return wanted == 0 ? whole : std::min(whole, wanted);
}

} // namespace

Region Clip(const PictureView& picture, const Region& region) {
    if (picture.width == 0 || picture.height == 0) throw Error("an image without pixels cannot be shown");
    Region clipped = region;
    clipped.x = std::min(region.x, picture.width - 1);
    clipped.y = std::min(region.y, picture.height - 1);
    const std::uint32_t width = picture.width - clipped.x, height = picture.height - clipped.y;
    clipped.width = region.width == 0 ? width : std::min(region.width, width);
    clipped.height = region.height == 0 ? height : std::min(region.height, height);
    return clipped;
}

Picture Render(const PictureView& source, const DisplayOptions& options) {
    const CutOut cut(source, Clip(source, options.region));
    const std::uint32_t width = Smaller(cut.View().width, options.width);
    const std::uint32_t height = Smaller(cut.View().height, options.height);
    Picture spread;
    PictureView bytes = cut.View();
    if (!IsWholeRange(cut, options)) {
        spread = Spread(cut, Table(cut.Largest(), options));
        bytes.data = spread.Data();
        bytes.size = spread.Size();
        bytes.stride = spread.Stride();
    }
    bytes.format = ByteFormat(cut.Info());
    Picture shown = Fit(bytes, options.isColour, width, height);
    return options.marksSaturation ? Marked(std::move(shown), cut) : std::move(shown);
}

Picture TrueValues(const PictureView& source, const Region& region) {
    const CutOut cut(source, Clip(source, region));
    return Tight(cut.View());
}

} // namespace Tavix::imaging
