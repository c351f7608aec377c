#pragma once
// The interface of every node of a node map.

#include <GenApi/IBase.h>

namespace GenApi {

class CNodeCallback;
struct INodeMap;

// Names, texts and links of a node. The order of the operations is part of the binary interface. thread-safe
struct INode : virtual public IBase {
    // With FullQualified the name carries its prefix, "Std::" or "Cust::".
    virtual GenICam::gcstring GetName(bool FullQualified = false) const = 0;
    virtual ENameSpace GetNameSpace() const = 0;
    virtual EVisibility GetVisibility() const = 0;
    // Drops cached values of the node and of all that depends on it; their callbacks fire.
    virtual void InvalidateNode() = 0;
    virtual bool IsCachable() const = 0;
    virtual EYesNo IsAccessModeCacheable() const = 0;
    virtual ECachingMode GetCachingMode() const = 0;
    // Milliseconds; -1 when neither the node nor anything that it reads is polled.
    virtual int64_t GetPollingTime() const = 0;
    virtual GenICam::gcstring GetToolTip() const = 0;
    virtual GenICam::gcstring GetDescription() const = 0;
    virtual GenICam::gcstring GetDisplayName() const = 0;
    virtual GenICam::gcstring GetDeviceName() const = 0;
    // Replaces the list's content.
    virtual void GetChildren(NodeList_t& Children, ELinkType LinkType = ctReadingChildren) const = 0;
    virtual void GetParents(NodeList_t& Parents) const = 0;
    // Takes the callback over; the node destroys it unless it is deregistered before.
    virtual CallbackHandleType RegisterCallback(CNodeCallback* pCallback) = 0;
    // Gives the callback back to the caller; false when the handle is not registered here.
    virtual bool DeregisterCallback(CallbackHandleType hCallback) = 0;
    virtual INodeMap* GetNodeMap() const = 0;
    virtual GenICam::gcstring GetEventID() const = 0;
    virtual bool IsStreamable() const = 0;
    virtual void GetPropertyNames(GenICam::gcstring_vector& PropertyNames) const = 0;
    // Several occurrences are joined with a tab; false when the node does not carry the property.
    virtual bool GetProperty(const GenICam::gcstring& PropertyName, GenICam::gcstring& ValueStr,
                             GenICam::gcstring& AttributeStr) = 0;
    // Only restricts; a later call replaces an earlier one.
    virtual void ImposeAccessMode(EAccessMode ImposedAccessMode) = 0;
    virtual void ImposeVisibility(EVisibility ImposedVisibility) = 0;
    virtual INode* GetAlias() const = 0;
    virtual INode* GetCastAlias() const = 0;
    virtual GenICam::gcstring GetDocuURL() const = 0;
    virtual bool IsDeprecated() const = 0;
    virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
    // Reachable from the category "Root".
    virtual bool IsFeature() const = 0;
};

} // namespace GenApi
