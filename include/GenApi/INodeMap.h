#pragma once
// A map of nodes by name.

#include <GenApi/Export.h>
#include <GenApi/INode.h>
#include <GenApi/IPort.h>

namespace GenApi {

class CLock;

/// thread-safe: everything that touches state takes the map's lock.
struct TAVIX_GENAPI_API INodeMap {
    /// In the order of the description.
    virtual void GetNodes(NodeList_t& Nodes) const = 0;
    /// Null when unknown. Accepts "Std::Name" and "Cust::Name".
    virtual INode* GetNode(const GenICam::gcstring& Name) const = 0;
    /// Drops all cached values; every callback fires once.
    virtual void InvalidateNodes() const = 0;
    /// False when there is no Port node of that name.
    virtual bool Connect(IPort* pPort, const GenICam::gcstring& PortName) const = 0;
    /// The port named "Device".
    virtual bool Connect(IPort* pPort) const = 0;
    /// The name that the map was made with.
    virtual GenICam::gcstring GetDeviceName() const = 0;
    /// ElapsedTime is in milliseconds since the last call; the map has no clock of its own.
    virtual void Poll(int64_t ElapsedTime) = 0;
    /// Guards all state of the map; lives as long as the map.
    virtual CLock& GetLock() const = 0;
    /// Entries of enumerations included.
    virtual uint64_t GetNumNodes() const = 0;

protected:
    virtual ~INodeMap() = default;
};

} // namespace GenApi
