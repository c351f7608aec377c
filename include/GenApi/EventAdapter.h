#pragma once
// The base of adapters that hand event messages to a node map.

#include <GenApi/EventPort.h>
#include <GenApi/INodeMap.h>

#include <vector>

namespace GenApi {

// Works over any INodeMap. The node map must outlive it. bound to a thread
class CEventAdapter {
public:
    explicit CEventAdapter(INodeMap* pNodeMap = nullptr);
    virtual ~CEventAdapter();
    CEventAdapter(const CEventAdapter&) = delete;
    CEventAdapter& operator=(const CEventAdapter&) = delete;

    void AttachNodeMap(INodeMap* pNodeMap);
    void DetachNodeMap();
    virtual void DeliverMessage(const uint8_t msg[], uint32_t numBytes) = 0;

protected:
    // Gives the bytes to every port of that ID; all callbacks of the event fire once, after the last port has them.
    void Deliver(const uint8_t msg[], uint32_t numBytes, uint64_t eventId);

    std::vector<CEventPort*> m_EventPorts; // owned, in node-map order
    INodeMap* m_pNodeMap;                  // borrowed
};

} // namespace GenApi
