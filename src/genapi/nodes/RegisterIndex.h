#pragma once
// Which register nodes show the same bytes.

#include "genapi/nodes/Graph.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace genapi {

class Node;
class PortNode;
class RegisterNode;

// Made when the first register is written. Constant afterwards, but for the patterns, which the map's lock guards.
class RegisterIndex {
public:
    explicit RegisterIndex(const std::vector<Node*>& nodes);

    // The other registers of the same port that share bytes, as far as addresses are constant or spelt alike.
    std::vector<RegisterNode*> Overlapping(const RegisterNode& changed) const;

    // What was written last to a register that cannot be read; empty when nothing was.
    const std::vector<uint8_t>& Pattern(const PortNode* pPort, int64_t address) const;
    void SetPattern(const PortNode* pPort, int64_t address, const uint8_t* pBytes, std::size_t length);

private:
    struct Place {
        const PortNode* pPort;
        uint64_t first;
        uint64_t length;
        RegisterNode* pNode;
    };
    using Key = std::pair<const PortNode*, int64_t>;
    struct KeyHash {
        std::size_t operator()(const Key& key) const;
    };

    void AddOverlapping(const std::vector<Place>& places, uint64_t longest, const RegisterNode& changed,
                        std::vector<RegisterNode*>& found) const;

    // Registers with constant addresses, sorted; long ones apart, so that a search backwards stays short.
    std::vector<Place> m_Short;
    std::vector<Place> m_Long;
    std::unordered_map<std::string, std::vector<RegisterNode*>> m_BySpelling; // of variable addresses
    std::unordered_map<Key, std::vector<uint8_t>, KeyHash> m_Patterns;
};

} // namespace genapi
