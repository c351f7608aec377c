#pragma once
// One step from a node to another.

#include "genapi/nodes/host/NodeHost.h"

namespace genapi {

/// Guards the step: input may neither recurse without bound nor work for ever. The outermost one begins an operation.
/// bound to a thread
class Descent {
public:
    static constexpr const char* kTooDeep = "The nodes read one another in a circle or a chain that is too long";

    /// Throws RuntimeException when the chain is too deep or the operation too long.
    Descent(const Node& node, NodeHost& host) : m_Effort(host.Work()) {
        if (m_Effort.IsIdle()) host.BeginOperation();
        if (!m_Effort.Enter()) Refuse(node);
    }
    explicit Descent(const Node& node);
    ~Descent() { m_Effort.Leave(); }
    Descent(const Descent&) = delete;
    Descent& operator=(const Descent&) = delete;

private:
    [[noreturn]] void Refuse(const Node& node) const;

    Effort& m_Effort;
};

} // namespace genapi
