#pragma once
// A node map that answers older feature names with a camera's current nodes.

#include "tavix/NodeMapProvider.h"
#include "tavix/Types.h"

#include <GenApi/INodeMap.h>
#include <boost/shared_ptr.hpp>

#include <map>

namespace Tavix {

class CWrappedEnumeration;

/// The camera node map is borrowed and outlives the layer. As thread-safe as the camera node map.
class CNodeCompatibilityLayer final : public GenApi::INodeMap, public INodeMapProvider {
public:
    explicit CNodeCompatibilityLayer(GenApi::INodeMap* pNodeMap);
    CNodeCompatibilityLayer(const CNodeCompatibilityLayer&) = delete;
    CNodeCompatibilityLayer& operator=(const CNodeCompatibilityLayer&) = delete;
    ~CNodeCompatibilityLayer() override;

    /// The camera node map.
    GenApi::INodeMap* GetNodeMap() override;

    /// A wrapper, the camera's own node of that name, or the node that replaced it; null for an unknown name.
    GenApi::INode* GetNode(const gcstring& name) const override;

    // The rest is the camera node map's: older names and wrappers are neither counted nor listed.
    void GetNodes(GenApi::NodeList_t& nodes) const override;
    void InvalidateNodes() const override;
    bool Connect(GenApi::IPort* pPort, const gcstring& portName) const override;
    bool Connect(GenApi::IPort* pPort) const override;
    gcstring GetDeviceName() const override;
    void Poll(int64_t elapsedTime) override;
    GenApi::CLock& GetLock() const override;
    uint64_t GetNumNodes() const override;

private:
    struct NodeData {
        gcstring NewName;
        bool UseCastAlias;
    };

    void InstallTranslations();
    void WrapEnumerations();

    std::map<gcstring, NodeData> m_Translations;                                      // constant after construction
    std::map<gcstring, boost::shared_ptr<CWrappedEnumeration>> m_WrappedEnumerations; // constant after construction
    GenApi::INodeMap* const m_pNodeMap;                                               // borrowed
};

} // namespace Tavix
