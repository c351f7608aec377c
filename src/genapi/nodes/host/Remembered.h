#pragma once
// A number that a node has computed in the present operation.

#include "genapi/nodes/host/NodeHost.h"

#include <cstdint>

namespace genapi {

/// Nodes that name another one twice would otherwise double the work from node to node. Guarded by the map's lock.
template<class Number>
class Remembered {
public:
    /// The number, computed at most once in an operation. A fresh one was computed with all caches ignored.
    template<class Compute>
    Number Get(NodeHost& host, bool isFresh, Compute compute) {
        const uint64_t generation = host.Modes().Generation();
        if ((isFresh ? m_FreshGeneration : m_Generation) == generation) return m_Number;
        m_Number = compute();
        m_Generation = generation;
        if (isFresh) m_FreshGeneration = generation;
        return m_Number;
    }

private:
    uint64_t m_Generation = 0;
    uint64_t m_FreshGeneration = 0;
    Number m_Number = Number();
};

} // namespace genapi
