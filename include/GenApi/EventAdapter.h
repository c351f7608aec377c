#pragma once
// The base of adapters that hand event messages to a node map.

#include <GenApi/EventPort.h>
#include <GenApi/Export.h>
#include <GenApi/INodeMap.h>

#include <memory>
#include <vector>

namespace GenApi {

/// Works over any INodeMap. The node map must outlive it. bound to a thread
class TAVIX_GENAPI_API CEventAdapter {
public:
    explicit CEventAdapter(INodeMap* pNodeMap = nullptr);
    virtual ~CEventAdapter();
    CEventAdapter(const CEventAdapter&) = delete;
    CEventAdapter& operator=(const CEventAdapter&) = delete;

    /// Nobody is told before the first event. Leaves the map that it was attached to before.
    void AttachNodeMap(INodeMap* pNodeMap);
    /// Event features lose their data; where there were some, callbacks fire.
    void DetachNodeMap();
    /// numBytes is the length of the message.
    virtual void DeliverMessage(const uint8_t msg[], uint32_t numBytes) = 0;

protected:
    /// Gives the bytes to every port of that ID; all callbacks of the event fire once, after the last port has them.
    void Deliver(const uint8_t msg[], uint32_t numBytes, uint64_t eventId);

    std::vector<std::unique_ptr<CEventPort>> m_EventPorts; ///< in node-map order
    INodeMap* m_pNodeMap;                                  ///< borrowed
};

} // namespace GenApi
