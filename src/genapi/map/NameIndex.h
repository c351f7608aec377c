#pragma once
// Nodes by name.

#include "genapi/nodes/Graph.h"

#include <string_view>
#include <vector>

namespace genapi {

// A hash table with open addressing. The names are borrowed. bound to a thread while it grows, re-entrant afterwards
class NameIndex {
public:
    static constexpr NodeIndex kNone = 0xFFFFFFFF;

    void Reserve(std::size_t count);
    // False when the name is taken.
    bool Insert(std::string_view name, NodeIndex index);
    NodeIndex Find(std::string_view name) const;

private:
    struct Slot {
        std::string_view name;
        uint64_t hash = 0;
        NodeIndex index = kNone;
    };
    static uint64_t Hash(std::string_view name);
    std::size_t Probe(std::string_view name, uint64_t hash) const;
    void Grow(std::size_t capacity);

    std::vector<Slot> m_Slots; // a power of two of them, at most half of them used
    std::size_t m_Count = 0;
};

} // namespace genapi
