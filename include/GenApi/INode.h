#pragma once
// The interface of every node of a node map.

#include <GenApi/Export.h>
#include <GenApi/IBase.h>

namespace GenApi {

class CNodeCallback;
struct INodeMap;

/// Names, texts and links of a node. The order of the operations is part of the binary interface. thread-safe
struct TAVIX_GENAPI_API INode : virtual public IBase {
    /// With FullQualified the name carries its prefix, "Std::" or "Cust::".
    virtual GenICam::gcstring GetName(bool FullQualified = false) const = 0;
    /// Standard for names of a standard list, Custom for the maker's own.
    virtual ENameSpace GetNameSpace() const = 0;
    /// Advice to user interfaces: the more hidden of the described and the imposed one.
    virtual EVisibility GetVisibility() const = 0;
    /// Drops cached values of the node and of all that depends on it; their callbacks fire.
    virtual void InvalidateNode() = 0;
    /// Whether the caching mode is not NoCache.
    virtual bool IsCachable() const = 0;
    /// Yes when nothing that decides the access mode lies behind a port.
    virtual EYesNo IsAccessModeCacheable() const = 0;
    /// Of a register its own, else that of the least cached register that the node reads.
    virtual ECachingMode GetCachingMode() const = 0;
    /// Milliseconds; -1 when neither the node nor anything that it reads is polled.
    virtual int64_t GetPollingTime() const = 0;
    /// Empty when the description has none.
    virtual GenICam::gcstring GetToolTip() const = 0;
    /// Empty when the description has none.
    virtual GenICam::gcstring GetDescription() const = 0;
    /// The name when the description has no other.
    virtual GenICam::gcstring GetDisplayName() const = 0;
    /// That of the node map.
    virtual GenICam::gcstring GetDeviceName() const = 0;
    /// Replaces the list's content.
    virtual void GetChildren(NodeList_t& Children, ELinkType LinkType = ctReadingChildren) const = 0;
    /// The nodes that name this one among their children, in the order of the map.
    virtual void GetParents(NodeList_t& Parents) const = 0;
    /// Takes the callback over; the node destroys it unless it is deregistered before.
    virtual CallbackHandleType RegisterCallback(CNodeCallback* pCallback) = 0;
    /// Gives the callback back to the caller; false when the handle is not registered here.
    virtual bool DeregisterCallback(CallbackHandleType hCallback) = 0;
    /// Null when the nodes belong to no public map.
    virtual INodeMap* GetNodeMap() const = 0;
    /// Hexadecimal text; empty when the node takes no part in events.
    virtual GenICam::gcstring GetEventID() const = 0;
    /// Whether the value is worth storing with others.
    virtual bool IsStreamable() const = 0;
    /// The names of the elements that describe the node, each once.
    virtual void GetPropertyNames(GenICam::gcstring_vector& PropertyNames) const = 0;
    /// Several occurrences are joined with a tab; false when the node does not carry the property.
    virtual bool GetProperty(const GenICam::gcstring& PropertyName, GenICam::gcstring& ValueStr,
                             GenICam::gcstring& AttributeStr) = 0;
    /// Only restricts; a later call replaces an earlier one.
    virtual void ImposeAccessMode(EAccessMode ImposedAccessMode) = 0;
    /// Only hides; a later call replaces an earlier one.
    virtual void ImposeVisibility(EVisibility ImposedVisibility) = 0;
    /// The node that shows the same in another form; null when there is none.
    virtual INode* GetAlias() const = 0;
    /// The node to use through another interface; null when there is none.
    virtual INode* GetCastAlias() const = 0;
    /// Empty when the description has none.
    virtual GenICam::gcstring GetDocuURL() const = 0;
    /// Advice not to use the node any longer.
    virtual bool IsDeprecated() const = 0;
    /// The interface that suits the node best.
    virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
    /// Reachable from the category "Root".
    virtual bool IsFeature() const = 0;
};

} // namespace GenApi
