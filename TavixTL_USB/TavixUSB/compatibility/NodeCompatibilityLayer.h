#pragma once
// A node map that answers older feature names with a camera's current nodes.

#include "compatibility/WrappedEnumeration.h"

#include "tavix/NodeMapProvider.h"

#include <boost/shared_ptr.hpp>

#include <map>

namespace Tavix {

/// What stands for an older feature name.
struct NodeData {
    GenICam::gcstring NewName; ///< the current name
    bool UseCastAlias = false; ///< answer with that node's cast alias instead of the node itself
};

/// The camera node map must outlive it. Names are translated by GetNode alone; everything else is the camera's node
/// map. As thread-safe as the camera node map.
class CNodeCompatibilityLayer final : public virtual GenApi::INodeMap, public INodeMapProvider {
public:
    explicit CNodeCompatibilityLayer(GenApi::INodeMap* pCameraNodeMap);

    /// A wrapped enumeration of that name, else the camera's node of that name, else the node that replaced it; null
    /// when there is none.
    GenApi::INode* GetNode(const GenICam::gcstring& name) const override;
    /// The camera node map, not the layer.
    GenApi::INodeMap* GetNodeMap() override { return m_pCameraNodeMap; }

    void GetNodes(GenApi::NodeList_t& nodes) const override { m_pCameraNodeMap->GetNodes(nodes); }
    void InvalidateNodes() const override { m_pCameraNodeMap->InvalidateNodes(); }
    bool Connect(GenApi::IPort* pPort, const GenICam::gcstring& portName) const override {
        return m_pCameraNodeMap->Connect(pPort, portName);
    }
    bool Connect(GenApi::IPort* pPort) const override { return m_pCameraNodeMap->Connect(pPort); }
    GenICam::gcstring GetDeviceName() const override { return m_pCameraNodeMap->GetDeviceName(); }
    void Poll(int64_t elapsedTime) override { m_pCameraNodeMap->Poll(elapsedTime); }
    GenApi::CLock& GetLock() const override { return m_pCameraNodeMap->GetLock(); }
    uint64_t GetNumNodes() const override { return m_pCameraNodeMap->GetNumNodes(); }

private:
    void Wrap(const char* cameraName, std::initializer_list<const char*> keys, const char* wrapperName);

    std::map<GenICam::gcstring, NodeData> m_Translations;                               // constant after construction
    std::map<GenICam::gcstring, boost::shared_ptr<CWrappedEnumeration>> m_Enumerations; // constant after construction
    GenApi::INodeMap* m_pCameraNodeMap;                                                 // borrowed
};

} // namespace Tavix
