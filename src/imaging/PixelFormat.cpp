#include <tavix/imaging/PixelFormat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace Tavix::imaging {
namespace {

constexpr PixelFormatInfo kRows[] = {
#define TAVIX_PIXEL_FORMAT(name, code, bits, packing, model, phase, order)                                             \
    {PixelFormat::name, #name, bits, Packing::packing, ColourModel::model, BayerPhase::phase, order, -1},
#define TAVIX_SDK_PIXEL_FORMAT(type, name, code, bits, packing, model, phase, order)                                   \
    {PixelFormat::name,     #name, bits, Packing::packing, ColourModel::model, BayerPhase::phase, order,               \
     static_cast<int>(type)},
#include <tavix/imaging/PixelFormats.inc>
};

using Index = std::array<std::uint16_t, std::size(kRows)>;

/// Rows by code, ascending; the table itself stands in families.
constexpr Index ByCode() {
    Index index{};
    for (std::size_t i = 0; i < index.size(); ++i) {
        std::size_t place = i;
        for (; place > 0 && kRows[index[place - 1]].format > kRows[i].format; --place)
            index[place] = index[place - 1];
        index[place] = static_cast<std::uint16_t>(i);
    }
    return index;
}

constexpr Index kByCode = ByCode();

constexpr bool HasEachCodeOnce() {
    for (std::size_t i = 1; i < kByCode.size(); ++i) {
        if (kRows[kByCode[i - 1]].format == kRows[kByCode[i]].format) return false;
    }
    return true;
}
static_assert(HasEachCodeOnce(), "a code stands in one row");

template<class Matches>
const PixelFormatInfo* FindRow(Matches matches) {
    const auto row = std::find_if(std::begin(kRows), std::end(kRows), matches);
    return row == std::end(kRows) ? nullptr : row;
}

} // namespace

PixelFormatTable PixelFormats() noexcept {
    return {kRows, std::size(kRows)};
}

const PixelFormatInfo* FindPixelFormat(PixelFormat format) noexcept {
    const auto row = std::lower_bound(kByCode.begin(), kByCode.end(), format,
                                      [](std::uint16_t i, PixelFormat code) { return kRows[i].format < code; });
    return row == kByCode.end() || kRows[*row].format != format ? nullptr : &kRows[*row];
}

const PixelFormatInfo* FindPixelFormat(std::string_view name) noexcept {
    return FindRow([name](const PixelFormatInfo& row) { return row.name == name; });
}

const PixelFormatInfo* FindPixelType(std::int32_t pixelType) noexcept {
    if (pixelType == -1) return nullptr;
    return FindRow([pixelType](const PixelFormatInfo& row) { return row.pixelType == pixelType; });
}

std::string NameOf(PixelFormat format) {
    if (const PixelFormatInfo* info = FindPixelFormat(format)) return std::string(info->name);
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned int>(format));
    return text;
}

} // namespace Tavix::imaging
