#pragma once
// What every node with a value can do.

#include <GenApi/Export.h>
#include <GenApi/INode.h>

namespace GenApi {

/// Verify asks for access and range checks; IgnoreCache makes registers read their port. thread-safe
struct TAVIX_GENAPI_API IValue : virtual public IBase {
    /// The node that the value belongs to; never null.
    virtual INode* GetNode() = 0;
    /// The value as text, in the C locale. AccessException when Verify finds the node not readable; what the port
    /// throws without.
    virtual GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) = 0;
    /// Writes the value that the text stands for. InvalidArgumentException for a text that stands for none; else as
    /// SetValue.
    virtual void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) = 0;
    /// Whether a plain read would be served without the port.
    virtual bool IsValueCacheValid() const = 0;
};

} // namespace GenApi
