#pragma once
// What takes access away from a node, besides the nodes that it reads and writes.

#include "genapi/nodes/base/Imposable.h"

#include <GenApi/Types.h>

namespace genapi {

struct BoundProperty;
class Node;

/// Predicates, and what was imposed. The predicates are constant once the map is finished; all is guarded by the map's
/// lock.
class AccessRule {
public:
    /// A property that does not concern it changes nothing.
    void Bind(const BoundProperty& property);
    void Impose(GenApi::EAccessMode mode) { m_Imposed.Impose(mode); }

    // Null when there is none.
    Node* ImplementedBy() const { return m_pIsImplemented; }
    Node* AvailableBy() const { return m_pIsAvailable; }
    Node* LockedBy() const { return m_pIsLocked; }
    /// Asks the predicate that says so, if there is one.
    bool IsImplemented() const;
    /// What all predicates leave. They pass on what ports throw.
    GenApi::EAccessMode Own() const;
    GenApi::EAccessMode Imposed() const { return m_Imposed.Get(); }

private:
    Node* m_pIsImplemented = nullptr;
    Node* m_pIsAvailable = nullptr;
    Node* m_pIsLocked = nullptr;
    Imposable<GenApi::EAccessMode> m_Imposed{GenApi::RW};
};

} // namespace genapi
