#pragma once
// What the nodes of one map share: its lock, the state of their caches, and what a change reaches.

#include "genapi/callback/CallbackRegistry.h"
#include "genapi/nodes/host/Graph.h"

#include <GenApi/INodeMap.h>
#include <GenApi/Synch/Lock.h>

#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace genapi {

class ChangeFrame;
class Node;
class RegisterIndex;
class RegisterNode;
struct RegisterPlace;
class WriteOperation;

/// The ground that nodes stand on. All but identity, names and links is guarded by Lock: where a node asks the host, an
/// operation of an application holds it. thread-safe through that lock
class NodeHost {
public:
    /// Nodes that read one another in turn. Chains of real cameras are twenty nodes long.
    static constexpr uint32_t kMaxDepth = 200;
    static constexpr const char* kTooDeep = "The nodes read one another in a circle or a chain that is too long";

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
    RegisterIndex& Registers();
    /// A register of computed place lies elsewhere now.
    void NoteMove(RegisterNode& node, const RegisterPlace& from, const RegisterPlace& to);
    /// Made when first asked for. Lock held.
    const DependencyGraph& Parents();
    const DependencyGraph& Selecting();  ///< by pSelected
    const DependencyGraph& SelectedBy(); ///< by pSelecting

    /// Caches of registers.
    bool IsValid(NodeIndex node) const { return StateOf(node).isValid; }
    void SetValid(NodeIndex node) { StateOf(node).isValid = true; }
    void SetInvalid(NodeIndex node) { StateOf(node).isValid = false; }
    void SetAllInvalid();
    bool RereadsItself(NodeIndex node);

    /// All nodes that a change of the sources reaches, the sources first, each once. The list lives until the next
    /// call.
    const std::vector<NodeIndex>& Reach(const std::vector<NodeIndex>& sources);

    /// Callbacks by node, in order of registration. Owned by the node.
    void AddCallback(NodeIndex node, GenApi::CNodeCallback* pCallback);
    bool RemoveCallback(NodeIndex node, GenApi::CNodeCallback* pCallback);
    const std::vector<RegisteredCallback>* CallbacksOf(NodeIndex node) const;

    /// A new generation makes all memories of the present operation stale.
    void NextGeneration() {
        m_Lock.AssertHeld();
        if (++m_Generation == 0) ForgetGenerations();
    }
    void NoteClosedPort() {
        m_Lock.AssertHeld();
        ++m_ClosedPortsMet;
    }
    uint32_t Generation() const {
        m_Lock.AssertHeld();
        return m_Generation;
    }

protected:
    struct NodeState {
        uint32_t mark = 0;             ///< of the last walk that met the node
        uint32_t accessGeneration = 0; ///< for which `access` holds
        uint8_t access = 0;
        bool isBehindClosedPort = false; ///< so is `access`
        bool isValid = false;
        bool hasCallbacks = false;
        bool isTerminal = false; ///< written by the present operation
    };

    NodeState& StateOf(NodeIndex node) {
        m_Lock.AssertHeld();
        return m_States[node];
    }
    const NodeState& StateOf(NodeIndex node) const {
        m_Lock.AssertHeld();
        return m_States[node];
    }

    /// Constant once the map is finished.
    GenApi::INodeMap* m_pFacade = nullptr;
    std::vector<Node*> m_Nodes; ///< owned by the map
    DependencyGraph m_Graph;

    mutable GenApi::CLock m_Lock;
    std::vector<NodeState> m_States TAVIX_GUARDED_BY(m_Lock);

private:
    /// Nodes that one operation of an application may visit: a group may ask all nodes of the map, each down a long
    /// chain. What needs more multiplies itself from node to node.
    static constexpr std::size_t kFreeSteps = 20000;
    static constexpr std::size_t kStepsPerNode = 50;

    friend class ChangeFrame;
    friend class Descent;
    friend class Node;
    friend class WriteOperation;

    void DestroyCallbacks();
    /// The nodes by whom names each in that property, made when first asked for.
    const DependencyGraph& NamedBy(std::unique_ptr<DependencyGraph>& pGraph, PropertyId id) TAVIX_REQUIRES(m_Lock);
    /// The count of generations has come round.
    void ForgetGenerations() TAVIX_REQUIRES(m_Lock);
    /// Begins an operation of an application.
    void BeginDescent() TAVIX_REQUIRES(m_Lock) {
        m_StepsLeft = kFreeSteps + kStepsPerNode * m_Nodes.size();
        NextGeneration();
    }

    uint32_t m_Mark TAVIX_GUARDED_BY(m_Lock) = 0;
    uint32_t m_Generation TAVIX_GUARDED_BY(m_Lock) = 1;
    uint32_t m_Depth TAVIX_GUARDED_BY(m_Lock) = 0;
    std::size_t m_StepsLeft TAVIX_GUARDED_BY(m_Lock) = 0;
    uint32_t m_CyclesMet TAVIX_GUARDED_BY(m_Lock) = 0;
    uint32_t m_ClosedPortsMet TAVIX_GUARDED_BY(m_Lock) = 0; ///< ports that gave no access when they were asked
    std::vector<NodeIndex> m_Queue TAVIX_GUARDED_BY(m_Lock);
    ChangeFrame* m_pFrame TAVIX_GUARDED_BY(m_Lock) = nullptr;        ///< innermost
    WriteOperation* m_pOperation TAVIX_GUARDED_BY(m_Lock) = nullptr; ///< the outermost one, while it writes
    std::unique_ptr<RegisterIndex> m_pRegisters TAVIX_GUARDED_BY(m_Lock);
    std::vector<bool> m_RereadsItself TAVIX_GUARDED_BY(m_Lock);              ///< by node, empty until it is asked for
    std::unique_ptr<DependencyGraph> m_pParents TAVIX_GUARDED_BY(m_Lock);    ///< who names a node as child
    std::unique_ptr<DependencyGraph> m_pSelecting TAVIX_GUARDED_BY(m_Lock);  ///< who names it as selected
    std::unique_ptr<DependencyGraph> m_pSelectedBy TAVIX_GUARDED_BY(m_Lock); ///< who names it as selecting
    std::unordered_map<NodeIndex, std::vector<RegisteredCallback>> m_Callbacks TAVIX_GUARDED_BY(m_Lock);

protected:
    /// To be called before the nodes go.
    void ReleaseCallbacks() { DestroyCallbacks(); }
};

/// Guards one step from a node to another: input may neither recurse without bound nor work for ever. bound to a thread
class Descent {
public:
    /// Throws RuntimeException when the chain is too deep or the operation too long.
    Descent(const Node& node, NodeHost& host) : m_Host(host) {
        host.m_Lock.AssertHeld();
        if (host.m_Depth == 0) host.BeginDescent();
        if (host.m_Depth >= NodeHost::kMaxDepth || host.m_StepsLeft == 0) Refuse(node);
        --host.m_StepsLeft;
        ++host.m_Depth;
    }
    explicit Descent(const Node& node);
    ~Descent() {
        m_Host.m_Lock.AssertHeld();
        --m_Host.m_Depth;
    }
    Descent(const Descent&) = delete;
    Descent& operator=(const Descent&) = delete;

private:
    [[noreturn]] void Refuse(const Node& node) const;

    NodeHost& m_Host;
};

} // namespace genapi
