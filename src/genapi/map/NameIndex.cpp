#include "genapi/map/NameIndex.h"

namespace genapi {

uint64_t NameIndex::Hash(std::string_view name) {
    uint64_t hash = 14695981039346656037u; // FNV-1a
    for (const char character : name)
        hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211u;
    return hash ^ hash >> 32;
}

std::size_t NameIndex::Probe(std::string_view name, uint64_t hash) const {
    const std::size_t mask = m_Slots.size() - 1;
    std::size_t position = hash & mask;
    while (m_Slots[position].index != kNone) {
        const Slot& slot = m_Slots[position];
        if (slot.hash == hash && slot.name == name) break;
        position = (position + 1) & mask;
    }
    return position;
}

void NameIndex::Grow(std::size_t capacity) {
    std::vector<Slot> old(capacity);
    old.swap(m_Slots);
    for (const Slot& slot : old) {
        if (slot.index != kNone) m_Slots[Probe(slot.name, slot.hash)] = slot;
    }
}

void NameIndex::Reserve(std::size_t count) {
    std::size_t capacity = 16;
    while (capacity < 2 * count)
        capacity *= 2;
    if (capacity > m_Slots.size()) Grow(capacity);
}

bool NameIndex::Insert(std::string_view name, NodeIndex index) {
    Reserve(m_Count + 1);
    const uint64_t hash = Hash(name);
    Slot& slot = m_Slots[Probe(name, hash)];
    if (slot.index != kNone) return false;
    slot = {name, hash, index};
    ++m_Count;
    return true;
}

NodeIndex NameIndex::Find(std::string_view name) const {
    return m_Slots.empty() ? kNone : m_Slots[Probe(name, Hash(name))].index;
}

} // namespace genapi
