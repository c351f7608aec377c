#pragma once
// What an event port knows; shared with the adapter, which fills several ports before anybody hears of it.

#include <GenApi/EventPort.h>

#include <vector>

namespace GenApi {

// Guarded by the lock of the node's map.
struct CEventPort::State {
    void Take(const uint8_t* pBytes, std::size_t length) {
        data.assign(pBytes, pBytes + length);
        hasData = true;
    }

    INode* pNode = nullptr;          // borrowed
    IPortConstruct* pPort = nullptr; // the same node if it is a port
    std::vector<uint8_t> data;
    bool hasData = false;
};

} // namespace GenApi
