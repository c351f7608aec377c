#include "virtualcam/firmware/Scene.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace virtualcam {
namespace {

constexpr std::uint16_t kWhite = 4095;
constexpr std::uint32_t kPatterns = 2;
constexpr std::uint32_t kStep = 2;      // pixels that the picture moves with each frame
constexpr std::uint32_t kViewStep = 32; // pixels between two views
constexpr std::uint32_t kBarWidth = 96;
constexpr std::uint32_t kSquare = 64;
constexpr std::uint32_t kStripes = 4; // lines of the moving stripe in the black picture
constexpr std::uint32_t kDigits = 6;
constexpr std::uint32_t kBoxColumns = kDigits * 6 + 1; // font pixels: five for a digit, one between
constexpr std::uint32_t kBoxRows = 9;

// Five columns by seven rows, the leftmost column in bit 4.
constexpr std::uint8_t kFont[10][7] = {
    {14, 17, 19, 21, 25, 17, 14}, {4, 12, 4, 4, 4, 4, 14},    {14, 17, 1, 2, 4, 8, 31},   {31, 2, 4, 2, 1, 17, 14},
    {2, 6, 10, 18, 31, 2, 2},     {31, 16, 30, 1, 1, 17, 14}, {6, 8, 16, 30, 17, 17, 14}, {31, 1, 2, 4, 8, 8, 8},
    {14, 17, 17, 14, 17, 17, 14}, {14, 17, 17, 15, 1, 2, 12}};

std::uint32_t Period(TestPattern pattern) {
    switch (pattern) {
    case TestPattern::ColorBars:
        return 8 * kBarWidth;
    case TestPattern::Checker:
        return 2 * kSquare;
    default:
        return 256;
    }
}

std::size_t PairBytes(PixelFormat format) {
    return std::size_t{BitsPerPixel(format)} * 2 / 8;
}

bool IsMono(PixelFormat format) {
    const Tavix::imaging::PixelFormatInfo* info = Tavix::imaging::FindPixelFormat(format);
    return info && info->model == Tavix::imaging::ColourModel::Mono;
}

bool SameStrips(const Geometry& a, const Geometry& b) {
    return a.width == b.width && a.format == b.format && a.pattern == b.pattern && a.reverseX == b.reverseX &&
           a.binningX == b.binningX;
}

} // namespace

void Scene::Begin(const Geometry& geometry, std::shared_ptr<const Look> look, std::uint64_t number) {
    const bool same = !m_Strips.empty() && m_Look == look && SameStrips(geometry, m_Geometry);
    m_Geometry = geometry;
    m_Look = std::move(look);
    m_Number = number;
    m_LineBytes = geometry.LineBytes();
    m_PixelPairBytes = PairBytes(geometry.format);
    if (!same) MakeStrips();
    MakeBox();
}

// --- strips

Scene::Light Scene::At(std::uint32_t kind, std::uint32_t x) const {
    const auto grey = [](std::uint32_t value) {
        const std::uint16_t v = static_cast<std::uint16_t>(value);
        return Light{v, v, v};
    };
    switch (m_Geometry.pattern) {
    case TestPattern::Black:
        return grey(kind == 0 ? 0 : kWhite);
    case TestPattern::ColorBars: {
        const std::uint32_t bar = 7 - x / kBarWidth % 8; // from white down to black
        const auto on = [bar](std::uint32_t bit) { return static_cast<std::uint16_t>((bar & bit) != 0 ? kWhite : 0); };
        return {on(2), on(4), on(1)};
    }
    case TestPattern::Checker:
        return (x / kSquare % 2 == kind) ? Light{3600, 3400, 2600} : Light{300, 500, 1400};
    default: {
        const std::uint32_t value = x % 256 * 16;
        if (IsMono(m_Geometry.format)) return grey(value);
        return {static_cast<std::uint16_t>(value), static_cast<std::uint16_t>((value + 1360) % 4096),
                static_cast<std::uint16_t>((value + 2720) % 4096)};
    }
    }
}

void Scene::MakeStrips() {
    const std::uint32_t pixels = m_Geometry.width + Period(m_Geometry.pattern);
    m_Strips.clear(); // without memory the next image makes them
    std::vector<Bytes> strips(std::size_t{kPatterns} * 2);
    for (std::uint32_t kind = 0; kind < kPatterns; ++kind)
        for (std::uint32_t parity = 0; parity < 2; ++parity) {
            Bytes& strip = strips[kind * 2 + parity];
            strip.reserve(PixelBytes(pixels) + 8);
            for (std::uint32_t x = 0; x < pixels; ++x) {
                const std::uint32_t seen = m_Geometry.reverseX ? pixels - 1 - x : x;
                DrawPixels(strip, x, At(kind, seen * m_Geometry.binningX), parity);
            }
        }
    m_Strips = std::move(strips);
}

// Appends one pixel; where two share bytes the second completes them.
void Scene::DrawPixels(Bytes& to, std::uint32_t x, const Light& light, std::uint32_t parity) const {
    const std::uint32_t r = m_Look->map[0][light[0]], g = m_Look->map[1][light[1]], b = m_Look->map[2][light[2]];
    const std::uint32_t luma = (r * 77 + g * 150 + b * 29) >> 8;
    const auto byte = [&to](std::uint32_t value) { to.push_back(static_cast<std::uint8_t>(value)); };
    const auto chroma = [luma](std::uint32_t value, std::int32_t divisor) {
        const std::int32_t difference = (static_cast<std::int32_t>(value) - static_cast<std::int32_t>(luma)) / 16;
        return static_cast<std::uint32_t>(std::clamp(128 + difference * 1000 / divisor, 0, 255));
    };
    switch (m_Geometry.format) {
    case PixelFormat::Mono8:
        byte(luma >> 4);
        break;
    case PixelFormat::Mono12:
        byte(luma & 0xFF);
        byte(luma >> 8);
        break;
    case PixelFormat::Mono12p:
        if (x % 2 == 0) {
            byte(luma & 0xFF);
            byte(luma >> 8);
        } else {
            to.back() = static_cast<std::uint8_t>(to.back() | (luma & 0xF) << 4);
            byte(luma >> 4);
        }
        break;
    case PixelFormat::BayerRG8:
        byte((parity == 0 ? (x % 2 == 0 ? r : g) : (x % 2 == 0 ? g : b)) >> 4);
        break;
    case PixelFormat::RGB8:
        byte(r >> 4);
        byte(g >> 4);
        byte(b >> 4);
        break;
    case PixelFormat::BGR8:
        byte(b >> 4);
        byte(g >> 4);
        byte(r >> 4);
        break;
    case PixelFormat::YCbCr422_8:
        byte(luma >> 4);
        byte(x % 2 == 0 ? chroma(b, 1772) : chroma(r, 1402));
        break;
    default: // ImageFormat offers no other
        break;
    }
}

// Where in which strip line y begins: always at an even pixel, so that colours and packed pairs keep their places.
const std::uint8_t* Scene::LineStart(std::uint32_t y) const {
    const std::uint64_t moved = m_Number * kStep;
    const std::uint32_t row = m_Geometry.reverseY ? m_Geometry.height - 1 - y : y;
    const std::uint64_t sceneY = (std::uint64_t{row} + m_Geometry.offsetY) * m_Geometry.binningY;
    std::uint64_t shift = m_Geometry.offsetX + moved + std::uint64_t{m_View} * kViewStep;
    std::uint32_t kind = 0;
    switch (m_Geometry.pattern) {
    case TestPattern::Gradient:
        shift += sceneY / 2 * 2;
        break;
    case TestPattern::Checker:
        kind = sceneY / kSquare % 2;
        break;
    case TestPattern::Black:
        kind = (sceneY + 4 * m_Number) / kStripes % 128 == 0;
        break;
    default:
        break;
    }
    const std::uint32_t period = Period(m_Geometry.pattern);
    std::uint32_t pixel = static_cast<std::uint32_t>(shift % period);
    if (m_Geometry.reverseX) pixel = (period - pixel) % period;
    return m_Strips[kind * 2 + y % 2].data() + PixelBytes(pixel);
}

// --- the frame's number

void Scene::MakeBox() {
    m_Box.width = 0;
    const std::uint32_t scale = std::min(m_Geometry.width / 2 / kBoxColumns, m_Geometry.height / 3 / kBoxRows) / 2 * 2;
    if (scale == 0) return;
    m_Box.scale = scale;
    m_Box.left = m_Geometry.width / 16 / 2 * 2;
    m_Box.top = m_Geometry.height / 16 / 2 * 2;
    m_Box.width = kBoxColumns * scale;
    m_Box.height = kBoxRows * scale;
    m_Box.rows.resize(kBoxRows);
    for (std::uint32_t row = 0; row < kBoxRows; ++row)
        MakeBoxRow(m_Box.rows[row], row);
}

void Scene::MakeBoxRow(Bytes& row, std::uint32_t fontRow) const {
    // Two pixels of ink and of paper; parity does not matter, as grey is the same on all colour filters' places.
    Bytes paper, ink;
    for (std::uint32_t x = 0; x < 2; ++x) {
        DrawPixels(paper, x, {0, 0, 0}, 0);
        DrawPixels(ink, x, {kWhite, kWhite, kWhite}, 0);
    }
    row.clear();
    std::uint64_t rest = m_Number % 1000000;
    std::array<std::uint8_t, kDigits> digits{};
    for (std::size_t i = kDigits; i-- > 0; rest /= 10)
        digits[i] = static_cast<std::uint8_t>(rest % 10);
    if (m_View != 0) digits[0] = static_cast<std::uint8_t>(m_View % 10);
    for (std::uint32_t column = 0; column < kBoxColumns; ++column) {
        const bool margin = column % 6 == 0 || fontRow == 0 || fontRow == kBoxRows - 1;
        const bool inked = !margin && (kFont[digits[column / 6]][fontRow - 1] >> (5 - column % 6) & 1) != 0;
        const Bytes& pair = inked ? ink : paper;
        for (std::uint32_t i = 0; i < m_Box.scale / 2; ++i)
            row.insert(row.end(), pair.begin(), pair.end());
    }
}

// --- drawing

void Scene::DrawLine(std::uint32_t y, std::size_t from, std::uint8_t* to, std::size_t count) const {
    std::memcpy(to, LineStart(y) + from, count);
    if (m_Box.width == 0 || y < m_Box.top || y - m_Box.top >= m_Box.height) return;
    const Bytes& row = m_Box.rows[(y - m_Box.top) / m_Box.scale];
    const std::size_t boxBegin = PixelBytes(m_Box.left);
    const std::size_t begin = std::max(from, boxBegin);
    const std::size_t end = std::min(from + count, boxBegin + row.size());
    if (begin < end) std::memcpy(to + (begin - from), row.data() + (begin - boxBegin), end - begin);
}

void Scene::Draw(std::size_t offset, std::uint8_t* to, std::size_t count) const {
    while (count != 0) {
        const std::uint32_t y = static_cast<std::uint32_t>(offset / m_LineBytes);
        const std::size_t from = offset % m_LineBytes;
        const std::size_t part = std::min(count, m_LineBytes - from);
        DrawLine(y, from, to, part);
        offset += part;
        to += part;
        count -= part;
    }
}

} // namespace virtualcam
