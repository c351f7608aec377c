#include "genapi/description/Property.h"

#include <array>

namespace genapi {

namespace {

constexpr std::size_t kSlotCount = 512;
constexpr uint8_t kEmpty = 0xFF;
static_assert(kPropertyCount < kEmpty);

// Three characters and the length tell all properties apart; the factors are such that none shares a slot.
constexpr std::size_t SlotOf(std::string_view name) {
    const auto at = [name](std::size_t i) { return std::size_t{static_cast<uint8_t>(name[i])}; };
    return (at(0) * 244 + at(name.size() / 2) * 328 + at(name.size() - 1) * 499 + name.size() * 416) % kSlotCount;
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
    if (name.empty() || name.size() > kLongestName) return std::nullopt;
    for (std::size_t at = SlotOf(name); kSlots[at] != kEmpty; at = (at + 1) % kSlotCount) {
        if (kPropertyNames[kSlots[at]] == name) return static_cast<PropertyId>(kSlots[at]);
    }
    return std::nullopt;
}

} // namespace genapi
