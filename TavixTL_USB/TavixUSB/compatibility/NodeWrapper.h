#pragma once
// A node that forwards everything to another.

#include <GenApi/GenApi.h>

namespace Tavix {

/// The wrapped node must outlive it. As thread-safe as the wrapped node.
class CNodeWrapper : public virtual GenApi::INode {
public:
    explicit CNodeWrapper(GenApi::INode* pNode) : m_pNode(pNode) {}

    GenICam::gcstring GetName(bool fullQualified = false) const override { return m_pNode->GetName(fullQualified); }
    GenApi::ENameSpace GetNameSpace() const override { return m_pNode->GetNameSpace(); }
    GenApi::EVisibility GetVisibility() const override { return m_pNode->GetVisibility(); }
    void InvalidateNode() override { m_pNode->InvalidateNode(); }
    bool IsCachable() const override { return m_pNode->IsCachable(); }
    GenApi::EYesNo IsAccessModeCacheable() const override { return m_pNode->IsAccessModeCacheable(); }
    GenApi::ECachingMode GetCachingMode() const override { return m_pNode->GetCachingMode(); }
    int64_t GetPollingTime() const override { return m_pNode->GetPollingTime(); }
    GenICam::gcstring GetToolTip() const override { return m_pNode->GetToolTip(); }
    GenICam::gcstring GetDescription() const override { return m_pNode->GetDescription(); }
    GenICam::gcstring GetDisplayName() const override { return m_pNode->GetDisplayName(); }
    GenICam::gcstring GetDeviceName() const override { return m_pNode->GetDeviceName(); }
    void GetChildren(GenApi::NodeList_t& children,
                     GenApi::ELinkType linkType = GenApi::ctReadingChildren) const override {
        m_pNode->GetChildren(children, linkType);
    }
    void GetParents(GenApi::NodeList_t& parents) const override { m_pNode->GetParents(parents); }
    GenApi::CallbackHandleType RegisterCallback(GenApi::CNodeCallback* pCallback) override {
        return m_pNode->RegisterCallback(pCallback);
    }
    bool DeregisterCallback(GenApi::CallbackHandleType handle) override { return m_pNode->DeregisterCallback(handle); }
    GenApi::INodeMap* GetNodeMap() const override { return m_pNode->GetNodeMap(); }
    GenICam::gcstring GetEventID() const override { return m_pNode->GetEventID(); }
    bool IsStreamable() const override { return m_pNode->IsStreamable(); }
    void GetPropertyNames(GenICam::gcstring_vector& names) const override { m_pNode->GetPropertyNames(names); }
    bool GetProperty(const GenICam::gcstring& name, GenICam::gcstring& value, GenICam::gcstring& attribute) override {
        return m_pNode->GetProperty(name, value, attribute);
    }
    void ImposeAccessMode(GenApi::EAccessMode mode) override { m_pNode->ImposeAccessMode(mode); }
    void ImposeVisibility(GenApi::EVisibility visibility) override { m_pNode->ImposeVisibility(visibility); }
    GenApi::INode* GetAlias() const override { return m_pNode->GetAlias(); }
    GenApi::INode* GetCastAlias() const override { return m_pNode->GetCastAlias(); }
    GenICam::gcstring GetDocuURL() const override { return m_pNode->GetDocuURL(); }
    bool IsDeprecated() const override { return m_pNode->IsDeprecated(); }
    GenApi::EInterfaceType GetPrincipalInterfaceType() const override { return m_pNode->GetPrincipalInterfaceType(); }
    bool IsFeature() const override { return m_pNode->IsFeature(); }

private:
    GenApi::INode* m_pNode; // borrowed
};

} // namespace Tavix
