#include "genapi/nodes/host/NodeHost.h"

#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/register/RegisterIndex.h"

#include <algorithm>
#include <cstddef>

namespace genapi {

NodeHost::NodeHost() = default;
NodeHost::~NodeHost() = default;

RegisterIndex& NodeHost::Registers() {
    m_Lock.AssertHeld();
    if (!m_pRegisters) m_pRegisters = std::make_unique<RegisterIndex>(m_Nodes);
    return *m_pRegisters;
}

void NodeHost::NoteMove(RegisterNode& node, const RegisterPlace& from, const RegisterPlace& to) {
    m_Lock.AssertHeld();
    if (m_pRegisters) m_pRegisters->Move(node, from, to);
}

void NodeHost::SetAllInvalid() {
    m_Lock.AssertHeld();
    for (NodeState& state : m_States)
        state.isValid = false;
}

bool NodeHost::RereadsItself(NodeIndex node) {
    m_Lock.AssertHeld();
    if (m_RereadsItself.empty()) m_RereadsItself = m_Graph.FindSelfInvalidating();
    return m_RereadsItself[node];
}

const std::vector<NodeIndex>& NodeHost::Reach(const std::vector<NodeIndex>& sources) {
    m_Lock.AssertHeld();
    if (++m_Mark == 0) {
        for (NodeState& state : m_States)
            state.mark = 0;
        m_Mark = 1;
    }
    m_Queue.clear();
    const auto meet = [this](NodeIndex node) {
        m_Lock.AssertHeld();
        if (m_States[node].mark == m_Mark) return;
        m_States[node].mark = m_Mark;
        m_Queue.push_back(node);
    };
    for (const NodeIndex source : sources)
        meet(source);
    for (std::size_t head = 0; head < m_Queue.size(); ++head) {
        for (const DependencyGraph::Link link : m_Graph.DependentsOf(m_Queue[head]))
            meet(link.target);
    }
    return m_Queue;
}

void NodeHost::AddCallback(NodeIndex node, GenApi::CNodeCallback* pCallback) {
    m_Lock.AssertHeld();
    m_Callbacks[node].push_back(CallbackRegistry::Instance().Add(pCallback, m_Nodes[node]));
    m_States[node].hasCallbacks = true;
}

bool NodeHost::RemoveCallback(NodeIndex node, GenApi::CNodeCallback* pCallback) {
    m_Lock.AssertHeld();
    const auto found = m_Callbacks.find(node);
    if (found == m_Callbacks.end()) return false;
    std::vector<RegisteredCallback>& list = found->second;
    const auto isIt = [pCallback](const RegisteredCallback& other) { return other.pCallback == pCallback; };
    const auto position = std::find_if(list.begin(), list.end(), isIt);
    if (position == list.end()) return false;
    list.erase(position);
    CallbackRegistry::Instance().Remove(pCallback);
    if (list.empty()) {
        m_Callbacks.erase(found);
        m_States[node].hasCallbacks = false;
    }
    return true;
}

const std::vector<RegisteredCallback>* NodeHost::CallbacksOf(NodeIndex node) const {
    m_Lock.AssertHeld();
    if (!m_States[node].hasCallbacks) return nullptr;
    const auto found = m_Callbacks.find(node);
    return found == m_Callbacks.end() ? nullptr : &found->second;
}

void NodeHost::DestroyCallbacks() {
    std::unordered_map<NodeIndex, std::vector<RegisteredCallback>> all;
    {
        const GenApi::AutoLock lock(m_Lock);
        all.swap(m_Callbacks);
    }
    for (const auto& [node, list] : all) {
        for (const RegisteredCallback& callback : list)
            CallbackRegistry::Instance().Retire(callback.pCallback);
    }
}

void NodeHost::ForgetGenerations() {
    for (NodeState& state : m_States)
        state.accessGeneration = 0;
    m_Generation = 1;
}

Descent::Descent(const Node& node) : Descent(node, node.Host()) {}

void Descent::Refuse(const Node& node) const {
    m_Host.m_Lock.AssertHeld();
    if (m_Host.m_Depth >= NodeHost::kMaxDepth) {
        ThrowRuntime(node, "Access", NodeHost::kTooDeep);
    }
    ThrowRuntime(node, "Access", "The operation needs too many nodes");
}

} // namespace genapi
