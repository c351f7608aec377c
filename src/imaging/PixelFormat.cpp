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

// Rows by code. Every image asks, so that a glance must do: a hash table, made by the compiler, more than half empty.
constexpr std::size_t kSlots = 512;
constexpr std::uint16_t kEmpty = UINT16_MAX;
using Slots = std::array<std::uint16_t, kSlots>;
static_assert(2 * std::size(kRows) < kSlots);

constexpr std::size_t FirstSlot(PixelFormat format) {
    return (static_cast<std::uint32_t>(format) * 2654435761U) >> 23;
}

/// Where the format stands, or the empty slot where it would.
constexpr std::size_t SlotOf(const Slots& slots, PixelFormat format) {
    std::size_t slot = FirstSlot(format);
    while (slots[slot] != kEmpty && kRows[slots[slot]].format != format)
        slot = (slot + 1) % kSlots;
    return slot;
}

constexpr Slots ByCode() {
    Slots slots{};
    for (std::uint16_t& slot : slots)
        slot = kEmpty;
    for (std::size_t i = 0; i < std::size(kRows); ++i)
        slots[SlotOf(slots, kRows[i].format)] = static_cast<std::uint16_t>(i);
    return slots;
}

constexpr Slots kByCode = ByCode();

constexpr bool HasEachCodeOnce() {
    for (std::size_t i = 0; i < std::size(kRows); ++i) {
        if (kByCode[SlotOf(kByCode, kRows[i].format)] != i) return false;
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

[[gnu::hot]] const PixelFormatInfo* FindPixelFormat(PixelFormat format) noexcept {
    const std::uint16_t row = kByCode[SlotOf(kByCode, format)];
    return row == kEmpty ? nullptr : &kRows[row];
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
