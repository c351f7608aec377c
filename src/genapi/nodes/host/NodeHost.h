#pragma once
// What the nodes of one map share.

#include "genapi/nodes/host/AccessMemory.h"
#include "genapi/nodes/host/CacheStates.h"
#include "genapi/nodes/host/CallbackTable.h"
#include "genapi/nodes/host/ChangeReach.h"
#include "genapi/nodes/host/Effort.h"
#include "genapi/nodes/host/ReverseLinks.h"

#include <GenApi/INodeMap.h>
#include <GenApi/Synch/Lock.h>

#include <memory>
#include <string_view>
#include <vector>

namespace genapi {

class ChangeFrame;
class Node;
class RegisterIndex;
class RegisterNode;
struct RegisterPlace;
class WriteOperation;

/// The ground that nodes stand on: the lock, and the parts that it guards. Where a node asks the host, an operation of
/// an application holds the lock; the nodes and their links are constant once the map is finished. thread-safe through
/// that lock
class NodeHost {
public:
    NodeHost();
    virtual ~NodeHost();
    NodeHost(const NodeHost&) = delete;
    NodeHost& operator=(const NodeHost&) = delete;

    GenApi::CLock& Lock() const TAVIX_RETURN_CAPABILITY(m_Lock) { return m_Lock; }
    /// The object that applications see; null until somebody offers one.
    GenApi::INodeMap* Facade() const { return m_pFacade; }
    virtual GenICam::gcstring DeviceName() const = 0;
    /// Null when unknown; no name-space prefix.
    virtual Node* Find(std::string_view name) const = 0;

    const std::vector<Node*>& Nodes() const { return m_Nodes; }
    /// Null for kNoNode.
    Node* NodeAt(NodeIndex index) const { return index == kNoNode ? nullptr : m_Nodes[index]; }

    // The parts; lock held.
    AccessMemory& Modes() {
        m_Lock.AssertHeld();
        return m_Modes;
    }
    CacheStates& Caches() {
        m_Lock.AssertHeld();
        return m_Caches;
    }
    CallbackTable& Callbacks() {
        m_Lock.AssertHeld();
        return m_Callbacks;
    }
    ChangeReach& Reach() {
        m_Lock.AssertHeld();
        return m_Reach;
    }
    Effort& Work() {
        m_Lock.AssertHeld();
        return m_Effort;
    }
    ReverseLinks& Named() {
        m_Lock.AssertHeld();
        return m_ReverseLinks;
    }
    RegisterIndex& Registers();
    /// A register of computed place lies elsewhere now.
    void NoteMove(RegisterNode& node, const RegisterPlace& from, const RegisterPlace& to);

    /// An operation of an application.
    void BeginOperation() {
        m_Lock.AssertHeld();
        m_Effort.Begin(m_Nodes.size());
        m_Modes.NextGeneration();
    }

protected:
    /// The parts have room for so many nodes.
    void ResizeParts(std::size_t nodes);
    /// To be called before the nodes go.
    void ReleaseCallbacks();

    /// Constant once the map is finished.
    GenApi::INodeMap* m_pFacade = nullptr;
    std::vector<Node*> m_Nodes; ///< owned by the map

private:
    friend class ChangeFrame;
    friend class WriteOperation;

    mutable GenApi::CLock m_Lock;
    AccessMemory m_Modes TAVIX_GUARDED_BY(m_Lock);
    CacheStates m_Caches TAVIX_GUARDED_BY(m_Lock);
    CallbackTable m_Callbacks TAVIX_GUARDED_BY(m_Lock);
    ChangeReach m_Reach TAVIX_GUARDED_BY(m_Lock);
    Effort m_Effort TAVIX_GUARDED_BY(m_Lock);
    ReverseLinks m_ReverseLinks TAVIX_GUARDED_BY(m_Lock);
    std::unique_ptr<RegisterIndex> m_pRegisters TAVIX_GUARDED_BY(m_Lock); ///< made when first asked for
    ChangeFrame* m_pFrame TAVIX_GUARDED_BY(m_Lock) = nullptr;             ///< innermost
    WriteOperation* m_pOperation TAVIX_GUARDED_BY(m_Lock) = nullptr;      ///< the outermost one, while it writes
};

} // namespace genapi
