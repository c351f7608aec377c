#pragma once
// What the compatibility layer answers for an enumeration.

#include "compatibility/EnumerationWrapper.h"
#include "compatibility/NodeWrapper.h"
#include "compatibility/SelectorWrapper.h"

namespace Tavix {

/// The three faces of a camera's enumeration node in one object. The node must outlive it. As thread-safe as the node.
class CWrappedEnumeration final : public virtual CSelectorWrapper,
                                  public virtual CNodeWrapper,
                                  public virtual CEnumerationWrapper {
public:
    /// `pNode` is an enumeration; `wrapperName` selects its entry names.
    CWrappedEnumeration(GenApi::INode* pNode, const GenICam::gcstring& wrapperName)
        : CSelectorWrapper(dynamic_cast<GenApi::ISelector*>(pNode)), CNodeWrapper(pNode),
          CEnumerationWrapper(dynamic_cast<GenApi::IEnumeration*>(pNode), wrapperName) {}
    CWrappedEnumeration(const CWrappedEnumeration&) = delete;
    CWrappedEnumeration& operator=(const CWrappedEnumeration&) = delete;

    GenApi::EAccessMode GetAccessMode() const override { return GetEnumeration()->GetAccessMode(); }
    using CEnumerationWrapper::operator=;
};

} // namespace Tavix
