#pragma once
// The base of ports that bring a node map to a device.

#include <GenApi/Export.h>
#include <GenApi/INodeMap.h>

namespace GenApi {

/// A port needs GetAccessMode, Read and Write and nothing else. It is connected with INodeMap::Connect, which borrows
/// it. bound to whatever its Read and Write are
class TAVIX_GENAPI_API CPortImpl : virtual public IPort {
public:
    CPortImpl();
    virtual ~CPortImpl();

    EAccessMode GetAccessMode() const override = 0;
    void Read(void* pBuffer, int64_t Address, int64_t Length) override = 0;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override = 0;

    /// The node that the port was connected to last; null when it never was.
    INode* GetNode() const;
    /// The map of that node.
    INodeMap* GetNodeMap() const;
    /// Called by the Port node.
    void SetNode(INode* pNode);
    /// Drops all that was read through the port; nothing when it is not connected.
    void InvalidateNode();

private:
    INode* m_pNode; ///< borrowed
};

} // namespace GenApi
