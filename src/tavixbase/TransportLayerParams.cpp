#include "tavix/TransportLayerParams.h"

#include <GenApi/NodeMap.h>
#include <GenApi/Pointer.h>

namespace Tavix {
namespace {

class TransportLayerParams final : public GenApi::CNodeMap {
public:
    TransportLayerParams() : GenApi::CNodeMap("TransportLayer") {
        Describe();
        RegisterNode(m_Root, "Category", "Root");
        m_Root.SetProperty("pFeature", "ChunkNodeMapSupportEnable");
        RegisterNode(m_ChunkNodeMapSupportEnable, "Boolean", "ChunkNodeMapSupportEnable");
        m_ChunkNodeMapSupportEnable.SetProperty("DisplayName", "Chunk Node Map Support Enable");
        m_ChunkNodeMapSupportEnable.SetProperty("ToolTip",
                                                "Devices created from now on can parse chunk data on their own.");
        m_ChunkNodeMapSupportEnable.SetProperty("Visibility", "Guru");
        m_ChunkNodeMapSupportEnable.SetProperty("Value", "1");
        m_ChunkNodeMapSupportEnable.SetProperty("OnValue", "1");
        m_ChunkNodeMapSupportEnable.SetProperty("OffValue", "0");
        FinalConstruct();
    }

private:
    void Describe() {
        SetProperty("ModelName", "TransportLayerParams");
        SetProperty("VendorName", "Tavix");
        SetProperty("ToolTip", "Parameters that every transport layer has");
        SetProperty("StandardNameSpace", "None");
        SetProperty("SchemaMajorVersion", "1");
        SetProperty("SchemaMinorVersion", "1");
        SetProperty("SchemaSubMinorVersion", "0");
        SetProperty("MajorVersion", "1");
        SetProperty("MinorVersion", "0");
        SetProperty("SubMinorVersion", "0");
        SetProperty("ProductGuid", "5C1D5F0A-9A3E-4B7C-8F21-6E0D3B94A7C2");
        SetProperty("VersionGuid", "E2A8B6D4-03F7-4C59-B1E8-7D42960CFA13");
    }

    GenApi::CCategoryNode m_Root;
    GenApi::CBooleanNode m_ChunkNodeMapSupportEnable;
};

} // namespace

GenApi::INodeMap* CreateDefaultTransportLayerParams() {
    return new TransportLayerParams;
}

void DestroyDefaultTransportLayerParams(GenApi::INodeMap* pNodeMap) {
    const GenApi::CDestroyPtr destroy(pNodeMap);
    if (destroy.IsValid()) destroy->Destroy();
}

} // namespace Tavix
