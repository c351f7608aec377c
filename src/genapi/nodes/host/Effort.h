#pragma once
// How deep and how long an operation of an application goes.

#include <cstddef>
#include <cstdint>

namespace genapi {

/// Input may neither recurse without bound nor work for ever. Guarded by the map's lock.
class Effort {
public:
    /// Nodes that read one another in turn. Chains of real cameras are twenty nodes long.
    static constexpr uint32_t kMaxDepth = 200;

    /// No operation is under way.
    bool IsIdle() const { return m_Depth == 0; }
    /// A new operation, in a map of so many nodes.
    void Begin(std::size_t nodes) { m_StepsLeft = kFreeSteps + kStepsPerNode * nodes; }
    /// One step from a node to another; false, and none is taken, when the chain is too deep or the operation too long.
    [[nodiscard]] bool Enter() {
        if (m_Depth >= kMaxDepth || m_StepsLeft == 0) return false;
        --m_StepsLeft;
        ++m_Depth;
        return true;
    }
    void Leave() { --m_Depth; }
    bool IsTooDeep() const { return m_Depth >= kMaxDepth; }

private:
    /// Nodes that one operation may visit: a group may ask all nodes of the map, each down a long chain. What needs
    /// more multiplies itself from node to node.
    static constexpr std::size_t kFreeSteps = 20000;
    static constexpr std::size_t kStepsPerNode = 50;

    uint32_t m_Depth = 0;
    std::size_t m_StepsLeft = 0;
};

} // namespace genapi
