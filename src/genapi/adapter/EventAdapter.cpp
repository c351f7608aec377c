#include "genapi/adapter/EventPortState.h"
#include "genapi/adapter/HexId.h"
#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/host/Operation.h"

#include <Base/GCException.h>
#include <GenApi/EventAdapterGeneric.h>
#include <GenApi/Synch/Lock.h>

#include <memory>
#include <optional>

namespace GenApi {

namespace {

// Tells all nodes of one event at once, so that a callback that hears of several of them runs once. Nodes of a foreign
// engine are told one by one.
void Announce(const std::vector<INode*>& nodes) {
    std::vector<genapi::NodeIndex> own;
    genapi::NodeHost* pHost = nullptr;
    for (INode* const pNode : nodes) {
        genapi::Node* const pOwn = dynamic_cast<genapi::Node*>(pNode);
        if (!pOwn) {
            pNode->InvalidateNode();
            continue;
        }
        pHost = &pOwn->Host();
        own.push_back(pOwn->Index());
    }
    if (!pHost) return;
    genapi::ChangeFrame frame(*pHost);
    frame.Invalidate(own);
    frame.Finish();
}

} // namespace

CEventAdapter::CEventAdapter(INodeMap* pNodeMap) : m_pNodeMap(nullptr) {
    if (pNodeMap) AttachNodeMap(pNodeMap);
}

CEventAdapter::~CEventAdapter() {
    DetachNodeMap();
}

void CEventAdapter::AttachNodeMap(INodeMap* pNodeMap) {
    DetachNodeMap();
    if (!pNodeMap) return;
    NodeList_t nodes;
    pNodeMap->GetNodes(nodes);
    for (INode* const pNode : nodes) {
        auto pPort = std::make_unique<CEventPort>();
        if (!pPort->AttachNode(pNode)) continue;
        m_EventPorts.push_back(std::move(pPort));
    }
    m_pNodeMap = pNodeMap;
}

void CEventAdapter::DetachNodeMap() {
    std::vector<std::unique_ptr<CEventPort>> ports;
    ports.swap(m_EventPorts);
    m_pNodeMap = nullptr;
}

void CEventAdapter::Deliver(const uint8_t msg[], uint32_t numBytes, uint64_t eventId) {
    if (!m_pNodeMap) throw LOGICAL_ERROR_EXCEPTION("The event adapter is not attached to a node map.");
    if (!msg && numBytes > 0) throw INVALID_ARGUMENT_EXCEPTION("The event message is null.");
    std::vector<INode*> told;
    CEventPort::State* pFirst = nullptr; // of the ports that get the bytes
    {
        const AutoLock lock(m_pNodeMap->GetLock());
        for (const auto& pPort : m_EventPorts) {
            CEventPort::State& state = *pPort->m_pState;
            if (state.id != eventId) continue;
            told.push_back(state.pNode);
            if (!state.pPort) continue;
            if (pFirst) {
                state.ShareBytesOf(*pFirst);
            } else {
                pFirst = &state;
                state.Fill(msg, numBytes);
            }
        }
    }
    Announce(told);
}

CEventAdapterGeneric::CEventAdapterGeneric(INodeMap* pNodeMap) : CEventAdapter(pNodeMap) {}

void CEventAdapterGeneric::DeliverMessage(const uint8_t[], uint32_t) {
    throw INVALID_ARGUMENT_EXCEPTION("The event ID is missing.");
}

void CEventAdapterGeneric::DeliverMessage(const uint8_t msg[], uint32_t numBytes, const GenICam::gcstring& EventID) {
    const std::optional<uint64_t> id = genapi::ParseId(EventID.view());
    if (!id) throw INVALID_ARGUMENT_EXCEPTION("'%s' is no event ID.", EventID.c_str());
    Deliver(msg, numBytes, *id);
}

void CEventAdapterGeneric::DeliverMessage(const uint8_t msg[], uint32_t numBytes, uint64_t EventID) {
    Deliver(msg, numBytes, EventID);
}

} // namespace GenApi
