#include "genapi/description/Property.h"

#include <array>

namespace genapi {

namespace {

constexpr std::size_t kSlotCount = 512;
constexpr uint8_t kEmpty = 0xFF;
static_assert(kPropertyCount < kEmpty);

constexpr std::size_t SlotOf(std::string_view name) {
    uint32_t hash = 2166136261U;
    for (const char c : name)
        hash = (hash ^ static_cast<uint8_t>(c)) * 16777619U;
    return (hash ^ (hash >> 15U)) % kSlotCount;
}

constexpr std::array<uint8_t, kSlotCount> MakeSlots() {
    std::array<uint8_t, kSlotCount> slots{};
    for (uint8_t& slot : slots)
        slot = kEmpty;
    for (std::size_t i = 0; i < kPropertyCount; ++i) {
        std::size_t at = SlotOf(kPropertyNames[i]);
        while (slots[at] != kEmpty)
            at = (at + 1) % kSlotCount;
        slots[at] = static_cast<uint8_t>(i);
    }
    return slots;
}

constexpr std::array<uint8_t, kSlotCount> kSlots = MakeSlots();
constexpr std::size_t kLongestName = 17; // ImposedAccessMode

} // namespace

std::optional<PropertyId> FindProperty(std::string_view name) noexcept {
    if (name.size() > kLongestName) return std::nullopt;
    for (std::size_t at = SlotOf(name); kSlots[at] != kEmpty; at = (at + 1) % kSlotCount) {
        if (kPropertyNames[kSlots[at]] == name) return static_cast<PropertyId>(kSlots[at]);
    }
    return std::nullopt;
}

} // namespace genapi
