#include "imaging/Reference.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace reference {

using namespace Tavix::imaging;

namespace {

std::int64_t Reflect(std::int64_t place, std::int64_t count) {
    if (count == 1) return 0;
    while (place < 0 || place >= count)
        place = place < 0 ? -place : 2 * (count - 1) - place;
    return place;
}

std::int64_t FloorDivide(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(std::floor(static_cast<double>(a) / static_cast<double>(b)));
}

unsigned UnitBits(const PixelFormatInfo& info) { // memory that a component takes in whole bytes
    return info.bits > 8 ? 16 : 8;
}

} // namespace

Picture::Picture(const PictureView& view, unsigned depth, const ConvertOptions& options)
    : m_View(view), m_Info(*FindPixelFormat(view.format)), m_Depth(depth),
      m_EdgeAware(options.demosaicing == Demosaicing::EdgeAware) {}

unsigned Picture::BitAt(std::size_t bit) const {
    if (bit / 8 >= m_View.size) throw std::out_of_range("the reference reads beyond the picture");
    return m_View.data[bit / 8] >> (bit % 8) & 1U;
}

std::int64_t Picture::Scaled(std::int64_t value, unsigned bits) const {
    // The bits of the value again and again, from the top.
    std::int64_t scaled = 0;
    for (unsigned i = 0; i < m_Depth; ++i)
        scaled = scaled * 2 + (value >> (bits - 1 - i % bits) & 1);
    return scaled;
}

// The component with that number in line y. Bits are collected one by one.
std::int64_t Picture::Value(std::int64_t y, std::size_t index, unsigned plane) const {
    const std::size_t line = static_cast<std::size_t>(y), stride = m_View.stride;
    const std::size_t perPixelTimes = m_Info.order.size(), pixels = m_Info.PixelsPerGroup();
    const std::size_t samples = (m_View.width * perPixelTimes + pixels - 1) / pixels;
    const auto collect = [&](std::size_t first, unsigned count) {
        std::int64_t value = 0;
        for (unsigned i = 0; i < count; ++i)
            value |= std::int64_t{BitAt(first + i)} << i;
        return value;
    };
    const auto lineStart = [&](std::size_t bytes) { return line * (stride != 0 ? stride : bytes) * 8; };
    switch (m_Info.packing) {
    case Packing::Dense: {
        const std::size_t start = stride != 0 ? line * stride * 8 : line * samples * m_Info.bits;
        return Scaled(collect(start + index * m_Info.bits, m_Info.bits), m_Info.bits);
    }
    case Packing::Pairs: {
        const std::size_t sample = stride != 0 ? index : line * samples + index;
        const std::size_t start = (stride != 0 ? line * stride * 8 : 0) + sample / 2 * 24;
        const unsigned low = m_Info.bits - 8;
        const std::int64_t high = collect(start + (sample % 2 == 0 ? 0 : 16), 8);
        return Scaled(high << low | collect(start + 8 + sample % 2 * 4, low), m_Info.bits);
    }
    case Packing::LowBitsFirst: {
        const std::size_t start = lineStart(m_View.width * std::size_t{4}) + index / 3 * 32, place = index % 3;
        return Scaled(collect(start + 8 + place * 8, 8) << 2 | collect(start + place * 2, 2), 10);
    }
    case Packing::Dense32:
        return Scaled(collect(lineStart(m_View.width * std::size_t{4}) + index / 3 * 32 + index % 3 * 10, 10), 10);
    case Packing::Bits565: {
        const std::size_t start = lineStart(m_View.width * std::size_t{2}) + index / 3 * 16;
        if (index % 3 == 0) return Scaled(collect(start, 5), 5);
        return index % 3 == 1 ? Scaled(collect(start + 5, 6), 6) : Scaled(collect(start + 11, 5), 5);
    }
    case Packing::Planar: {
        const std::size_t bytes = stride != 0 ? stride : m_View.width * std::size_t{UnitBits(m_Info)} / 8;
        const std::size_t start = (plane * std::size_t{m_View.height} + line) * bytes * 8;
        return Scaled(collect(start + index * UnitBits(m_Info), m_Info.bits), m_Info.bits);
    }
    case Packing::SemiPlanar:
        return Scaled(collect(lineStart(m_View.width) + index * 8, 8), 8);
    default: {
        const std::size_t start = lineStart(samples * UnitBits(m_Info) / 8) + index * UnitBits(m_Info);
        std::int64_t value = collect(start, m_Info.bits);
        if (m_Info.packing == Packing::Signed) value ^= std::int64_t{1} << (m_Info.bits - 1);
        return Scaled(value, m_Info.bits);
    }
    }
}

std::int64_t Picture::ChromaOfPlane(std::int64_t x, std::int64_t y, char name) const {
    const std::size_t width = m_View.width, even = (width + 1) / 2 * 2;
    const std::size_t strideOfLuma = m_View.stride != 0 ? m_View.stride : width;
    const std::size_t stride = m_View.stride != 0 ? m_View.stride : even;
    const std::size_t line = static_cast<std::size_t>(m_Info.PixelsPerGroup() == 4 ? y / 2 : y);
    const bool first = (name == 'U') == (m_Info.order.find('U') < m_Info.order.find('V'));
    const std::size_t byte = strideOfLuma * m_View.height + line * stride + static_cast<std::size_t>(x / 2 * 2);
    return Scaled(m_View.data[byte + (first ? 0 : 1)], 8);
}

// The component of that name in the order, that of pixel x where each has its own.
std::size_t Picture::Index(std::int64_t x, char name) const {
    const std::int64_t pixels = m_Info.PixelsPerGroup();
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < m_Info.order.size(); ++i) {
        if (m_Info.order[i] == name) places.push_back(i);
    }
    const std::size_t pixel = static_cast<std::size_t>(x % pixels);
    return static_cast<std::size_t>(x / pixels) * m_Info.order.size() + places[std::min(pixel, places.size() - 1)];
}

std::int64_t Picture::Component(std::int64_t x, std::int64_t y, char name) const {
    if (m_Info.packing == Packing::Planar)
        return Value(y, static_cast<std::size_t>(x), static_cast<unsigned>(m_Info.order.find(name)));
    if (m_Info.packing == Packing::SemiPlanar)
        return name == 'Y' ? Value(y, static_cast<std::size_t>(x), 0) : ChromaOfPlane(x, y, name);
    const std::size_t order = m_Info.order.size(), pixels = m_Info.PixelsPerGroup();
    const std::size_t samples = (m_View.width * order + pixels - 1) / pixels;
    std::size_t index = Index(x, name);
    if (index >= samples) { // the line ends within a group
        if (index < order) return name == 'U' || name == 'V' ? std::int64_t{1} << (m_Depth - 1) : 0;
        index -= order;
    }
    return Value(y, index, 0);
}

Colour Picture::FromChroma(std::int64_t x, std::int64_t y) const {
    const bool isFull = m_Info.model == ColourModel::Yuv;
    const double kr = m_Info.model == ColourModel::Ycc709    ? 0.2126
                      : m_Info.model == ColourModel::Ycc2020 ? 0.2627
                                                             : 0.299;
    const double kb = m_Info.model == ColourModel::Ycc709    ? 0.0722
                      : m_Info.model == ColourModel::Ycc2020 ? 0.0593
                                                             : 0.114;
    const auto level = [&](std::int64_t code) {
        return static_cast<double>(Scaled(code << (m_Info.bits - 8), m_Info.bits));
    };
    const double most = static_cast<double>((1 << m_Depth) - 1);
    const double lumaRange = isFull ? most : level(235) - level(16);
    const double chromaRange = (isFull ? most : level(240) - level(16)) / 2;
    const double luma = (static_cast<double>(Component(x, y, 'Y')) - (isFull ? 0 : level(16))) / lumaRange;
    const double u = (static_cast<double>(Component(x, y, 'U')) - level(128)) / chromaRange;
    const double v = (static_cast<double>(Component(x, y, 'V')) - level(128)) / chromaRange;
    const double red = luma + (1 - kr) * v, blue = luma + (1 - kb) * u;
    const double green = (luma - kr * red - kb * blue) / (1 - kr - kb);
    const auto clamped = [most](double value) { return std::clamp(value * most, 0.0, most); };
    return {clamped(red), clamped(green), clamped(blue), most};
}

// --- Bayer

char Picture::ColourOf(std::int64_t x, std::int64_t y) const {
    const char* cells = "";
    switch (m_Info.phase) {
    case BayerPhase::GR:
        cells = "GRBG";
        break;
    case BayerPhase::RG:
        cells = "RGGB";
        break;
    case BayerPhase::GB:
        cells = "GBRG";
        break;
    default:
        cells = "BGGR";
        break;
    }
    const std::int64_t column = (x + m_View.offsetX + 1000) % 2, row = (y + m_View.offsetY + 1000) % 2;
    return cells[row * 2 + column];
}

std::int64_t Picture::Site(std::int64_t x, std::int64_t y) const {
    return Component(Reflect(x, m_View.width), Reflect(y, m_View.height), 'Y');
}

// The rounded mean of the nearest pixels that have the colour.
std::int64_t Picture::Mean(std::int64_t x, std::int64_t y, char colour) const {
    if (ColourOf(x, y) == colour) return Site(x, y);
    std::int64_t sum = 0, count = 0;
    for (const int distance : {1, 2}) { // beside and above first, then the corners
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                if (std::abs(dx) + std::abs(dy) != distance || ColourOf(x + dx, y + dy) != colour) continue;
                sum += Site(x + dx, y + dy);
                ++count;
            }
        }
        if (count != 0) break;
    }
    return FloorDivide(sum + count / 2, count);
}

std::int64_t Picture::Green(std::int64_t x, std::int64_t y) const {
    if (ColourOf(x, y) == 'G') return Site(x, y);
    const std::int64_t here = Site(x, y);
    const std::int64_t left = Site(x - 1, y), right = Site(x + 1, y), up = Site(x, y - 1), down = Site(x, y + 1);
    const std::int64_t bendX = 2 * here - Site(x - 2, y) - Site(x + 2, y);
    const std::int64_t bendY = 2 * here - Site(x, y - 2) - Site(x, y + 2);
    const std::int64_t changeX = std::abs(left - right) + std::abs(bendX);
    const std::int64_t changeY = std::abs(up - down) + std::abs(bendY);
    const double alongX = static_cast<double>(left + right) / 2 + static_cast<double>(bendX) / 4;
    const double alongY = static_cast<double>(up + down) / 2 + static_cast<double>(bendY) / 4;
    const double green = changeX < changeY ? alongX : changeY < changeX ? alongY : (alongX + alongY) / 2;
    return std::clamp<std::int64_t>(static_cast<std::int64_t>(std::floor(green + 0.5)), 0, (1 << m_Depth) - 1);
}

std::int64_t Picture::ByDifference(std::int64_t x, std::int64_t y, char colour) const {
    if (ColourOf(x, y) == colour) return Site(x, y);
    std::int64_t sum = 0, count = 0;
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            if (ColourOf(x + dx, y + dy) != colour) continue;
            sum += Site(x + dx, y + dy) - Green(Reflect(x + dx, m_View.width), Reflect(y + dy, m_View.height));
            ++count;
        }
    }
    return std::clamp<std::int64_t>(Green(x, y) + FloorDivide(sum + count / 2, count), 0, (1 << m_Depth) - 1);
}

// --- pixels

Colour Picture::At(std::int64_t x, std::int64_t y) const {
    const double most = static_cast<double>((1 << m_Depth) - 1);
    const auto component = [&](char name) { return static_cast<double>(Component(x, y, name)); };
    switch (m_Info.model) {
    case ColourModel::Mono: {
        const double grey = component('Y');
        return {grey, grey, grey, most};
    }
    case ColourModel::Bayer: {
        Colour colour = {0, 0, 0, most};
        for (const int i : {0, 1, 2}) {
            const char name = "RGB"[i];
            colour[static_cast<std::size_t>(i)] = static_cast<double>(!m_EdgeAware ? Mean(x, y, name)
                                                                      : i == 1     ? Green(x, y)
                                                                                   : ByDifference(x, y, name));
        }
        return colour;
    }
    case ColourModel::Rgb: {
        const bool hasAlpha = m_Info.order.find('A') != std::string_view::npos;
        return {component('R'), component('G'), component('B'), hasAlpha ? component('A') : most};
    }
    default:
        return FromChroma(x, y);
    }
}

std::int64_t Picture::GreyAt(std::int64_t x, std::int64_t y) const {
    const Colour colour = At(x, y);
    if (m_Info.model == ColourModel::Mono) return static_cast<std::int64_t>(colour[0]);
    if (m_Info.model == ColourModel::Bayer || m_Info.model == ColourModel::Rgb)
        return static_cast<std::int64_t>(
            std::floor((19595 * colour[0] + 38470 * colour[1] + 7471 * colour[2]) / 65536 + 0.5));
    const bool isFull = m_Info.model == ColourModel::Yuv;
    const auto level = [&](std::int64_t code) {
        return static_cast<double>(Scaled(code << (m_Info.bits - 8), m_Info.bits));
    };
    const double most = static_cast<double>((1 << m_Depth) - 1), luma = static_cast<double>(Component(x, y, 'Y'));
    const double grey = isFull ? luma : (luma - level(16)) / (level(235) - level(16)) * most;
    return std::llround(std::clamp(grey, 0.0, most));
}

int Picture::Tolerance() const {
    const bool isExact =
        m_Info.model == ColourModel::Mono || m_Info.model == ColourModel::Bayer || m_Info.model == ColourModel::Rgb;
    return isExact ? 0 : m_Depth == 8 ? 1 : 12;
}

std::vector<std::int64_t> Samples(const PictureView& view, PixelFormat target, const ConvertOptions& options) {
    const bool isWide = target == PixelFormat::Mono16 || target == PixelFormat::RGB16;
    const Picture picture(view, isWide ? 16 : 8, options);
    const PixelFormatInfo& info = *FindPixelFormat(target);
    std::vector<std::int64_t> samples;
    for (std::int64_t y = 0; y < view.height; ++y) {
        for (std::int64_t x = 0; x < view.width; ++x) {
            if (info.model == ColourModel::Mono) {
                samples.push_back(picture.GreyAt(x, y));
                continue;
            }
            const Colour colour = picture.At(x, y);
            for (const char name : info.order)
                samples.push_back(std::llround(colour[std::string_view("RGBA").find(name)]));
        }
    }
    return samples;
}

} // namespace reference
