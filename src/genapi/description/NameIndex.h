#pragma once
// Nodes by name.

#include "genapi/description/Property.h"

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace genapi {

/// A hash table with open addressing that numbers names in the order of their arrival. Large maps outgrow the
/// processor's caches, so slots are small, copies of the names lie close together, and many are looked up side by side.
/// bound to a thread while it grows, re-entrant afterwards
class NameIndex {
public:
    void Reserve(std::size_t count);
    /// The number of the new name, or kNoNode when it is taken.
    NodeIndex Insert(std::string_view name);
    /// Asks the memory for what Insert of this name will need.
    void Expect(std::string_view name) const;
    /// The index's own copy, which moves with it and lives as long.
    std::string_view NameOf(NodeIndex index) const { return m_Names[index]; }
    /// kNoNode when unknown.
    NodeIndex Find(std::string_view name) const;
    /// Fills in the targets of all links among the records.
    void Resolve(PropertyRecord* pRecords, std::size_t count) const;
    /// Gives the names other numbers: `numbers[old]` is the new one, a permutation of the old ones.
    void Renumber(const std::vector<NodeIndex>& numbers);
    std::size_t Count() const { return m_Names.size(); }

private:
    struct Slot {
        uint32_t tag = 0; ///< the hash's other half
        NodeIndex index = kNoNode;
    };
    struct Query;

    std::size_t Home(uint64_t hash) const { return static_cast<std::size_t>(hash) & (m_Slots.size() - 1); }
    std::size_t Probe(std::string_view name, uint64_t hash) const;
    void ResolveSome(Query* pQueries, std::size_t count) const;
    void Grow(std::size_t capacity);
    std::string_view Keep(std::string_view name);

    std::vector<Slot> m_Slots; ///< a power of two of them, at most half of them used
    std::vector<std::string_view> m_Names;
    std::vector<std::unique_ptr<char[]>> m_Blocks; ///< hold the copies
    char* m_Free = nullptr;                        ///< in the last block
    std::size_t m_Left = 0;                        ///< there
};

} // namespace genapi
