#pragma once
// What an event port knows; shared with the adapter, which fills several ports before anybody hears of it.

#include "genapi/adapter/HexId.h"

#include <Base/GCString.h>
#include <GenApi/EventPort.h>
#include <GenApi/INode.h>

#include <memory>
#include <optional>
#include <vector>

namespace GenApi {

/// Guarded by the lock of the node's map.
struct CEventPort::State {
    using Bytes = std::vector<uint8_t>;

    void Attach(INode* pEventNode) {
        pNode = pEventNode;
        pPort = dynamic_cast<IPortConstruct*>(pEventNode);
        id = genapi::ParseId(pEventNode->GetEventID().view());
    }
    /// For all ports that share these bytes.
    void Fill(const uint8_t* pBytes, std::size_t length) {
        if (!data) data = std::make_shared<Bytes>();
        data->assign(pBytes, pBytes + length);
        hasData = true;
    }
    /// One event is copied once, however many ports of an adapter have its ID.
    void ShareBytesOf(const State& other) {
        data = other.data;
        hasData = true;
    }
    /// For this port alone.
    void Take(const uint8_t* pBytes, std::size_t length) {
        if (data.use_count() > 1) data.reset();
        Fill(pBytes, length);
    }
    void Drop() {
        data.reset();
        hasData = false;
    }

    INode* pNode = nullptr;          ///< borrowed
    IPortConstruct* pPort = nullptr; ///< the same node if it is a port
    std::optional<uint64_t> id;      ///< nothing when the node's is no number
    std::shared_ptr<Bytes> data;     ///< null: none since it was dropped
    bool hasData = false;
};

} // namespace GenApi
